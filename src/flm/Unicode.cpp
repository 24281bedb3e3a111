#include "flm/Unicode.h"

#include <unicode/ustring.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace flm {

bool utf16ToUtf8(const uint16_t* text, size_t units, std::string* utf8) {
  if (std::all_of(text, text + units, [](uint16_t c) { return c < 0x80; })) {
    utf8->resize(units);
    for (size_t i = 0; i < units; ++i) (*utf8)[i] = static_cast<char>(text[i]);
    return true;
  }
  auto* source = reinterpret_cast<const UChar*>(text);
  // Three bytes per code unit always suffice: one pass, no preflight.
  utf8->resize(units * 3);
  int32_t written = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strToUTF8WithSub(utf8->data(), static_cast<int32_t>(utf8->size()), &written, source,
                     static_cast<int32_t>(units), 0xFFFD, nullptr, &status);
  utf8->resize(U_SUCCESS(status) ? static_cast<size_t>(written) : 0);
  return U_SUCCESS(status);
}

// Most stored text is ASCII, which widens byte by byte without ICU.
int64_t utf8ToUtf16(const char* text, size_t bytes, char16_t* out, bool substitute) {
  if (bytes > INT32_MAX) return -1;
  size_t ascii = 0;
  // Eight bytes at a time while none has its high bit set.
  for (uint64_t chunk; ascii + 8 <= bytes; ascii += 8) {
    std::memcpy(&chunk, text + ascii, 8);
    if (chunk & 0x8080808080808080ull) break;
    for (size_t i = 0; i < 8; ++i) out[ascii + i] = static_cast<char16_t>(text[ascii + i]);
  }
  while (ascii < bytes && static_cast<unsigned char>(text[ascii]) < 0x80) {
    out[ascii] = static_cast<char16_t>(text[ascii]);
    ++ascii;
  }
  if (ascii == bytes) return static_cast<int64_t>(bytes);
  int32_t units = 0;
  UErrorCode status = U_ZERO_ERROR;
  auto rest = static_cast<int32_t>(bytes - ascii);
  u_strFromUTF8WithSub(reinterpret_cast<UChar*>(out + ascii), rest, &units, text + ascii, rest,
                       substitute ? 0xFFFD : U_SENTINEL, nullptr, &status);
  if (U_FAILURE(status) && status != U_STRING_NOT_TERMINATED_WARNING) return -1;
  return static_cast<int64_t>(ascii) + units;
}

}  // namespace flm

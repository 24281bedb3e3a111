#include "flm/Unicode.h"

#include <unicode/ustring.h>

namespace flm {

bool utf16ToUtf8(const uint16_t* text, size_t units, std::string* utf8) {
  auto* source = reinterpret_cast<const UChar*>(text);
  int32_t length = static_cast<int32_t>(units);
  int32_t needed = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strToUTF8WithSub(nullptr, 0, &needed, source, length, 0xFFFD, nullptr, &status);
  if (status != U_BUFFER_OVERFLOW_ERROR && U_FAILURE(status)) return false;
  utf8->resize(static_cast<size_t>(needed));
  status = U_ZERO_ERROR;
  u_strToUTF8WithSub(utf8->data(), needed, &needed, source, length, 0xFFFD, nullptr, &status);
  return U_SUCCESS(status);
}

}  // namespace flm

#include "flm/Unicode.h"

#include <unicode/ustring.h>

namespace flm {

bool utf16ToUtf8(const uint16_t* text, size_t units, std::string* utf8) {
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

}  // namespace flm

#include "engine/build/Languages.h"

#include <unicode/locid.h>
#include <unicode/uloc.h>
#include <unicode/ustring.h>

namespace build {

std::string shortLanguageCode(const std::string& code) {
  // CLDR's aliases take a macrolanguage's member to the macrolanguage
  // (cmn -> zh) as well as overlong codes to short ones (fra -> fr).
  icu::Locale locale = icu::Locale::createCanonical(code.c_str());
  std::string language = locale.isBogus() ? "" : locale.getLanguage();
  return language.size() == 2 ? language : code;
}

std::string languageName(const std::string& language, const std::string& in) {
  UChar name[128];
  UErrorCode status = U_ZERO_ERROR;
  int32_t length = uloc_getDisplayLanguage(language.c_str(), in.c_str(), name, 128, &status);
  if (U_FAILURE(status) || length <= 0) return language;
  char utf8[512];
  int32_t bytes = 0;
  status = U_ZERO_ERROR;
  u_strToUTF8(utf8, sizeof utf8, &bytes, name, length, &status);
  if (U_FAILURE(status) || status == U_STRING_NOT_TERMINATED_WARNING) return language;
  return std::string(utf8, static_cast<size_t>(bytes));
}

}  // namespace build

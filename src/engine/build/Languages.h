// Language codes and names, from ICU's locale data.
#ifndef CORVID5_ENGINE_BUILD_LANGUAGES_H
#define CORVID5_ENGINE_BUILD_LANGUAGES_H

#include <string>

namespace build {

// The two-letter code of a language where ICU knows one ("fra" -> "fr",
// "cmn" -> "zh", "arb" -> "ar"); else the code as given.
std::string shortLanguageCode(const std::string& code);

// The name of `language` in the language `in` ("fr", "fr" -> "français");
// the code itself when ICU has no name for it.
std::string languageName(const std::string& language, const std::string& in);

}  // namespace build

#endif

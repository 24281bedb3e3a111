// Conversions between the engine's UTF-16 values and UTF-8.
#ifndef CORVID5_FLM_UNICODE_H
#define CORVID5_FLM_UNICODE_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace flm {

// Lone surrogates become U+FFFD; false only when ICU fails outright.
bool utf16ToUtf8(const uint16_t* text, size_t units, std::string* utf8);

// Converts UTF-8 into `out`, which has room for `bytes` code units (never too
// few), and returns the units written. Malformed input becomes U+FFFD where
// `substitute`, and otherwise fails with -1; so does input over 2 GiB.
int64_t utf8ToUtf16(const char* text, size_t bytes, char16_t* out, bool substitute);

}  // namespace flm

#endif

// Conversions between the engine's UTF-16 values and UTF-8.
#ifndef CORVID5_FLM_UNICODE_H
#define CORVID5_FLM_UNICODE_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace flm {

// Lone surrogates become U+FFFD; false only when ICU fails outright.
bool utf16ToUtf8(const uint16_t* text, size_t units, std::string* utf8);

}  // namespace flm

#endif

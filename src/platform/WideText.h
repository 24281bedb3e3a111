// Helpers shared by the platform layer for zero-terminated UTF-16 text.
#ifndef CORVID5_PLATFORM_WIDETEXT_H
#define CORVID5_PLATFORM_WIDETEXT_H

#include <corvid5/Platform.h>

#include <cstddef>
#include <cstdint>

namespace platform {

// Units before the first zero unit, reading no more than `limit` units, so
// that a caller can bound the scan of text that need not be terminated.
inline std::size_t wideLength(const WCHAR* text, std::size_t limit = SIZE_MAX) {
  std::size_t length = 0;
  while (length < limit && text[length] != 0) {
    ++length;
  }
  return length;
}

}  // namespace platform

#endif

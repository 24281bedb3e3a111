#include <corvid5/Platform.h>

#include "platform/WideText.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>

namespace {

// Collects converted units, writing them only while they fit, and counting
// them all so that a size query and an overflow need no second pass.
template <typename Unit>
class Sink {
 public:
  Sink(Unit* out, int capacity) : out_(out), capacity_(capacity) {}

  void append(const Unit* units, int count) {
    if (count_ + count <= capacity_) {
      std::copy_n(units, count, out_ + count_);
    }
    count_ += count;
  }

  // The call's result: the unit count, or 0 after recording the overflow.
  int result() const {
    if (count_ > INT_MAX || (capacity_ != 0 && count_ > capacity_)) {
      SetLastError(ERROR_INSUFFICIENT_BUFFER);
      return 0;
    }
    return static_cast<int>(count_);
  }

 private:
  Unit* out_;
  std::int64_t capacity_;
  std::int64_t count_ = 0;
};

bool isUtf8CodePage(UINT codePage) { return codePage == CP_ACP || codePage == CP_UTF8; }

std::size_t unitsBeforeTerminator(const char* text) { return std::strlen(text); }
std::size_t unitsBeforeTerminator(const WCHAR* text) { return platform::wideLength(text); }

bool argumentsValid(UINT codePage, const void* input, int length, const void* output,
                    int outputSize) {
  return isUtf8CodePage(codePage) && input != nullptr && length != 0 && length >= -1 &&
         outputSize >= 0 && (output != nullptr || outputSize == 0) && input != output;
}

// The number of input units to convert, with a length of -1 taking in the
// terminator; 0 after recording why the arguments are unusable.
template <typename In>
int inputLength(UINT codePage, const In* input, int length, const void* output, int outputSize) {
  if (!argumentsValid(codePage, input, length, output, outputSize)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  if (length != -1) {
    return length;
  }
  const std::size_t units = unitsBeforeTerminator(input) + 1;
  if (units > INT_MAX) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  return static_cast<int>(units);
}

void appendUtf8(Sink<std::uint8_t>& sink, UChar32 codePoint) {
  std::uint8_t bytes[U8_MAX_LENGTH];
  int count = 0;
  U8_APPEND_UNSAFE(bytes, count, codePoint);
  sink.append(bytes, count);
}

void appendUtf16(Sink<WCHAR>& sink, UChar32 codePoint) {
  WCHAR units[U16_MAX_LENGTH];
  int count = 0;
  U16_APPEND_UNSAFE(units, count, codePoint);
  sink.append(units, count);
}

}  // namespace

int WideCharToMultiByte(UINT codePage, DWORD /*flags*/, LPCWSTR wide, int wideLength,
                        LPSTR narrow, int narrowSize, LPCSTR defaultChar,
                        BOOL* usedDefaultChar) {
  const int length = inputLength(codePage, wide, wideLength, narrow, narrowSize);
  if (length == 0) {
    return 0;
  }
  // A legacy code page substitutes a single byte, taken as is.
  const auto substitute = static_cast<std::uint8_t>(defaultChar != nullptr ? defaultChar[0] : '?');
  Sink<std::uint8_t> sink(reinterpret_cast<std::uint8_t*>(narrow), narrowSize);
  bool substituted = false;
  for (int i = 0; i < length;) {
    UChar32 codePoint = 0;
    U16_NEXT(wide, i, length, codePoint);
    if (U_IS_SURROGATE(codePoint)) {
      sink.append(&substitute, 1);
      substituted = true;
    } else {
      appendUtf8(sink, codePoint);
    }
  }
  if (usedDefaultChar != nullptr) {
    *usedDefaultChar = substituted ? 1 : 0;
  }
  return sink.result();
}

int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR narrow, int narrowLength, LPWSTR wide,
                        int wideSize) {
  const int length = inputLength(codePage, narrow, narrowLength, wide, wideSize);
  if (length == 0) {
    return 0;
  }
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(narrow);
  Sink<WCHAR> sink(wide, wideSize);
  for (int i = 0; i < length;) {
    UChar32 codePoint = 0;
    U8_NEXT(bytes, i, length, codePoint);
    if (codePoint < 0 && (flags & MB_ERR_INVALID_CHARS) != 0) {
      SetLastError(ERROR_NO_UNICODE_TRANSLATION);
      return 0;
    }
    appendUtf16(sink, codePoint < 0 ? 0xFFFD : codePoint);
  }
  return sink.result();
}

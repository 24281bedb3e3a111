#include <corvid5/Platform.h>

#include "platform/WideText.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

using Prefix = std::uint32_t;

// The byte length has to fit the 32-bit prefix.
constexpr std::size_t kMaxLength = std::numeric_limits<Prefix>::max() / sizeof(OLECHAR);

char* blockOf(BSTR text) { return reinterpret_cast<char*>(text) - sizeof(Prefix); }

}  // namespace

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) {
  if (length > kMaxLength) {
    return nullptr;
  }
  const std::size_t bytes = std::size_t{length} * sizeof(OLECHAR);
  auto* block = static_cast<char*>(std::malloc(sizeof(Prefix) + bytes + sizeof(OLECHAR)));
  if (block == nullptr) {
    return nullptr;
  }
  const auto prefix = static_cast<Prefix>(bytes);
  std::memcpy(block, &prefix, sizeof prefix);
  auto* characters = reinterpret_cast<OLECHAR*>(block + sizeof(Prefix));
  if (text != nullptr) {
    std::memcpy(characters, text, bytes);
  } else {
    std::memset(characters, 0, bytes);
  }
  characters[length] = 0;
  return characters;
}

BSTR SysAllocString(const OLECHAR* text) {
  if (text == nullptr) {
    return nullptr;
  }
  const std::size_t length = platform::wideLength(text);
  return length <= kMaxLength ? SysAllocStringLen(text, static_cast<UINT>(length)) : nullptr;
}

UINT SysStringByteLen(BSTR text) {
  if (text == nullptr) {
    return 0;
  }
  Prefix bytes = 0;
  std::memcpy(&bytes, blockOf(text), sizeof bytes);
  return bytes;
}

UINT SysStringLen(BSTR text) { return SysStringByteLen(text) / sizeof(OLECHAR); }

void SysFreeString(BSTR text) {
  if (text != nullptr) {
    std::free(blockOf(text));
  }
}

#include "flm/Value.h"

#include <cstdio>
#include <cstring>
#include <limits>

#include "flm/Unicode.h"

namespace flm {
namespace {

RCODE store(PoolMemoryManager* pool, Node* n, ValueType type, const void* data, size_t bytes) {
  void* copy = nullptr;
  if (bytes) {
    if (bytes > UINT32_MAX) return FERR_VALUE_TOO_LARGE;
    copy = poolAlloc(pool, bytes);
    if (!copy) return FERR_MEM;
    std::memcpy(copy, data, bytes);
  }
  n->value = copy;
  n->length = static_cast<uint32_t>(bytes);
  n->type = static_cast<uint8_t>((n->type & kHasSource) | type);
  return FERR_OK;
}

template <class T>
RCODE storeScalar(PoolMemoryManager* pool, Node* n, ValueType type, T value) {
  return store(pool, n, type, &value, sizeof value);
}

template <class T>
RCODE loadScalar(const Node* n, ValueType type, T* out) {
  if (nodeType(n) != type) return FERR_CONV_ILLEGAL;
  if (n->length != sizeof(T)) return n->length ? FERR_DATA_ERROR : FERR_CONV_NULL_SRC;
  std::memcpy(out, n->value, sizeof(T));
  return FERR_OK;
}

const uint16_t* units(const Node* n) { return static_cast<const uint16_t*>(n->value); }

// Digit-only text ("-" allowed first) reads as a number; anything else is a
// bad digit.
RCODE parseText(const Node* n, int64_t* out) {
  size_t count = n->length / 2;
  if (count == 0) return FERR_CONV_NULL_SRC;
  const uint16_t* t = units(n);
  bool negative = t[0] == '-';
  size_t i = negative ? 1 : 0;
  if (i == count) return FERR_CONV_BAD_DIGIT;
  uint64_t v = 0;
  for (; i < count; ++i) {
    if (t[i] < '0' || t[i] > '9') return FERR_CONV_BAD_DIGIT;
    v = v * 10 + (t[i] - '0');
    if (v > (uint64_t{1} << 40)) return negative ? FERR_CONV_NUM_UNDERFLOW : FERR_CONV_NUM_OVERFLOW;
  }
  *out = negative ? -static_cast<int64_t>(v) : static_cast<int64_t>(v);
  return FERR_OK;
}

// Renders numbers as text for the text getters.
size_t numberText(const Node* n, char* out, size_t size, RCODE* rc) {
  int64_t v = 0;
  *rc = getNumber(n, &v);
  if (*rc) return 0;
  return static_cast<size_t>(std::snprintf(out, size, "%lld", static_cast<long long>(v)));
}

template <class T>
RCODE narrow(const Node* n, T* out) {
  *out = 0;
  int64_t v = 0;
  RCODE rc = getNumber(n, &v);
  if (rc) return rc;
  if (v > static_cast<int64_t>(std::numeric_limits<T>::max())) return FERR_CONV_NUM_OVERFLOW;
  if (v < static_cast<int64_t>(std::numeric_limits<T>::min())) return FERR_CONV_NUM_UNDERFLOW;
  *out = static_cast<T>(v);
  return FERR_OK;
}

}  // namespace

RCODE putUnicode(PoolMemoryManager* pool, Node* n, const uint16_t* text, size_t count) {
  return store(pool, n, FLM_TEXT_TYPE, text, count * 2);
}

RCODE putUtf8(PoolMemoryManager* pool, Node* n, const char* text, size_t bytes) {
  if (bytes > INT32_MAX) return FERR_VALUE_TOO_LARGE;
  // UTF-8 never takes fewer bytes than UTF-16 takes code units.
  auto* buffer = static_cast<char16_t*>(poolAlloc(pool, (bytes ? bytes : 1) * sizeof(char16_t)));
  if (!buffer) return FERR_MEM;
  int64_t written = utf8ToUtf16(text, bytes, buffer, true);
  if (written < 0) return FERR_CONV_ILLEGAL;
  n->value = written ? buffer : nullptr;
  n->length = static_cast<uint32_t>(written) * 2;
  n->type = static_cast<uint8_t>((n->type & kHasSource) | FLM_TEXT_TYPE);
  return FERR_OK;
}

RCODE putInt(PoolMemoryManager* pool, Node* n, int64_t value) {
  return storeScalar(pool, n, FLM_NUMBER_TYPE, value);
}

RCODE putRecPtr(PoolMemoryManager* pool, Node* n, uint32_t drn) {
  return storeScalar(pool, n, FLM_CONTEXT_TYPE, drn);
}

RCODE putBinary(PoolMemoryManager* pool, Node* n, const void* data, size_t bytes) {
  return store(pool, n, FLM_BINARY_TYPE, data, bytes);
}

RCODE putReal(PoolMemoryManager* pool, Node* n, double value) {
  return storeScalar(pool, n, FLM_REAL_TYPE, value);
}

RCODE putDate(PoolMemoryManager* pool, Node* n, FlmDate value) {
  return storeScalar(pool, n, FLM_DATE_TYPE, value);
}

RCODE putTime(PoolMemoryManager* pool, Node* n, FlmTime value) {
  return storeScalar(pool, n, FLM_TIME_TYPE, value);
}

RCODE putTimestamp(PoolMemoryManager* pool, Node* n, FlmTimestamp value) {
  return storeScalar(pool, n, FLM_TMSTAMP_TYPE, value);
}

RCODE getUnicodeLength(const Node* n, uint32_t* bytes) {
  *bytes = 0;
  if (nodeType(n) == FLM_TEXT_TYPE) {
    *bytes = n->length;
    return FERR_OK;
  }
  if (nodeType(n) != FLM_NUMBER_TYPE && nodeType(n) != FLM_CONTEXT_TYPE) return FERR_CONV_ILLEGAL;
  char digits[32];
  RCODE rc;
  *bytes = static_cast<uint32_t>(numberText(n, digits, sizeof digits, &rc) * 2);
  return rc;
}

RCODE getUnicode(const Node* n, uint16_t* buffer, uint32_t* bytes) {
  uint32_t capacity = *bytes;
  uint32_t needed = 0;
  RCODE rc = getUnicodeLength(n, &needed);
  *bytes = 0;
  if (rc) return rc;
  if (!buffer || capacity < needed + 2) return FERR_CONV_DEST_OVERFLOW;
  if (nodeType(n) == FLM_TEXT_TYPE) {
    if (needed) std::memcpy(buffer, n->value, needed);
  } else {
    char digits[32];
    size_t count = numberText(n, digits, sizeof digits, &rc);
    for (size_t i = 0; i < count; ++i) buffer[i] = static_cast<uint8_t>(digits[i]);
  }
  buffer[needed / 2] = 0;
  *bytes = needed;
  return FERR_OK;
}

RCODE getNumber(const Node* n, int64_t* value) {
  switch (nodeType(n)) {
    case FLM_NUMBER_TYPE:
      return loadScalar(n, FLM_NUMBER_TYPE, value);
    case FLM_CONTEXT_TYPE: {
      uint32_t drn = 0;
      RCODE rc = loadScalar(n, FLM_CONTEXT_TYPE, &drn);
      *value = drn;
      return rc;
    }
    case FLM_TEXT_TYPE:
      return parseText(n, value);
    default:
      return FERR_CONV_ILLEGAL;
  }
}

RCODE getInt32(const Node* n, int32_t* value) { return narrow(n, value); }
RCODE getUint32(const Node* n, uint32_t* value) { return narrow(n, value); }
RCODE getInt16(const Node* n, int16_t* value) { return narrow(n, value); }
RCODE getUint16(const Node* n, uint16_t* value) { return narrow(n, value); }

RCODE getRecPtr(const Node* n, uint32_t* drn) {
  *drn = 0;
  return loadScalar(n, FLM_CONTEXT_TYPE, drn);
}

RCODE getBinary(const Node* n, void* buffer, uint32_t* bytes) {
  uint32_t capacity = *bytes;
  *bytes = 0;
  if (nodeType(n) != FLM_BINARY_TYPE) return FERR_CONV_ILLEGAL;
  if (capacity < n->length) return FERR_CONV_DEST_OVERFLOW;
  if (n->length) std::memcpy(buffer, n->value, n->length);
  *bytes = n->length;
  return FERR_OK;
}

RCODE getReal(const Node* n, double* value) { return loadScalar(n, FLM_REAL_TYPE, value); }
RCODE getDate(const Node* n, FlmDate* value) { return loadScalar(n, FLM_DATE_TYPE, value); }
RCODE getTime(const Node* n, FlmTime* value) { return loadScalar(n, FLM_TIME_TYPE, value); }
RCODE getTimestamp(const Node* n, FlmTimestamp* value) {
  return loadScalar(n, FLM_TMSTAMP_TYPE, value);
}

}  // namespace flm

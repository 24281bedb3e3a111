// Typed values of fields: putting a value sets the field's type; getting one
// converts it by the engine's rules and reports what cannot be converted.
#ifndef CORVID5_FLM_VALUE_H
#define CORVID5_FLM_VALUE_H

#include <cstddef>
#include <cstdint>

#include "flm/Node.h"

namespace flm {

struct FlmDate {
  uint16_t year;
  uint8_t month;
  uint8_t day;
};

struct FlmTime {
  uint8_t hour;
  uint8_t minute;
  uint8_t second;
  uint8_t hundredth;
};

struct FlmTimestamp {
  FlmDate date;
  FlmTime time;
};

// Text is held as UTF-16 code units; `units` excludes any terminator.
RCODE putUnicode(PoolMemoryManager* pool, Node* n, const uint16_t* text, size_t units);
RCODE putUtf8(PoolMemoryManager* pool, Node* n, const char* text, size_t bytes);
RCODE putInt(PoolMemoryManager* pool, Node* n, int64_t value);
RCODE putRecPtr(PoolMemoryManager* pool, Node* n, uint32_t drn);
RCODE putBinary(PoolMemoryManager* pool, Node* n, const void* data, size_t bytes);
RCODE putReal(PoolMemoryManager* pool, Node* n, double value);
RCODE putDate(PoolMemoryManager* pool, Node* n, FlmDate value);
RCODE putTime(PoolMemoryManager* pool, Node* n, FlmTime value);
RCODE putTimestamp(PoolMemoryManager* pool, Node* n, FlmTimestamp value);

// Bytes the value takes as UTF-16 text, without a terminator.
RCODE getUnicodeLength(const Node* n, uint32_t* bytes);
// `*bytes` is the buffer's capacity in bytes on entry (room for a terminator
// included) and the text's length in bytes, without it, on return.
RCODE getUnicode(const Node* n, uint16_t* buffer, uint32_t* bytes);
RCODE getInt32(const Node* n, int32_t* value);
RCODE getUint32(const Node* n, uint32_t* value);
RCODE getInt16(const Node* n, int16_t* value);
RCODE getUint16(const Node* n, uint16_t* value);
RCODE getRecPtr(const Node* n, uint32_t* drn);
// `*bytes`: capacity in, value length out.
RCODE getBinary(const Node* n, void* buffer, uint32_t* bytes);
RCODE getReal(const Node* n, double* value);
RCODE getDate(const Node* n, FlmDate* value);
RCODE getTime(const Node* n, FlmTime* value);
RCODE getTimestamp(const Node* n, FlmTimestamp* value);

// The number held by a number, context or digit-only text field.
RCODE getNumber(const Node* n, int64_t* value);

}  // namespace flm

#endif

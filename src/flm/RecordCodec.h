// The stored form of a record: its fields in document order, each as level,
// tag, type and value, with text in UTF-8 and numbers as variable-length
// integers.
#ifndef CORVID5_FLM_RECORDCODEC_H
#define CORVID5_FLM_RECORDCODEC_H

#include <cstdint>
#include <string>

#include "flm/Node.h"
#include "flm/SmallVector.h"

namespace flm {

// Encodes the tree at `root` (the root and its descendants).
RCODE encodeRecord(const Node* root, std::string* out);

// The fields whose values a reader needs, when it needs only some: a query
// that tests two fields of a record need not convert the rest.
using ValueTags = SmallVector<uint16_t, 8>;

// Decodes a stored record into `pool`; the root is bound to the given source.
// With `valuesOf`, every field is there but only those tags carry values.
// Anything malformed is a data error: the stored record is damaged.
RCODE decodeRecord(const void* data, size_t size, PoolMemoryManager* pool, void* database,
                   uint32_t store, uint16_t container, uint32_t drn, Node** root,
                   const ValueTags* valuesOf = nullptr);

}  // namespace flm

#endif

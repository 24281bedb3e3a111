// The stored form of a record: its fields in document order, each as level,
// tag, type and value, with text in UTF-8 and numbers as variable-length
// integers.
#ifndef CORVID5_FLM_RECORDCODEC_H
#define CORVID5_FLM_RECORDCODEC_H

#include <cstdint>
#include <string>

#include "flm/Node.h"

namespace flm {

// Encodes the tree at `root` (the root and its descendants).
RCODE encodeRecord(const Node* root, std::string* out);

// Decodes a stored record into `pool`; the root is bound to the given source.
// Anything malformed is a data error: the stored record is damaged.
RCODE decodeRecord(const void* data, size_t size, PoolMemoryManager* pool, void* database,
                   uint32_t store, uint16_t container, uint32_t drn, Node** root);

}  // namespace flm

#endif

// The keys one record contributes to the dictionary's indexes: for every index
// on the record's container, one key per field that a key component names.
#ifndef CORVID5_FLM_INDEXKEYS_H
#define CORVID5_FLM_INDEXKEYS_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "flm/Collation.h"
#include "flm/Dictionary.h"

namespace flm {

// A key value as the key table holds it. Text keeps the exact text, its
// case-folded form and its sort key; every other type a number or bytes.
struct KeyValue {
  enum Kind { Integer, Real, Text, Bytes } kind = Integer;
  int64_t integer = 0;
  double real = 0;
  std::string exact;  // text in UTF-8, or raw bytes
  std::string folded;
  std::string sortKey;
};

struct IndexKey {
  uint16_t index;
  uint16_t component;  // from 1
  KeyValue value;
};

// Calls `visit` for every field of the tree at `root` that `path` names.
void forEachOnPath(const Node* root, const FieldPath& path,
                   const std::function<void(const Node*)>& visit);

// The number that numbers, record pointers, dates, times and timestamps are
// kept and compared as; false for other types and empty fields.
bool numericValue(const Node* field, int64_t* value);

// The key value of one field; false for a field with no value to index.
bool makeKeyValue(const Node* field, const Collation& collation, KeyValue* key);

RCODE collectKeys(const Dictionary& dictionary, uint16_t container, const Node* root,
                  const Collation& collation, std::vector<IndexKey>* keys);

}  // namespace flm

#endif

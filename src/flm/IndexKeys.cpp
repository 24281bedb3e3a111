#include "flm/IndexKeys.h"

#include <cstring>

#include "flm/Unicode.h"
#include "flm/Value.h"

namespace flm {
namespace {

// Walks down the path from `n`, which matched path[depth].
void descend(const Node* n, const FieldPath& path, size_t depth,
             const std::function<void(const Node*)>& visit) {
  if (depth + 1 == path.size()) {
    visit(n);
    return;
  }
  for (const Node* c = nodeChild(n); c; c = nodeNextSibling(c))
    if (c->tag == path[depth + 1]) descend(c, path, depth + 1, visit);
}

bool textKey(const Node* field, const Collation& collation, KeyValue* key) {
  auto* text = static_cast<const uint16_t*>(field->value);
  size_t units = field->length / 2;
  key->kind = KeyValue::Text;
  return utf16ToUtf8(text, units, &key->exact) && Collation::foldCase(text, units, &key->folded) &&
         collation.sortKey(text, units, &key->sortKey);
}

int64_t packedDate(const FlmDate& d) { return (int64_t{d.year} << 16) | (d.month << 8) | d.day; }

int64_t packedTime(const FlmTime& t) {
  return (int64_t{t.hour} << 24) | (t.minute << 16) | (t.second << 8) | t.hundredth;
}

}  // namespace

void forEachOnPath(const Node* root, const FieldPath& path,
                   const std::function<void(const Node*)>& visit) {
  if (path.size() == 1) {
    for (const Node* n = root; n; n = nodeWalkNext(GED_TREE, root, n))
      if (n->tag == path[0]) visit(n);
    return;
  }
  if (root->tag == path[0]) descend(root, path, 0, visit);
}

bool numericValue(const Node* field, int64_t* value) {
  if (!field->length) return false;
  switch (nodeType(field)) {
    case FLM_NUMBER_TYPE:
    case FLM_CONTEXT_TYPE:
      return getNumber(field, value) == FERR_OK;
    case FLM_DATE_TYPE: {
      FlmDate d;
      if (getDate(field, &d)) return false;
      *value = packedDate(d);
      return true;
    }
    case FLM_TIME_TYPE: {
      FlmTime t;
      if (getTime(field, &t)) return false;
      *value = packedTime(t);
      return true;
    }
    case FLM_TMSTAMP_TYPE: {
      FlmTimestamp ts;
      if (getTimestamp(field, &ts)) return false;
      *value = (packedDate(ts.date) << 32) | packedTime(ts.time);
      return true;
    }
    default:
      return false;
  }
}

bool makeKeyValue(const Node* field, const Collation& collation, KeyValue* key) {
  if (!field->length) return false;
  switch (nodeType(field)) {
    case FLM_TEXT_TYPE:
      return textKey(field, collation, key);
    case FLM_REAL_TYPE:
      key->kind = KeyValue::Real;
      return getReal(field, &key->real) == FERR_OK;
    case FLM_BINARY_TYPE:
      key->kind = KeyValue::Bytes;
      key->exact.assign(static_cast<const char*>(field->value), field->length);
      return true;
    default:
      key->kind = KeyValue::Integer;
      return numericValue(field, &key->integer);
  }
}

RCODE collectKeys(const Dictionary& dictionary, uint16_t container, const Node* root,
                  const Collation& collation, std::vector<IndexKey>* keys) {
  keys->clear();
  RCODE rc = FERR_OK;
  for (const IndexDef* ix : dictionary.indexesOn(container)) {
    for (size_t c = 0; c < ix->components.size(); ++c) {
      forEachOnPath(root, ix->components[c], [&](const Node* field) {
        IndexKey key{ix->number, static_cast<uint16_t>(c + 1), {}};
        if (!field->length) return;
        if (makeKeyValue(field, collation, &key.value))
          keys->push_back(std::move(key));
        else
          rc = FERR_BAD_COLLATED_KEY;
      });
    }
  }
  return rc;
}

}  // namespace flm

#include "flm/RecordCodec.h"

#include "flm/Unicode.h"

#include <algorithm>
#include <cstring>

namespace flm {
namespace {

constexpr uint8_t kFormat = 1;

void putVarint(std::string* out, uint64_t v) {
  while (v >= 0x80) {
    out->push_back(static_cast<char>(v | 0x80));
    v >>= 7;
  }
  out->push_back(static_cast<char>(v));
}

uint64_t zigzag(int64_t v) {
  return (static_cast<uint64_t>(v) << 1) ^ static_cast<uint64_t>(v >> 63);
}

int64_t unzigzag(uint64_t v) { return static_cast<int64_t>(v >> 1) ^ -static_cast<int64_t>(v & 1); }

RCODE encodeText(const Node* n, std::string* value) {
  return utf16ToUtf8(static_cast<const uint16_t*>(n->value), n->length / 2, value)
             ? FERR_OK
             : FERR_CONV_ILLEGAL;
}

RCODE encodeValue(const Node* n, std::string* value) {
  value->clear();
  if (!n->length) return FERR_OK;
  switch (nodeType(n)) {
    case FLM_TEXT_TYPE:
      return encodeText(n, value);
    case FLM_NUMBER_TYPE: {
      int64_t v;
      std::memcpy(&v, n->value, sizeof v);
      putVarint(value, zigzag(v));
      return FERR_OK;
    }
    case FLM_CONTEXT_TYPE: {
      uint32_t v;
      std::memcpy(&v, n->value, sizeof v);
      putVarint(value, v);
      return FERR_OK;
    }
    default:
      value->assign(static_cast<const char*>(n->value), n->length);
      return FERR_OK;
  }
}

class Reader {
 public:
  Reader(const void* data, size_t size)
      : p_(static_cast<const uint8_t*>(data)), end_(p_ + size) {}
  bool done() const { return p_ == end_; }
  bool byte(uint8_t* out) {
    if (p_ == end_) return false;
    *out = *p_++;
    return true;
  }
  bool varint(uint64_t* out) {
    uint64_t v = 0;
    for (int shift = 0; shift < 64; shift += 7) {
      uint8_t b;
      if (!byte(&b)) return false;
      v |= static_cast<uint64_t>(b & 0x7F) << shift;
      if (!(b & 0x80)) {
        *out = v;
        return true;
      }
    }
    return false;
  }
  bool bytes(size_t n, const uint8_t** out) {
    if (static_cast<size_t>(end_ - p_) < n) return false;
    *out = p_;
    p_ += n;
    return true;
  }

 private:
  const uint8_t* p_;
  const uint8_t* end_;
};

RCODE decodeText(PoolMemoryManager* pool, Node* n, const uint8_t* data, size_t size) {
  auto* buffer = static_cast<char16_t*>(poolAlloc(pool, size * sizeof(char16_t)));
  if (!buffer) return FERR_MEM;
  int64_t units = utf8ToUtf16(reinterpret_cast<const char*>(data), size, buffer, false);
  if (units < 0) return FERR_DATA_ERROR;
  n->value = buffer;
  n->length = static_cast<uint32_t>(units) * 2;
  return FERR_OK;
}

RCODE copyValue(PoolMemoryManager* pool, Node* n, const void* data, size_t size) {
  n->value = poolAlloc(pool, size);
  if (!n->value) return FERR_MEM;
  std::memcpy(n->value, data, size);
  n->length = static_cast<uint32_t>(size);
  return FERR_OK;
}

RCODE decodeVarint(PoolMemoryManager* pool, Node* n, const uint8_t* data, size_t size) {
  Reader r(data, size);
  uint64_t raw;
  if (!r.varint(&raw) || !r.done()) return FERR_DATA_ERROR;
  if (nodeType(n) == FLM_NUMBER_TYPE) {
    int64_t v = unzigzag(raw);
    return copyValue(pool, n, &v, sizeof v);
  }
  if (raw > UINT32_MAX) return FERR_DATA_ERROR;
  uint32_t v = static_cast<uint32_t>(raw);
  return copyValue(pool, n, &v, sizeof v);
}

size_t fixedSize(ValueType type) {
  switch (type) {
    case FLM_REAL_TYPE: return sizeof(double);
    case FLM_DATE_TYPE:
    case FLM_TIME_TYPE: return 4;
    case FLM_TMSTAMP_TYPE: return 8;
    default: return 0;
  }
}

RCODE decodeValue(PoolMemoryManager* pool, Node* n, const uint8_t* data, size_t size) {
  if (!size) return FERR_OK;
  ValueType type = nodeType(n);
  if (type == FLM_TEXT_TYPE) return decodeText(pool, n, data, size);
  if (type == FLM_NUMBER_TYPE || type == FLM_CONTEXT_TYPE) return decodeVarint(pool, n, data, size);
  if (type != FLM_BINARY_TYPE && size != fixedSize(type)) return FERR_DATA_ERROR;
  return copyValue(pool, n, data, size);
}

}  // namespace

RCODE encodeRecord(const Node* root, std::string* out) {
  out->clear();
  out->push_back(static_cast<char>(kFormat));
  std::string value;
  for (const Node* n = root; n; n = nodeWalkNext(GED_TREE, root, n)) {
    RCODE rc = encodeValue(n, &value);
    if (rc) return rc;
    out->push_back(static_cast<char>(n->level - root->level));
    putVarint(out, n->tag);
    out->push_back(static_cast<char>(nodeType(n)));
    putVarint(out, value.size());
    out->append(value);
  }
  return FERR_OK;
}

RCODE decodeRecord(const void* data, size_t size, PoolMemoryManager* pool, void* database,
                   uint32_t store, uint16_t container, uint32_t drn, Node** root,
                   const ValueTags* valuesOf) {
  *root = nullptr;
  Reader r(data, size);
  uint8_t format;
  if (!r.byte(&format) || format != kFormat || r.done()) return FERR_DATA_ERROR;
  Node* first = nullptr;
  Node* tail = nullptr;
  while (!r.done()) {
    uint8_t level, type;
    uint64_t tag, length;
    const uint8_t* value;
    if (!r.byte(&level) || !r.varint(&tag) || !r.byte(&type) || !r.varint(&length) ||
        !r.bytes(length, &value))
      return FERR_DATA_ERROR;
    bool atRoot = tail == nullptr;
    if (tag > 0xFFFF || type > FLM_TMSTAMP_TYPE || (atRoot ? level != 0 : level == 0) ||
        (!atRoot && level > tail->level + 1))
      return FERR_DATA_ERROR;
    RCODE rc;
    Node* n = atRoot ? nodeMakeWithSource(pool, static_cast<uint16_t>(tag), database, store,
                                         container, drn, &rc)
                    : nodeMake(pool, static_cast<uint16_t>(tag), &rc);
    if (!n) return rc;
    n->level = level;
    n->type = static_cast<uint8_t>(n->type | type);
    bool wanted = !valuesOf || std::find(valuesOf->begin(), valuesOf->end(), tag) != valuesOf->end();
    if (wanted && (rc = decodeValue(pool, n, value, length)) != FERR_OK) return rc;
    if (atRoot) {
      first = n;
    } else {
      tail->next = n;
      n->prev = tail;
    }
    tail = n;
  }
  // Only a whole record is handed out: a damaged one leaves no partial tree.
  *root = first;
  return FERR_OK;
}

}  // namespace flm

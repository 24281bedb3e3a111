// The storage engine's record decoder on arbitrary bytes: anything it
// accepts must encode again, and decode from that encoding to the same
// fields.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "flm/Node.h"
#include "flm/Pool.h"
#include "flm/RecordCodec.h"

namespace {

constexpr uint32_t kStore = 100;
constexpr uint16_t kContainer = 32001;
constexpr uint32_t kDrn = 7;

// A broken promise of the codec: reported like a sanitizer finding.
[[noreturn]] void fail(const char* what) {
  std::fprintf(stderr, "record codec: %s\n", what);
  std::abort();
}

bool sameField(const flm::Node* a, const flm::Node* b) {
  return a->level == b->level && a->tag == b->tag && flm::nodeType(a) == flm::nodeType(b) &&
         a->length == b->length && (!a->length || std::memcmp(a->value, b->value, a->length) == 0);
}

bool sameRecord(const flm::Node* rootA, const flm::Node* rootB) {
  const flm::Node* a = rootA;
  const flm::Node* b = rootB;
  for (; a && b; a = flm::nodeWalkNext(flm::GED_TREE, rootA, a),
                 b = flm::nodeWalkNext(flm::GED_TREE, rootB, b))
    if (!sameField(a, b)) return false;
  return !a && !b;
}

// A pool that is released however the input ends.
struct Pool {
  flm::PoolMemoryManager pool;
  Pool() { flm::poolInit(&pool, 512); }
  ~Pool() { flm::poolFree(&pool); }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Pool first, second;
  flm::Node* root = nullptr;
  if (flm::decodeRecord(data, size, &first.pool, nullptr, kStore, kContainer, kDrn, &root)) return 0;
  if (!root || !flm::nodeHasSource(root) || flm::nodeSource(root)->drn != kDrn)
    fail("a decoded record without its root bound to its place");
  std::string encoded;
  if (flm::encodeRecord(root, &encoded)) fail("a decoded record does not encode");
  flm::Node* again = nullptr;
  if (flm::decodeRecord(encoded.data(), encoded.size(), &second.pool, nullptr, kStore, kContainer,
                        kDrn, &again))
    fail("an encoded record does not decode");
  if (!sameRecord(root, again)) fail("a record changed on its way through the codec");
  return 0;
}

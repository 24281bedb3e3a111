// The in-memory side of the storage engine: block pools, field trees, typed
// values, path building and error names.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "flm/ErrorCodes.h"
#include "flm/Node.h"
#include "flm/Path.h"
#include "flm/Pool.h"
#include "flm/Value.h"

using namespace flm;

namespace {

// A pool that lets go of its blocks when the test ends, whatever happened.
struct ScopedPool {
  explicit ScopedPool(uint16_t blockSize = 512) { poolInit(&pool, blockSize); }
  ~ScopedPool() { poolFree(&pool); }
  ScopedPool(const ScopedPool&) = delete;
  ScopedPool& operator=(const ScopedPool&) = delete;
  PoolMemoryManager* operator&() { return &pool; }
  PoolMemoryManager pool;
};

bool aligned8(const void* p) { return reinterpret_cast<uintptr_t>(p) % 8 == 0; }

// Every allocation gets bytes derived from its own number, so that two
// allocations that overlap, or one that is overwritten, show up.
void fill(void* p, size_t size, unsigned seed) {
  auto* bytes = static_cast<unsigned char*>(p);
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(seed * 31 + i * 7 + 1);
}

bool holds(const void* p, size_t size, unsigned seed) {
  auto* bytes = static_cast<const unsigned char*>(p);
  for (size_t i = 0; i < size; ++i)
    if (bytes[i] != static_cast<unsigned char>(seed * 31 + i * 7 + 1)) return false;
  return true;
}

struct Piece {
  void* at;
  size_t size;
  unsigned seed;
};

// Allocates `count` filled pieces of assorted sizes, some bigger than a block.
std::vector<Piece> allocatePieces(PoolMemoryManager* pool, unsigned count, unsigned firstSeed,
                                  size_t biggest) {
  std::vector<Piece> pieces;
  for (unsigned i = 0; i < count; ++i) {
    size_t size = 1 + (i * 37) % 200;
    if (i % 17 == 5) size = biggest;
    void* p = poolAlloc(pool, size);
    EXPECT_NE(p, nullptr);
    if (!p) break;
    EXPECT_TRUE(aligned8(p)) << "piece " << i;
    fill(p, size, firstSeed + i);
    pieces.push_back({p, size, firstSeed + i});
  }
  return pieces;
}

size_t intactCount(const std::vector<Piece>& pieces) {
  size_t intact = 0;
  for (const Piece& p : pieces) intact += holds(p.at, p.size, p.seed);
  return intact;
}

Node* make(PoolMemoryManager* pool, uint16_t tag) {
  RCODE rc = FERR_FAILURE;
  Node* n = nodeMake(pool, tag, &rc);
  EXPECT_EQ(rc, FERR_OK);
  EXPECT_NE(n, nullptr);
  return n;
}

// Lays fields out in document order the way a decoded record is laid out, so
// that the graft and clip tests start from a shape that does not depend on
// grafting.
Node* build(PoolMemoryManager* pool, std::initializer_list<std::pair<int, int>> levelsAndTags) {
  Node* first = nullptr;
  Node* tail = nullptr;
  for (auto [level, tag] : levelsAndTags) {
    Node* n = make(pool, static_cast<uint16_t>(tag));
    n->level = static_cast<uint8_t>(level);
    if (tail) {
      tail->next = n;
      n->prev = tail;
    } else {
      first = n;
    }
    tail = n;
  }
  return first;
}

// "tag:level" for every field from `first` on; the back links must agree with
// the forward ones or the shape is reported as broken.
std::string shape(const Node* first) {
  std::string text;
  const Node* before = first ? first->prev : nullptr;
  for (const Node* p = first; p; before = p, p = p->next) {
    if (p->prev != before) return "broken links at tag " + std::to_string(p->tag);
    if (!text.empty()) text += ' ';
    text += std::to_string(p->tag) + ":" + std::to_string(p->level);
  }
  return text;
}

// Finds a field by walking the links directly, not through nodeFind.
Node* byTag(Node* first, uint16_t tag) {
  for (Node* p = first; p; p = p->next)
    if (p->tag == tag) return p;
  return nullptr;
}

// The standard fixture tree:
// 1
//   10
//     11
//     12
//   20
//     21
//   30
//   40
//     41
//       42
//   50
Node* fixtureTree(PoolMemoryManager* pool) {
  return build(pool, {{0, 1},
                      {1, 10},
                      {2, 11},
                      {2, 12},
                      {1, 20},
                      {2, 21},
                      {1, 30},
                      {1, 40},
                      {2, 41},
                      {3, 42},
                      {1, 50}});
}

constexpr char kFixtureShape[] = "1:0 10:1 11:2 12:2 20:1 21:2 30:1 40:1 41:2 42:3 50:1";

// A detached tree 900 > 901 > 902 to graft, so that grafting is seen to carry
// descendants along and to rebase their levels.
Node* graftling(PoolMemoryManager* pool) { return build(pool, {{0, 900}, {1, 901}, {2, 902}}); }

std::u16string textOf(const Node* n) {
  uint32_t bytes = 0;
  EXPECT_EQ(getUnicodeLength(n, &bytes), FERR_OK);
  std::vector<uint16_t> buffer(bytes / 2 + 1, 0xBEEF);
  uint32_t size = static_cast<uint32_t>(buffer.size() * 2);
  EXPECT_EQ(getUnicode(n, buffer.data(), &size), FERR_OK);
  EXPECT_EQ(size, bytes);
  EXPECT_EQ(buffer[bytes / 2], 0u) << "the text must be terminated";
  return std::u16string(buffer.begin(), buffer.begin() + bytes / 2);
}

RCODE putText(PoolMemoryManager* pool, Node* n, std::u16string_view text) {
  return putUnicode(pool, n, reinterpret_cast<const uint16_t*>(text.data()), text.size());
}

}  // namespace

// ---------------------------------------------------------------------------
// Pools

TEST(FlmPool, AllocationsAreAlignedDistinctAndZeroedByCalloc) {
  ScopedPool pool(128);
  std::vector<Piece> pieces = allocatePieces(&pool, 300, 1, 500);
  ASSERT_EQ(pieces.size(), 300u);
  EXPECT_EQ(intactCount(pieces), pieces.size()) << "allocations overlap";

  // Calloc must clear memory that earlier use left dirty.
  poolReset(&pool, nullptr);
  void* dirty = poolAlloc(&pool, 64);
  ASSERT_NE(dirty, nullptr);
  std::memset(dirty, 0xAB, 64);
  poolReset(&pool, nullptr);
  auto* clean = static_cast<unsigned char*>(poolCalloc(&pool, 64));
  ASSERT_NE(clean, nullptr);
  EXPECT_TRUE(aligned8(clean));
  for (int i = 0; i < 64; ++i) ASSERT_EQ(clean[i], 0) << "byte " << i;

  // Even an empty request yields its own usable, aligned place.
  void* a = poolAlloc(&pool, 0);
  void* b = poolAlloc(&pool, 0);
  ASSERT_NE(a, nullptr);
  ASSERT_NE(b, nullptr);
  EXPECT_NE(a, b);
  EXPECT_TRUE(aligned8(a));
  EXPECT_TRUE(aligned8(b));
}

TEST(FlmPool, ResetToMarkKeepsWhatCameBefore) {
  ScopedPool pool(256);
  std::vector<Piece> before = allocatePieces(&pool, 40, 100, 1000);
  void* mark = poolMark(&pool);
  ASSERT_NE(mark, nullptr);

  // Enough after the mark to need many more blocks, oversized ones included.
  std::vector<Piece> after = allocatePieces(&pool, 400, 1000, 3000);
  ASSERT_EQ(intactCount(after), after.size());
  poolReset(&pool, mark);
  EXPECT_EQ(intactCount(before), before.size());

  EXPECT_EQ(poolMark(&pool), mark);

  // Allocating again must not disturb the earlier data either.
  std::vector<Piece> again = allocatePieces(&pool, 400, 5000, 3000);
  EXPECT_EQ(intactCount(before), before.size());
  EXPECT_EQ(intactCount(again), again.size());
}

TEST(FlmPool, SpaceAfterTheMarkIsHandedOutAgain) {
  ScopedPool pool(256);
  void* kept = poolAlloc(&pool, 16);
  fill(kept, 16, 1);
  void* mark = poolMark(&pool);
  allocatePieces(&pool, 200, 10, 1000);
  poolReset(&pool, mark);
  EXPECT_EQ(poolAlloc(&pool, 8), mark);
  EXPECT_TRUE(holds(kept, 16, 1));
}

TEST(FlmPool, NestedMarksResetInnermostFirst) {
  ScopedPool pool(64);
  std::vector<Piece> outer = allocatePieces(&pool, 10, 1, 100);
  void* first = poolMark(&pool);
  std::vector<Piece> middle = allocatePieces(&pool, 30, 200, 300);
  void* second = poolMark(&pool);
  allocatePieces(&pool, 50, 400, 500);

  poolReset(&pool, second);
  EXPECT_EQ(intactCount(outer), outer.size());
  EXPECT_EQ(intactCount(middle), middle.size());
  EXPECT_EQ(poolMark(&pool), second);

  poolReset(&pool, first);
  EXPECT_EQ(intactCount(outer), outer.size());
  EXPECT_EQ(poolMark(&pool), first);
}

TEST(FlmPool, MarkOnAFullBlockStillResets) {
  // With 64-byte blocks, eight 8-byte pieces fill the first block exactly and
  // the mark then sits at its very end.
  ScopedPool pool(64);
  std::vector<Piece> before = allocatePieces(&pool, 0, 0, 0);
  for (unsigned i = 0; i < 8; ++i) {
    void* p = poolAlloc(&pool, 8);
    ASSERT_NE(p, nullptr);
    fill(p, 8, i);
    before.push_back({p, 8, i});
  }
  void* mark = poolMark(&pool);
  allocatePieces(&pool, 100, 50, 200);
  poolReset(&pool, mark);
  EXPECT_EQ(intactCount(before), before.size());
  std::vector<Piece> again = allocatePieces(&pool, 100, 900, 200);
  EXPECT_EQ(intactCount(before), before.size());
  EXPECT_EQ(intactCount(again), again.size());
}

TEST(FlmPool, ResetAllStartsOverInTheKeptBlock) {
  ScopedPool pool(256);
  void* firstEver = poolAlloc(&pool, 16);
  ASSERT_NE(firstEver, nullptr);
  allocatePieces(&pool, 500, 1, 2000);

  poolReset(&pool, nullptr);
  // What remains is one empty block: the next piece starts it again.
  EXPECT_EQ(poolAlloc(&pool, 16), firstEver);
  std::vector<Piece> pieces = allocatePieces(&pool, 500, 7, 2000);
  EXPECT_EQ(intactCount(pieces), pieces.size());

  // A reset-all of a pool that never allocated, and a free after it, are fine.
  ScopedPool empty(128);
  poolReset(&empty, nullptr);
  EXPECT_NE(poolAlloc(&empty, 10), nullptr);
}

TEST(FlmPool, SharedHeaderOutlivesTheOriginal) {
  PoolMemoryManager original;
  poolInit(&original, 128);
  std::vector<Piece> pieces = allocatePieces(&original, 200, 3, 700);
  ASSERT_EQ(pieces.size(), 200u);

  PoolMemoryManager copy;
  poolShare(&copy, original);
  poolFree(&original);
  EXPECT_EQ(original.block, nullptr);
  // Reading freed blocks here is what the sanitizers would catch.
  EXPECT_EQ(intactCount(pieces), pieces.size());

  std::vector<Piece> more = allocatePieces(&copy, 200, 9000, 700);
  EXPECT_EQ(intactCount(pieces), pieces.size());
  EXPECT_EQ(intactCount(more), more.size());
  poolFree(&copy);
}

TEST(FlmPool, ResetAllOfASharedPoolLeavesTheSharerItsData) {
  PoolMemoryManager original;
  poolInit(&original, 128);
  std::vector<Piece> pieces = allocatePieces(&original, 100, 11, 400);
  PoolMemoryManager copy;
  poolShare(&copy, original);

  poolReset(&original, nullptr);
  std::vector<Piece> fresh = allocatePieces(&original, 100, 4000, 400);
  EXPECT_EQ(intactCount(pieces), pieces.size());
  EXPECT_EQ(intactCount(fresh), fresh.size());

  poolFree(&copy);
  EXPECT_EQ(intactCount(fresh), fresh.size());
  poolFree(&original);
}

// ---------------------------------------------------------------------------
// Trees

TEST(FlmTree, NavigationFollowsLevels) {
  ScopedPool pool;
  Node* root = fixtureTree(&pool);
  ASSERT_EQ(shape(root), kFixtureShape);
  Node* n10 = byTag(root, 10);
  Node* n12 = byTag(root, 12);
  Node* n20 = byTag(root, 20);
  Node* n30 = byTag(root, 30);
  Node* n40 = byTag(root, 40);
  Node* n42 = byTag(root, 42);
  Node* n50 = byTag(root, 50);

  EXPECT_EQ(nodeParent(root), nullptr);
  EXPECT_EQ(nodeParent(n10), root);
  EXPECT_EQ(nodeParent(n12), n10);
  EXPECT_EQ(nodeParent(n30), root) << "a sibling's subtree must be skipped";
  EXPECT_EQ(nodeParent(n50), root);
  EXPECT_EQ(nodeParent(nodeParent(n42)), n40);

  EXPECT_EQ(nodeChild(root), n10);
  EXPECT_EQ(nodeChild(n10), byTag(root, 11));
  EXPECT_EQ(nodeChild(n30), nullptr);
  EXPECT_EQ(nodeChild(n50), nullptr);

  EXPECT_EQ(nodeNextSibling(n10), n20);
  EXPECT_EQ(nodeNextSibling(n30), n40);
  EXPECT_EQ(nodeNextSibling(n40), n50) << "descendants are skipped";
  EXPECT_EQ(nodeNextSibling(n50), nullptr);
  EXPECT_EQ(nodeNextSibling(n12), nullptr) << "the parent's sibling is no sibling";
  EXPECT_EQ(nodeNextSibling(root), nullptr);

  EXPECT_EQ(nodePrevSibling(n50), n40);
  EXPECT_EQ(nodePrevSibling(n30), n20);
  EXPECT_EQ(nodePrevSibling(n20), n10);
  EXPECT_EQ(nodePrevSibling(n10), nullptr);
  EXPECT_EQ(nodePrevSibling(byTag(root, 21)), nullptr) << "a cousin is no sibling";

  EXPECT_EQ(nodeLastInTree(root), n50);
  EXPECT_EQ(nodeLastInTree(n40), n42);
  EXPECT_EQ(nodeLastInTree(n10), n12);
  EXPECT_EQ(nodeLastInTree(n30), n30);
}

TEST(FlmTree, ChildGraftAtFirstMiddleAndLast) {
  struct Case {
    int position;
    const char* expected;
  } cases[] = {
      {GED_FIRST, "1:0 900:1 901:2 902:3 10:1 11:2 12:2 20:1 21:2 30:1 40:1 41:2 42:3 50:1"},
      {2, "1:0 10:1 11:2 12:2 20:1 21:2 900:1 901:2 902:3 30:1 40:1 41:2 42:3 50:1"},
      {4, "1:0 10:1 11:2 12:2 20:1 21:2 30:1 40:1 41:2 42:3 900:1 901:2 902:3 50:1"},
      {GED_LAST, "1:0 10:1 11:2 12:2 20:1 21:2 30:1 40:1 41:2 42:3 50:1 900:1 901:2 902:3"},
      {5, "1:0 10:1 11:2 12:2 20:1 21:2 30:1 40:1 41:2 42:3 50:1 900:1 901:2 902:3"},
  };
  for (const Case& c : cases) {
    ScopedPool pool;
    Node* root = fixtureTree(&pool);
    Node* graft = graftling(&pool);
    nodeChildGraft(root, graft, c.position);
    EXPECT_EQ(shape(root), c.expected) << "position " << c.position;
    EXPECT_EQ(nodeParent(graft), root);
  }
}

TEST(FlmTree, ChildGraftUnderALeafAndInsideASubtree) {
  ScopedPool pool;
  Node* root = fixtureTree(&pool);
  nodeChildGraft(byTag(root, 30), graftling(&pool), GED_LAST);
  EXPECT_EQ(shape(root),
            "1:0 10:1 11:2 12:2 20:1 21:2 30:1 900:2 901:3 902:4 40:1 41:2 42:3 50:1");

  // A tree cut from deeper down is rebased when it is grafted higher up.
  Node* moved = nodeClip(byTag(root, 41));
  nodeChildGraft(byTag(root, 11), moved, GED_LAST);
  EXPECT_EQ(shape(root),
            "1:0 10:1 11:2 41:3 42:4 12:2 20:1 21:2 30:1 900:2 901:3 902:4 40:1 50:1");
}

TEST(FlmTree, SiblingGraftAtPositiveAndNegativePositions) {
  struct Case {
    int position;
    const char* expected;
  } cases[] = {
      // Beside 20, which has a child of its own.
      {0, "1:0 10:1 11:2 12:2 20:1 21:2 900:1 901:2 902:3 30:1 40:1 41:2 42:3 50:1"},
      {1, "1:0 10:1 11:2 12:2 20:1 21:2 30:1 900:1 901:2 902:3 40:1 41:2 42:3 50:1"},
      {2, "1:0 10:1 11:2 12:2 20:1 21:2 30:1 40:1 41:2 42:3 900:1 901:2 902:3 50:1"},
      {GED_LAST, "1:0 10:1 11:2 12:2 20:1 21:2 30:1 40:1 41:2 42:3 50:1 900:1 901:2 902:3"},
      {-1, "1:0 10:1 11:2 12:2 900:1 901:2 902:3 20:1 21:2 30:1 40:1 41:2 42:3 50:1"},
      {-2, "1:0 900:1 901:2 902:3 10:1 11:2 12:2 20:1 21:2 30:1 40:1 41:2 42:3 50:1"},
      {-GED_LAST, "1:0 900:1 901:2 902:3 10:1 11:2 12:2 20:1 21:2 30:1 40:1 41:2 42:3 50:1"},
  };
  for (const Case& c : cases) {
    ScopedPool pool;
    Node* root = fixtureTree(&pool);
    Node* graft = graftling(&pool);
    nodeSiblingGraft(byTag(root, 20), graft, c.position);
    EXPECT_EQ(shape(root), c.expected) << "position " << c.position;
    EXPECT_EQ(nodeParent(graft), root);
  }
}

TEST(FlmTree, SiblingGraftBeforeTheRootMakesAForest) {
  ScopedPool pool;
  Node* root = fixtureTree(&pool);
  Node* graft = graftling(&pool);
  nodeSiblingGraft(root, graft, -1);
  EXPECT_EQ(graft->prev, nullptr);
  EXPECT_EQ(nodeNextSibling(graft), root);
  EXPECT_EQ(shape(graft), std::string("900:0 901:1 902:2 ") + kFixtureShape);
}

TEST(FlmTree, DeepTreeGraftsAndNavigates) {
  constexpr int kDepth = 50;
  ScopedPool pool;
  Node* root = make(&pool, 1);
  Node* deepest = root;
  for (int level = 1; level < kDepth; ++level) {
    Node* n = make(&pool, static_cast<uint16_t>(level + 1));
    nodeChildGraft(deepest, n, GED_LAST);
    deepest = n;
  }
  EXPECT_EQ(deepest->level, kDepth - 1);

  int steps = 0;
  for (Node* p = deepest; nodeParent(p); p = nodeParent(p)) ++steps;
  EXPECT_EQ(steps, kDepth - 1);

  // Halfway down, a sibling before and a child at the front.
  Node* middle = byTag(root, 25);
  ASSERT_NE(middle, nullptr);
  Node* before = graftling(&pool);
  nodeSiblingGraft(middle, before, -1);
  EXPECT_EQ(before->level, middle->level);
  EXPECT_EQ(nodeNextSibling(before), middle);
  EXPECT_EQ(nodeParent(before), byTag(root, 24));
  EXPECT_EQ(byTag(root, 902)->level, middle->level + 2);

  Node* front = make(&pool, 777);
  nodeChildGraft(middle, front, GED_FIRST);
  EXPECT_EQ(nodeChild(middle), front);
  EXPECT_EQ(nodeNextSibling(front), byTag(root, 26));
  EXPECT_EQ(nodeLastInTree(middle), deepest);
  EXPECT_EQ(nodeLastInTree(root), deepest);

  // Document order must still be a valid tree: no level jumps by more than one.
  int fields = 0;
  for (Node* p = root; p; p = p->next, ++fields) {
    if (p->next) {
      ASSERT_LE(p->next->level, p->level + 1) << "after tag " << p->tag;
    }
  }
  EXPECT_EQ(fields, kDepth + 4);
  EXPECT_EQ(shape(root).find("broken"), std::string::npos);
}

TEST(FlmTree, WideTreeGraftsAndNavigates) {
  constexpr int kWidth = 1000;
  ScopedPool pool(4096);
  Node* root = make(&pool, 1);
  for (int i = 0; i < kWidth; ++i) {
    Node* child = make(&pool, static_cast<uint16_t>(1000 + i));
    nodeChildGraft(root, child, GED_LAST);
    // Every tenth child gets a child of its own, so that siblings must be
    // found past descendants.
    if (i % 10 == 9) nodeChildGraft(child, make(&pool, 9), GED_LAST);
  }
  Node* middle = make(&pool, 5000);
  nodeChildGraft(root, middle, kWidth / 2);
  Node* first = make(&pool, 5001);
  nodeChildGraft(root, first, GED_FIRST);
  Node* beside = make(&pool, 5002);
  nodeSiblingGraft(byTag(root, 1000 + 700), beside, 0);

  std::vector<uint16_t> order;
  for (Node* c = nodeChild(root); c; c = nodeNextSibling(c)) {
    EXPECT_EQ(nodeParent(c), root);
    order.push_back(c->tag);
  }
  ASSERT_EQ(order.size(), static_cast<size_t>(kWidth + 3));
  EXPECT_EQ(order.front(), 5001);
  EXPECT_EQ(order[1], 1000);
  EXPECT_EQ(order[1 + kWidth / 2], 5000);
  EXPECT_EQ(order[kWidth / 2], 1000 + kWidth / 2 - 1);
  EXPECT_EQ(order[2 + kWidth / 2], 1000 + kWidth / 2);
  // 1700 is at index 700 + 2 (5001 and 5000 come before it), so 5002 at 703.
  EXPECT_EQ(order[702], 1700);
  EXPECT_EQ(order[703], 5002);
  EXPECT_EQ(order.back(), 1000 + kWidth - 1);

  Node* lastChild = nodeParent(nodeLastInTree(root));
  ASSERT_EQ(lastChild->tag, 1000 + kWidth - 1) << "the last child has a child of its own";
  int backwards = 0;
  for (Node* c = lastChild; c; c = nodePrevSibling(c)) ++backwards;
  EXPECT_EQ(backwards, kWidth + 3);
}

TEST(FlmTree, ClipTakesTheSubtreeAndRebasesIt) {
  ScopedPool pool;
  Node* root = fixtureTree(&pool);
  Node* clipped = nodeClip(byTag(root, 40));
  EXPECT_EQ(shape(clipped), "40:0 41:1 42:2");
  EXPECT_EQ(clipped->prev, nullptr);
  EXPECT_EQ(nodeParent(clipped), nullptr);
  EXPECT_EQ(shape(root), "1:0 10:1 11:2 12:2 20:1 21:2 30:1 50:1");
  EXPECT_EQ(nodeNextSibling(byTag(root, 30)), byTag(root, 50));

  // The last field of the tree, and a first child.
  Node* last = nodeClip(byTag(root, 50));
  EXPECT_EQ(shape(last), "50:0");
  EXPECT_EQ(shape(root), "1:0 10:1 11:2 12:2 20:1 21:2 30:1");
  Node* firstChild = nodeClip(byTag(root, 11));
  EXPECT_EQ(shape(firstChild), "11:0");
  EXPECT_EQ(shape(root), "1:0 10:1 12:2 20:1 21:2 30:1");

  // A clipped tree can be grafted back in as if it had been made fresh.
  nodeChildGraft(byTag(root, 12), clipped, GED_LAST);
  EXPECT_EQ(shape(root), "1:0 10:1 12:2 40:3 41:4 42:5 20:1 21:2 30:1");
}

TEST(FlmTree, FindInTreeAndForestAndNthOccurrence) {
  ScopedPool pool;
  // 1
  //   7 (a)
  //     7 (b)
  //   5
  //     7 (c)
  //   7 (d)
  // with a second root-level tree 2 > 7 (e) following the first.
  Node* root = build(&pool, {{0, 1}, {1, 7}, {2, 7}, {1, 5}, {2, 7}, {1, 7}, {0, 2}, {1, 7}});
  std::vector<Node*> sevens;
  for (Node* p = root; p; p = p->next)
    if (p->tag == 7) sevens.push_back(p);
  ASSERT_EQ(sevens.size(), 5u);

  for (int i = 0; i < 4; ++i) EXPECT_EQ(nodeFind(GED_TREE, root, 7, i + 1), sevens[i]) << i;
  EXPECT_EQ(nodeFind(GED_TREE, root, 7, 5), nullptr) << "the next tree is outside";
  EXPECT_EQ(nodeFind(GED_FOREST, root, 7, 5), sevens[4]);
  EXPECT_EQ(nodeFind(GED_FOREST, root, 2, 1), byTag(root, 2));
  EXPECT_EQ(nodeFind(GED_TREE, root, 2, 1), nullptr);
  EXPECT_EQ(nodeFind(GED_TREE, root, 1, 1), root) << "the start itself counts";

  // From 5 the tree is 5 > 7(c); the forest adds 7(d) but never climbs to 2.
  Node* five = byTag(root, 5);
  EXPECT_EQ(nodeFind(GED_TREE, five, 7, 1), sevens[2]);
  EXPECT_EQ(nodeFind(GED_TREE, five, 7, 2), nullptr);
  EXPECT_EQ(nodeFind(GED_FOREST, five, 7, 2), sevens[3]);
  EXPECT_EQ(nodeFind(GED_FOREST, five, 7, 3), nullptr);
  EXPECT_EQ(nodeFind(GED_FOREST, five, 2, 1), nullptr);
  EXPECT_EQ(nodeFind(GED_TREE, five, 99, 1), nullptr);

  // Tag 0 matches every field.
  EXPECT_EQ(nodeFind(GED_TREE, root, 0, 6), sevens[3]);
  EXPECT_EQ(nodeFind(GED_TREE, root, 0, 7), nullptr);
  EXPECT_EQ(nodeFind(GED_FOREST, root, 0, 8), sevens[4]);
}

TEST(FlmTree, WalkNextStaysInsideTheSubtree) {
  ScopedPool pool;
  Node* root = fixtureTree(&pool);
  auto walk = [](TreeMode mode, Node* start) {
    std::string tags;
    for (const Node* p = start; p; p = nodeWalkNext(mode, start, p)) tags += std::to_string(p->tag) + " ";
    return tags;
  };
  EXPECT_EQ(walk(GED_TREE, byTag(root, 40)), "40 41 42 ");
  EXPECT_EQ(walk(GED_TREE, byTag(root, 20)), "20 21 ");
  EXPECT_EQ(walk(GED_TREE, byTag(root, 30)), "30 ");
  EXPECT_EQ(walk(GED_TREE, byTag(root, 11)), "11 ");
  EXPECT_EQ(walk(GED_FOREST, byTag(root, 11)), "11 12 ");
  EXPECT_EQ(walk(GED_FOREST, byTag(root, 30)), "30 40 41 42 50 ");
  EXPECT_EQ(walk(GED_TREE, root), "1 10 11 12 20 21 30 40 41 42 50 ");
}

TEST(FlmTree, CopyOfATreeIsIndependentOfTheOriginal) {
  PoolMemoryManager source;
  poolInit(&source, 256);
  RCODE rc = FERR_FAILURE;
  Node* root = nodeMakeWithSource(&source, 1, &source, 3, 32001, 77, &rc);
  ASSERT_EQ(rc, FERR_OK);
  Node* name = make(&source, 10);
  ASSERT_EQ(putText(&source, name, u"original"), FERR_OK);
  nodeChildGraft(root, name, GED_LAST);
  Node* count = make(&source, 11);
  ASSERT_EQ(putInt(&source, count, 42), FERR_OK);
  nodeChildGraft(name, count, GED_LAST);
  Node* empty = make(&source, 12);
  nodeChildGraft(root, empty, GED_LAST);

  ScopedPool target(64);
  Node* copy = treeCopy(&target, GED_TREE, root, &rc);
  ASSERT_EQ(rc, FERR_OK);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(shape(copy), "1:0 10:1 11:2 12:1");
  const SourceNode* src = nodeSource(copy);
  ASSERT_NE(src, nullptr);
  EXPECT_EQ(src->database, &source);
  EXPECT_EQ(src->store, 3u);
  EXPECT_EQ(src->container, 32001);
  EXPECT_EQ(src->drn, 77u);
  EXPECT_FALSE(nodeHasSource(nodeChild(copy)));

  // Changing the copy leaves the original alone, and the copy survives the
  // original's pool.
  ASSERT_EQ(putText(&target, nodeChild(copy), u"changed"), FERR_OK);
  EXPECT_EQ(textOf(name), u"original");
  poolFree(&source);
  EXPECT_EQ(textOf(nodeChild(copy)), u"changed");
  int64_t number = 0;
  EXPECT_EQ(getNumber(byTag(copy, 11), &number), FERR_OK);
  EXPECT_EQ(number, 42);
  EXPECT_EQ(byTag(copy, 12)->length, 0u);
  EXPECT_EQ(nodeType(byTag(copy, 11)), FLM_NUMBER_TYPE);
}

TEST(FlmTree, CopyOfAForestTakesTheFollowingSiblingsOnly) {
  ScopedPool pool;
  Node* root = fixtureTree(&pool);
  ASSERT_EQ(putText(&pool, byTag(root, 42), u"deep"), FERR_OK);
  ScopedPool target;
  RCODE rc = FERR_FAILURE;
  Node* forest = treeCopy(&target, GED_FOREST, byTag(root, 30), &rc);
  ASSERT_EQ(rc, FERR_OK);
  EXPECT_EQ(shape(forest), "30:0 40:0 41:1 42:2 50:0");
  EXPECT_EQ(textOf(byTag(forest, 42)), u"deep");
  EXPECT_NE(byTag(forest, 42)->value, byTag(root, 42)->value);

  Node* tree = treeCopy(&target, GED_TREE, byTag(root, 20), &rc);
  ASSERT_EQ(rc, FERR_OK);
  EXPECT_EQ(shape(tree), "20:0 21:1");
  EXPECT_EQ(shape(root), kFixtureShape);
}

// ---------------------------------------------------------------------------
// Values

TEST(FlmValue, TextRoundTripsWithSupplementaryAndZeroUnits) {
  ScopedPool pool;
  Node* n = make(&pool, 1);
  const std::u16string samples[] = {
      u"plain",
      u"Stra\u00dfe \u4e2d\u6587",
      u"\U0001F600 grin \U00010348",
      std::u16string(u"a\0b\0\0c", 6),
      std::u16string(),
      std::u16string(3000, u'x'),
  };
  for (const std::u16string& text : samples) {
    ASSERT_EQ(putText(&pool, n, text), FERR_OK);
    EXPECT_EQ(nodeType(n), FLM_TEXT_TYPE);
    EXPECT_EQ(textOf(n), text) << "length " << text.size();
  }

  // UTF-8 input goes in as the same UTF-16 text.
  const char utf8[] = "Stra\xc3\x9f" "e \xf0\x9f\x98\x80";
  ASSERT_EQ(putUtf8(&pool, n, utf8, sizeof utf8 - 1), FERR_OK);
  EXPECT_EQ(textOf(n), u"Stra\u00dfe \U0001F600");
  ASSERT_EQ(putUtf8(&pool, n, "a\0b", 3), FERR_OK);
  EXPECT_EQ(textOf(n), std::u16string(u"a\0b", 3));
}

TEST(FlmValue, NumbersRoundTripAtTheirExtremes) {
  ScopedPool pool;
  Node* n = make(&pool, 1);
  int32_t i32 = 0;
  uint32_t u32 = 0;
  int16_t i16 = 0;
  uint16_t u16 = 0;

  for (int32_t v : {std::numeric_limits<int32_t>::min(), -1, 0, 1, std::numeric_limits<int32_t>::max()}) {
    ASSERT_EQ(putInt(&pool, n, v), FERR_OK);
    EXPECT_EQ(nodeType(n), FLM_NUMBER_TYPE);
    EXPECT_EQ(getInt32(n, &i32), FERR_OK);
    EXPECT_EQ(i32, v);
  }
  for (uint32_t v : {0u, 1u, 0x80000000u, std::numeric_limits<uint32_t>::max()}) {
    ASSERT_EQ(putInt(&pool, n, v), FERR_OK);
    EXPECT_EQ(getUint32(n, &u32), FERR_OK);
    EXPECT_EQ(u32, v);
  }
  for (int16_t v : {std::numeric_limits<int16_t>::min(), int16_t{-1}, std::numeric_limits<int16_t>::max()}) {
    ASSERT_EQ(putInt(&pool, n, v), FERR_OK);
    EXPECT_EQ(getInt16(n, &i16), FERR_OK);
    EXPECT_EQ(i16, v);
  }
  for (uint16_t v : {uint16_t{0}, std::numeric_limits<uint16_t>::max()}) {
    ASSERT_EQ(putInt(&pool, n, v), FERR_OK);
    EXPECT_EQ(getUint16(n, &u16), FERR_OK);
    EXPECT_EQ(u16, v);
  }
}

TEST(FlmValue, OtherTypesRoundTrip) {
  ScopedPool pool;
  Node* n = make(&pool, 1);

  uint32_t drn = 0;
  ASSERT_EQ(putRecPtr(&pool, n, 0xFFFFFFFEu), FERR_OK);
  EXPECT_EQ(nodeType(n), FLM_CONTEXT_TYPE);
  EXPECT_EQ(getRecPtr(n, &drn), FERR_OK);
  EXPECT_EQ(drn, 0xFFFFFFFEu);

  const unsigned char bytes[] = {0, 1, 2, 0xFF, 0, 0x80};
  unsigned char out[16] = {};
  uint32_t size = sizeof out;
  ASSERT_EQ(putBinary(&pool, n, bytes, sizeof bytes), FERR_OK);
  EXPECT_EQ(nodeType(n), FLM_BINARY_TYPE);
  EXPECT_EQ(getBinary(n, out, &size), FERR_OK);
  EXPECT_EQ(size, sizeof bytes);
  EXPECT_EQ(std::memcmp(out, bytes, sizeof bytes), 0);
  size = 3;
  EXPECT_EQ(getBinary(n, out, &size), FERR_CONV_DEST_OVERFLOW);

  double real = 0;
  for (double v : {-1.5e300, 0.1, 3.141592653589793, -0.0}) {
    ASSERT_EQ(putReal(&pool, n, v), FERR_OK);
    EXPECT_EQ(nodeType(n), FLM_REAL_TYPE);
    EXPECT_EQ(getReal(n, &real), FERR_OK);
    EXPECT_EQ(std::memcmp(&real, &v, sizeof v), 0) << v;
  }

  FlmDate date{};
  ASSERT_EQ(putDate(&pool, n, FlmDate{2024, 2, 29}), FERR_OK);
  EXPECT_EQ(nodeType(n), FLM_DATE_TYPE);
  EXPECT_EQ(getDate(n, &date), FERR_OK);
  EXPECT_EQ(date.year, 2024);
  EXPECT_EQ(date.month, 2);
  EXPECT_EQ(date.day, 29);

  FlmTime time{};
  ASSERT_EQ(putTime(&pool, n, FlmTime{23, 59, 58, 99}), FERR_OK);
  EXPECT_EQ(nodeType(n), FLM_TIME_TYPE);
  EXPECT_EQ(getTime(n, &time), FERR_OK);
  EXPECT_EQ(time.hour, 23);
  EXPECT_EQ(time.minute, 59);
  EXPECT_EQ(time.second, 58);
  EXPECT_EQ(time.hundredth, 99);

  FlmTimestamp stamp{};
  ASSERT_EQ(putTimestamp(&pool, n, FlmTimestamp{{1999, 12, 31}, {1, 2, 3, 4}}), FERR_OK);
  EXPECT_EQ(nodeType(n), FLM_TMSTAMP_TYPE);
  EXPECT_EQ(getTimestamp(n, &stamp), FERR_OK);
  EXPECT_EQ(stamp.date.year, 1999);
  EXPECT_EQ(stamp.date.month, 12);
  EXPECT_EQ(stamp.date.day, 31);
  EXPECT_EQ(stamp.time.hour, 1);
  EXPECT_EQ(stamp.time.minute, 2);
  EXPECT_EQ(stamp.time.second, 3);
  EXPECT_EQ(stamp.time.hundredth, 4);
}

TEST(FlmValue, PuttingAValueOnABoundRootKeepsItsSource) {
  ScopedPool pool;
  RCODE rc = FERR_FAILURE;
  Node* root = nodeMakeWithSource(&pool, 5, nullptr, 1, 32001, 9, &rc);
  ASSERT_EQ(rc, FERR_OK);
  ASSERT_EQ(putInt(&pool, root, 12), FERR_OK);
  ASSERT_EQ(putText(&pool, root, u"x"), FERR_OK);
  EXPECT_EQ(nodeType(root), FLM_TEXT_TYPE);
  ASSERT_NE(nodeSource(root), nullptr);
  EXPECT_EQ(nodeSource(root)->drn, 9u);
}

TEST(FlmValue, NarrowingReportsOverflowAndUnderflow) {
  ScopedPool pool;
  Node* n = make(&pool, 1);
  int32_t i32 = 0;
  uint32_t u32 = 0;
  int16_t i16 = 0;
  uint16_t u16 = 0;

  ASSERT_EQ(putInt(&pool, n, 70000), FERR_OK);
  EXPECT_EQ(getUint16(n, &u16), FERR_CONV_NUM_OVERFLOW);
  EXPECT_EQ(getInt16(n, &i16), FERR_CONV_NUM_OVERFLOW);
  EXPECT_EQ(getUint32(n, &u32), FERR_OK);
  EXPECT_EQ(u32, 70000u);

  ASSERT_EQ(putInt(&pool, n, -1), FERR_OK);
  EXPECT_EQ(getUint32(n, &u32), FERR_CONV_NUM_UNDERFLOW);
  EXPECT_EQ(getUint16(n, &u16), FERR_CONV_NUM_UNDERFLOW);
  EXPECT_EQ(getInt16(n, &i16), FERR_OK);
  EXPECT_EQ(i16, -1);

  ASSERT_EQ(putInt(&pool, n, 40000), FERR_OK);
  EXPECT_EQ(getInt16(n, &i16), FERR_CONV_NUM_OVERFLOW);
  EXPECT_EQ(getUint16(n, &u16), FERR_OK);
  EXPECT_EQ(u16, 40000);

  ASSERT_EQ(putInt(&pool, n, -40000), FERR_OK);
  EXPECT_EQ(getInt16(n, &i16), FERR_CONV_NUM_UNDERFLOW);
  EXPECT_EQ(getInt32(n, &i32), FERR_OK);
  EXPECT_EQ(i32, -40000);

  ASSERT_EQ(putInt(&pool, n, int64_t{1} << 32), FERR_OK);
  EXPECT_EQ(getUint32(n, &u32), FERR_CONV_NUM_OVERFLOW);
  EXPECT_EQ(getInt32(n, &i32), FERR_CONV_NUM_OVERFLOW);
  ASSERT_EQ(putInt(&pool, n, int64_t{std::numeric_limits<int32_t>::min()} - 1), FERR_OK);
  EXPECT_EQ(getInt32(n, &i32), FERR_CONV_NUM_UNDERFLOW);
}

TEST(FlmValue, TextDigitsReadAsNumbers) {
  ScopedPool pool;
  Node* n = make(&pool, 1);
  int32_t i32 = 0;
  uint32_t u32 = 0;
  uint16_t u16 = 0;
  int64_t number = 0;

  ASSERT_EQ(putText(&pool, n, u"12345"), FERR_OK);
  EXPECT_EQ(getInt32(n, &i32), FERR_OK);
  EXPECT_EQ(i32, 12345);
  EXPECT_EQ(getUint16(n, &u16), FERR_OK);
  EXPECT_EQ(u16, 12345);

  ASSERT_EQ(putText(&pool, n, u"-2147483648"), FERR_OK);
  EXPECT_EQ(getInt32(n, &i32), FERR_OK);
  EXPECT_EQ(i32, std::numeric_limits<int32_t>::min());
  EXPECT_EQ(getUint32(n, &u32), FERR_CONV_NUM_UNDERFLOW);

  ASSERT_EQ(putText(&pool, n, u"4294967295"), FERR_OK);
  EXPECT_EQ(getUint32(n, &u32), FERR_OK);
  EXPECT_EQ(u32, 4294967295u);
  EXPECT_EQ(getInt32(n, &i32), FERR_CONV_NUM_OVERFLOW);

  ASSERT_EQ(putText(&pool, n, u"70000"), FERR_OK);
  EXPECT_EQ(getUint16(n, &u16), FERR_CONV_NUM_OVERFLOW);

  for (std::u16string_view bad : {u"12a", u"abc", u" 12", u"1.5", u"-", u"+3", u"\uff11"}) {
    ASSERT_EQ(putText(&pool, n, bad), FERR_OK);
    EXPECT_EQ(getInt32(n, &i32), FERR_CONV_BAD_DIGIT)
        << std::string(bad.begin(), bad.end());
    EXPECT_EQ(getNumber(n, &number), FERR_CONV_BAD_DIGIT);
  }
}

TEST(FlmValue, RecordPointerReadsAsNumberAndText) {
  ScopedPool pool;
  Node* n = make(&pool, 1);
  ASSERT_EQ(putRecPtr(&pool, n, 4000000000u), FERR_OK);
  uint32_t u32 = 0;
  int32_t i32 = 0;
  EXPECT_EQ(getUint32(n, &u32), FERR_OK);
  EXPECT_EQ(u32, 4000000000u);
  EXPECT_EQ(getInt32(n, &i32), FERR_CONV_NUM_OVERFLOW);
  EXPECT_EQ(textOf(n), u"4000000000");

  ASSERT_EQ(putInt(&pool, n, -987), FERR_OK);
  EXPECT_EQ(textOf(n), u"-987");
}

TEST(FlmValue, TextIntoATooSmallBufferIsDestOverflow) {
  ScopedPool pool;
  Node* n = make(&pool, 1);
  ASSERT_EQ(putText(&pool, n, u"hello"), FERR_OK);
  uint32_t length = 0;
  ASSERT_EQ(getUnicodeLength(n, &length), FERR_OK);
  EXPECT_EQ(length, 10u);

  uint16_t buffer[7] = {};
  uint32_t bytes = 10;  // the text fits, its terminator does not
  EXPECT_EQ(getUnicode(n, buffer, &bytes), FERR_CONV_DEST_OVERFLOW);
  bytes = 12;
  EXPECT_EQ(getUnicode(n, buffer, &bytes), FERR_OK);
  EXPECT_EQ(bytes, 10u);

  ASSERT_EQ(putInt(&pool, n, 123456), FERR_OK);
  bytes = 12;
  EXPECT_EQ(getUnicode(n, buffer, &bytes), FERR_CONV_DEST_OVERFLOW);
  bytes = 14;
  EXPECT_EQ(getUnicode(n, buffer, &bytes), FERR_OK);
  EXPECT_EQ(std::u16string(buffer, buffer + 6), u"123456");
}

TEST(FlmValue, MismatchedTypesAreIllegalConversions) {
  ScopedPool pool;
  Node* n = make(&pool, 1);
  int32_t i32 = 0;
  uint32_t u32 = 0;
  double real = 0;
  FlmDate date{};
  FlmTime time{};
  FlmTimestamp stamp{};
  uint32_t bytes = 64;
  uint16_t text[32];
  unsigned char raw[32];

  ASSERT_EQ(putText(&pool, n, u"5"), FERR_OK);
  EXPECT_EQ(getReal(n, &real), FERR_CONV_ILLEGAL);
  EXPECT_EQ(getDate(n, &date), FERR_CONV_ILLEGAL);
  EXPECT_EQ(getRecPtr(n, &u32), FERR_CONV_ILLEGAL);
  EXPECT_EQ(getBinary(n, raw, &bytes), FERR_CONV_ILLEGAL);

  ASSERT_EQ(putReal(&pool, n, 2.5), FERR_OK);
  EXPECT_EQ(getInt32(n, &i32), FERR_CONV_ILLEGAL);
  bytes = sizeof text;
  EXPECT_EQ(getUnicode(n, text, &bytes), FERR_CONV_ILLEGAL);
  EXPECT_EQ(getTime(n, &time), FERR_CONV_ILLEGAL);

  ASSERT_EQ(putBinary(&pool, n, "ab", 2), FERR_OK);
  EXPECT_EQ(getUint32(n, &u32), FERR_CONV_ILLEGAL);
  EXPECT_EQ(getTimestamp(n, &stamp), FERR_CONV_ILLEGAL);

  ASSERT_EQ(putDate(&pool, n, FlmDate{2000, 1, 1}), FERR_OK);
  EXPECT_EQ(getTimestamp(n, &stamp), FERR_CONV_ILLEGAL);
  EXPECT_EQ(getInt32(n, &i32), FERR_CONV_ILLEGAL);

  ASSERT_EQ(putInt(&pool, n, 5), FERR_OK);
  EXPECT_EQ(getRecPtr(n, &u32), FERR_CONV_ILLEGAL);
  EXPECT_EQ(getReal(n, &real), FERR_CONV_ILLEGAL);
}

// ---------------------------------------------------------------------------
// Paths

TEST(FlmPath, BuildJoinsTheParts) {
  char path[kPathSize];
  ASSERT_EQ(pathBuild(path, nullptr, "/data/dbs", "sample", "db"), FERR_OK);
  EXPECT_STREQ(path, "/data/dbs/sample.db");
  ASSERT_EQ(pathBuild(path, nullptr, "/data/dbs/", "sample", nullptr), FERR_OK);
  EXPECT_STREQ(path, "/data/dbs/sample");
  ASSERT_EQ(pathBuild(path, "C:", "dbs", "a", "x"), FERR_OK);
  EXPECT_STREQ(path, "C:dbs/a.x");
  ASSERT_EQ(pathBuild(path, nullptr, nullptr, "alone", ""), FERR_OK);
  EXPECT_STREQ(path, "alone");
  ASSERT_EQ(pathBuild(path, nullptr, "only/dir", nullptr, nullptr), FERR_OK);
  EXPECT_STREQ(path, "only/dir");
}

TEST(FlmPath, NullTargetAndOverlongResultsAreRefused) {
  EXPECT_EQ(pathBuild(nullptr, nullptr, "d", "n", "e"), FERR_INVALID_PARM);

  char path[kPathSize];
  // 233 + "/" + 2 + "." + 2 = 239 bytes and the terminator: exactly full.
  std::string directory(233, 'd');
  ASSERT_EQ(pathBuild(path, nullptr, directory.c_str(), "nn", "ee"), FERR_OK);
  EXPECT_EQ(std::strlen(path), kPathSize - 1);

  std::memset(path, 'z', sizeof path);
  EXPECT_EQ(pathBuild(path, nullptr, directory.c_str(), "nnn", "ee"), FERR_IO_PATH_TOO_LONG);
  EXPECT_STREQ(path, "");
  std::string name(kPathSize, 'n');
  EXPECT_EQ(pathBuild(path, nullptr, nullptr, name.c_str(), nullptr), FERR_IO_PATH_TOO_LONG);
  EXPECT_STREQ(path, "");
  EXPECT_EQ(pathBuild(path, nullptr, "d", "n", std::string(300, 'e').c_str()),
            FERR_IO_PATH_TOO_LONG);
}

// ---------------------------------------------------------------------------
// Error names

TEST(FlmErrors, NamesOfKnownAndUnknownCodes) {
  EXPECT_STREQ(errorName(FERR_OK), "OK");
  EXPECT_STREQ(errorName(0xC037), "MEM");
  EXPECT_STREQ(errorName(0xC006), "NOT_FOUND");
  EXPECT_STREQ(errorName(0xC209), "IO_PATH_NOT_FOUND");
  EXPECT_STREQ(errorName(FERR_BOF_HIT), "BOF_HIT");
  EXPECT_STREQ(errorName(FERR_BAD_DATA_LENGTH), "BAD_DATA_LENGTH");
  EXPECT_STREQ(errorName(FERR_IO_ACCESS_DENIED), "IO_ACCESS_DENIED");
  EXPECT_STREQ(errorName(FERR_SETTING_FILE_INFO), "SETTING_FILE_INFO");
  EXPECT_STREQ(errorName(FERR_NICI_CONTEXT), "NICI_CONTEXT");
  EXPECT_STREQ(errorName(FERR_PASSWD_INVALID), "PASSWD_INVALID");
  EXPECT_STREQ(errorName(FERR_BT_END_OF_DATA), "BT_END_OF_DATA");

  for (RCODE unknown : {0xC023u, 0xC058u, 0xC1FFu, 0x1234u, 0xABCDEF01u}) {
    std::string name = errorName(unknown);
    char hex[16];
    std::snprintf(hex, sizeof hex, "%X", unknown);
    EXPECT_NE(name.find(hex), std::string::npos) << name;
  }
}

TEST(FlmErrors, EveryCodeInTheRangesHasItsOwnName) {
  // Walking the ranges finds a table that is out of order (a bisection then
  // misses codes) or that repeats a name.
  std::vector<std::string> seen;
  size_t named = 0;
  for (RCODE base : {0xC000u, 0xC200u, 0xC300u})
    for (RCODE code = base; code < base + 0x100; ++code) {
      std::string name = errorName(code);
      if (name.find("Unknown") != std::string::npos) continue;
      ++named;
      for (const std::string& other : seen) ASSERT_NE(name, other) << std::hex << code;
      seen.push_back(name);
    }
  // The header defines 131 general codes, 44 file codes and 40 crypto codes.
  EXPECT_EQ(named, 131u + 44u + 40u);
}

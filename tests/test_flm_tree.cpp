// The in-memory side of the storage engine: block pools, field trees, typed
// values, path building and error names.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "flm/ErrorCodes.h"
#include "flm/Node.h"
#include "flm/Path.h"
#include "flm/Pool.h"
#include "flm/Value.h"
#include "support/FlmNodes.h"

using namespace flm;
using testflm::putText;
using testflm::read;
using testflm::ScopedPool;
using testflm::textOf;

namespace {

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
                                  size_t biggest, size_t only = 0) {
  std::vector<Piece> pieces;
  for (unsigned i = 0; i < count; ++i) {
    size_t size = only ? only : i % 17 == 5 ? biggest : 1 + (i * 37) % 200;
    void* p = poolAlloc(pool, size);
    EXPECT_NE(p, nullptr);
    if (!p) break;
    EXPECT_TRUE(aligned8(p)) << "piece " << i;
    fill(p, size, firstSeed + i);
    pieces.push_back({p, size, firstSeed + i});
  }
  return pieces;
}

bool intact(const std::vector<Piece>& pieces) {
  for (const Piece& p : pieces)
    if (!holds(p.at, p.size, p.seed)) return false;
  return true;
}

// Lays fields out in document order the way a decoded record is laid out, so
// that the graft and clip tests start from a shape that does not depend on
// grafting.
Node* build(ScopedPool& pool, std::initializer_list<std::pair<int, int>> levelsAndTags) {
  Node* first = nullptr;
  Node* tail = nullptr;
  for (auto [level, tag] : levelsAndTags) {
    Node* n = pool.make(static_cast<uint16_t>(tag));
    n->level = static_cast<uint8_t>(level);
    (tail ? tail->next : first) = n;
    n->prev = tail;
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
    text += (text.empty() ? "" : " ") + std::to_string(p->tag) + ":" + std::to_string(p->level);
  }
  return text;
}

// Finds a field by walking the links directly, not through nodeFind.
Node* byTag(Node* first, uint16_t tag) {
  for (Node* p = first; p; p = p->next)
    if (p->tag == tag) return p;
  return nullptr;
}

int tagOf(const Node* n) { return n ? n->tag : 0; }

// 1 { 10 { 11, 12 }, 20 { 21 }, 30, 40 { 41 { 42 } }, 50 }
Node* fixtureTree(ScopedPool& pool) {
  return build(pool, {{0, 1}, {1, 10}, {2, 11}, {2, 12}, {1, 20}, {2, 21}, {1, 30}, {1, 40},
                      {2, 41}, {3, 42}, {1, 50}});
}

constexpr char kFixtureShape[] = "1:0 10:1 11:2 12:2 20:1 21:2 30:1 40:1 41:2 42:3 50:1";

// A detached tree 900 > 901 > 902 to graft, so that grafting is seen to carry
// descendants along and to rebase their levels.
Node* graftling(ScopedPool& pool) { return build(pool, {{0, 900}, {1, 901}, {2, 902}}); }

// The four integer getters and the wide one, as one line.
std::string integers(const Node* n) {
  return read(getInt32, n) + " " + read(getUint32, n) + " " + read(getInt16, n) + " " +
         read(getUint16, n) + " " + read(getNumber, n);
}

}  // namespace

// ---------------------------------------------------------------------------
// Pools

TEST(FlmPool, AllocationsAreAlignedDistinctAndZeroedByCalloc) {
  ScopedPool pool(128);
  std::vector<Piece> pieces = allocatePieces(&pool, 300, 1, 500);
  ASSERT_EQ(pieces.size(), 300u);
  EXPECT_TRUE(intact(pieces)) << "allocations overlap";

  // Calloc must clear memory that earlier use left dirty.
  poolReset(&pool, nullptr);
  std::memset(poolAlloc(&pool, 64), 0xAB, 64);
  poolReset(&pool, nullptr);
  auto* clean = static_cast<unsigned char*>(poolCalloc(&pool, 64));
  ASSERT_NE(clean, nullptr);
  EXPECT_TRUE(aligned8(clean));
  EXPECT_EQ(std::vector<unsigned char>(clean, clean + 64), std::vector<unsigned char>(64, 0));

  // A reset-all keeps one empty block: the next piece starts it again.
  poolReset(&pool, nullptr);
  void* firstEver = poolAlloc(&pool, 16);
  allocatePieces(&pool, 50, 1, 2000);
  poolReset(&pool, nullptr);
  EXPECT_EQ(poolAlloc(&pool, 16), firstEver);

  // Even an empty request yields its own usable, aligned place.
  void* a = poolAlloc(&pool, 0);
  void* b = poolAlloc(&pool, 0);
  ASSERT_TRUE(a && b);
  EXPECT_NE(a, b);
  EXPECT_TRUE(aligned8(a) && aligned8(b));
}

// With 64-byte blocks, eight 8-byte pieces fill the first block exactly and
// the first mark then sits at its very end.
TEST(FlmPool, MarksResetInnermostFirstAndHandTheSpaceOutAgain) {
  for (uint16_t blockSize : {64, 256}) {
    SCOPED_TRACE(blockSize);
    ScopedPool pool(blockSize);
    std::vector<Piece> outer = allocatePieces(&pool, 8, 1, 0, 8);
    void* first = poolMark(&pool);
    ASSERT_NE(first, nullptr);
    // Enough after each mark to need many more blocks, oversized ones included.
    std::vector<Piece> middle = allocatePieces(&pool, 100, 200, 1000);
    void* second = poolMark(&pool);
    ASSERT_TRUE(intact(allocatePieces(&pool, 300, 1000, 3000)));
    poolReset(&pool, second);
    EXPECT_TRUE(intact(outer) && intact(middle));
    EXPECT_EQ(poolMark(&pool), second);
    poolReset(&pool, first);
    EXPECT_TRUE(intact(outer));
    // Past a full block the next piece starts a new one; otherwise it takes the mark's place.
    if (blockSize > 64) {
      EXPECT_EQ(poolAlloc(&pool, 8), first);
    }
    // Allocating again must not disturb the earlier data either.
    std::vector<Piece> again = allocatePieces(&pool, 300, 5000, 3000);
    EXPECT_TRUE(intact(outer) && intact(again));
  }
}

// ---------------------------------------------------------------------------
// Trees

TEST(FlmTree, NavigationFollowsLevels) {
  ScopedPool pool;
  Node* root = fixtureTree(pool);
  ASSERT_EQ(shape(root), kFixtureShape);
  // 0 for none. A sibling's subtree is skipped on the way to the parent, a
  // parent's sibling is no sibling and a cousin is none either.
  const struct {
    int tag, parent, child, next, previous, last;
  } rows[] = {{1, 0, 10, 0, 0, 50},   {10, 1, 11, 20, 0, 12}, {11, 10, 0, 12, 0, 11},
              {12, 10, 0, 0, 11, 12}, {20, 1, 21, 30, 10, 21}, {21, 20, 0, 0, 0, 21},
              {30, 1, 0, 40, 20, 30}, {40, 1, 41, 50, 30, 42}, {41, 40, 42, 0, 0, 42},
              {42, 41, 0, 0, 0, 42},  {50, 1, 0, 0, 40, 50}};
  for (const auto& r : rows) {
    SCOPED_TRACE(r.tag);
    Node* n = byTag(root, static_cast<uint16_t>(r.tag));
    EXPECT_EQ(tagOf(nodeParent(n)), r.parent);
    EXPECT_EQ(tagOf(nodeChild(n)), r.child);
    EXPECT_EQ(tagOf(nodeNextSibling(n)), r.next);
    EXPECT_EQ(tagOf(nodePrevSibling(n)), r.previous);
    EXPECT_EQ(tagOf(nodeLastInTree(n)), r.last);
  }
}

TEST(FlmTree, ChildAndSiblingGraftsAtEveryPosition) {
  const char* const rest = "30:1 40:1 41:2 42:3 50:1";
  const std::string g = "900:1 901:2 902:3 ";
  const std::string head = "1:0 10:1 11:2 12:2 ", twenty = "20:1 21:2 ";
  const std::string end =
      std::string("1:0 10:1 11:2 12:2 20:1 21:2 ") + rest + " 900:1 901:2 902:3";
  const struct {
    bool sibling;  // beside 20, which has a child of its own; else under the root
    int position;
    std::string expected;
  } rows[] = {
      {false, GED_FIRST, "1:0 " + g + "10:1 11:2 12:2 " + twenty + rest},
      {false, 2, head + twenty + g + rest},
      {false, 4, head + twenty + "30:1 40:1 41:2 42:3 " + g + "50:1"},
      {false, GED_LAST, end},
      {true, 0, head + twenty + g + rest},
      {true, 1, head + twenty + "30:1 " + g + "40:1 41:2 42:3 50:1"},
      {true, GED_LAST, end},
      {true, -1, head + g + twenty + rest},
      {true, -2, "1:0 " + g + "10:1 11:2 12:2 " + twenty + rest},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(testing::Message() << (r.sibling ? "sibling " : "child ") << r.position);
    ScopedPool pool;
    Node* root = fixtureTree(pool);
    Node* graft = graftling(pool);
    if (r.sibling)
      nodeSiblingGraft(byTag(root, 20), graft, r.position);
    else
      nodeChildGraft(root, graft, r.position);
    EXPECT_EQ(shape(root), r.expected);
    EXPECT_EQ(nodeParent(graft), root);
  }
}

TEST(FlmTree, ClipTakesTheSubtreeAndRebasesIt) {
  ScopedPool pool;
  Node* root = fixtureTree(pool);
  Node* clipped = nodeClip(byTag(root, 40));
  EXPECT_EQ(shape(clipped), "40:0 41:1 42:2");
  EXPECT_EQ(clipped->prev, nullptr);
  EXPECT_EQ(nodeParent(clipped), nullptr);
  EXPECT_EQ(shape(root), "1:0 10:1 11:2 12:2 20:1 21:2 30:1 50:1");
  EXPECT_EQ(nodeNextSibling(byTag(root, 30)), byTag(root, 50));

  // The last field of the tree, and a first child.
  EXPECT_EQ(shape(nodeClip(byTag(root, 50))), "50:0");
  EXPECT_EQ(shape(nodeClip(byTag(root, 11))), "11:0");
  EXPECT_EQ(shape(root), "1:0 10:1 12:2 20:1 21:2 30:1");

  // A clipped tree can be grafted back in as if it had been made fresh.
  nodeChildGraft(byTag(root, 12), clipped, GED_LAST);
  EXPECT_EQ(shape(root), "1:0 10:1 12:2 40:3 41:4 42:5 20:1 21:2 30:1");
}

TEST(FlmTree, FindInTreeAndForestAndNthOccurrence) {
  ScopedPool pool;
  // 1 { 7a { 7b }, 5 { 7c }, 7d }, then a second tree 2 { 7e }.
  Node* root = build(pool, {{0, 1}, {1, 7}, {2, 7}, {1, 5}, {2, 7}, {1, 7}, {0, 2}, {1, 7}});
  std::vector<Node*> sevens;
  for (Node* p = root; p; p = p->next)
    if (p->tag == 7) sevens.push_back(p);
  ASSERT_EQ(sevens.size(), 5u);
  Node* five = byTag(root, 5);
  Node* two = byTag(root, 2);
  const struct {
    TreeMode mode;
    Node* start;
    uint16_t tag;
    int nth;
    Node* found;
  } rows[] = {
      {GED_TREE, root, 7, 1, sevens[0]},   {GED_TREE, root, 7, 4, sevens[3]},
      {GED_TREE, root, 7, 5, nullptr},  // the next tree is outside
      {GED_FOREST, root, 7, 5, sevens[4]}, {GED_FOREST, root, 2, 1, two},
      {GED_TREE, root, 2, 1, nullptr},     {GED_TREE, root, 1, 1, root},  // the start counts
      // From 5 the tree is 5 > 7c; the forest adds 7d but never climbs to 2.
      {GED_TREE, five, 7, 1, sevens[2]},   {GED_TREE, five, 7, 2, nullptr},
      {GED_FOREST, five, 7, 2, sevens[3]}, {GED_FOREST, five, 7, 3, nullptr},
      {GED_FOREST, five, 2, 1, nullptr},   {GED_TREE, five, 99, 1, nullptr},
      // Tag 0 matches every field.
      {GED_TREE, root, 0, 6, sevens[3]},   {GED_TREE, root, 0, 7, nullptr},
      {GED_FOREST, root, 0, 8, sevens[4]},
  };
  for (const auto& r : rows)
    EXPECT_EQ(nodeFind(r.mode, r.start, r.tag, r.nth), r.found)
        << r.mode << " from " << r.start->tag << " tag " << r.tag << " #" << r.nth;
}

TEST(FlmTree, CopiesOfATreeOrForestAreIndependentOfTheOriginal) {
  PoolMemoryManager source;
  poolInit(&source, 256);
  RCODE rc = FERR_FAILURE;
  Node* root = nodeMakeWithSource(&source, 1, &source, 3, 32001, 77, &rc);
  ASSERT_EQ(rc, FERR_OK);
  Node* name = nodeMake(&source, 10, &rc);
  ASSERT_EQ(putText(&source, name, u"original"), FERR_OK);
  nodeChildGraft(root, name, GED_LAST);
  Node* count = nodeMake(&source, 11, &rc);
  ASSERT_EQ(putInt(&source, count, 42), FERR_OK);
  nodeChildGraft(name, count, GED_LAST);
  nodeChildGraft(root, nodeMake(&source, 12, &rc), GED_LAST);

  ScopedPool target(64);
  Node* copy = treeCopy(&target, GED_TREE, root, &rc);
  ASSERT_EQ(rc, FERR_OK);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(shape(copy), "1:0 10:1 11:2 12:1");
  const SourceNode* src = nodeSource(copy);
  ASSERT_NE(src, nullptr);
  EXPECT_EQ(src->database, &source);
  EXPECT_EQ(std::make_tuple(src->store, src->container, src->drn),
            std::make_tuple(3u, uint16_t{32001}, 77u));
  EXPECT_FALSE(nodeHasSource(nodeChild(copy)));

  // Changing the copy leaves the original alone, and the copy survives the
  // original's pool.
  ASSERT_EQ(putText(&target, nodeChild(copy), u"changed"), FERR_OK);
  EXPECT_EQ(textOf(name), u"original");
  poolFree(&source);
  EXPECT_EQ(textOf(nodeChild(copy)), u"changed");
  EXPECT_EQ(read(getNumber, byTag(copy, 11)), "42");
  EXPECT_EQ(nodeType(byTag(copy, 11)), FLM_NUMBER_TYPE);
  EXPECT_EQ(byTag(copy, 12)->length, 0u);

  // A forest takes the start's following siblings, never its parent's.
  ScopedPool pool;
  Node* fixture = fixtureTree(pool);
  Node* forest = treeCopy(&target, GED_FOREST, byTag(fixture, 30), &rc);
  ASSERT_EQ(rc, FERR_OK);
  EXPECT_EQ(shape(forest), "30:0 40:0 41:1 42:2 50:0");
  EXPECT_EQ(shape(fixture), kFixtureShape);
}

// ---------------------------------------------------------------------------
// Values

TEST(FlmValue, TextRoundTripsWithSupplementaryAndZeroUnits) {
  ScopedPool pool;
  Node* n = pool.make(1);
  for (const std::u16string& text :
       {std::u16string(u"plain"), std::u16string(u"Stra\u00dfe \u4e2d\u6587"),
        std::u16string(u"\U0001F600 grin \U00010348"), std::u16string(u"a\0b\0\0c", 6),
        std::u16string(), std::u16string(3000, u'x')}) {
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

// Every integer getter on numbers, digits and record pointers: the value, or
// the overflow, underflow or bad digit that stops it.
TEST(FlmValue, IntegersNarrowToEachWidthOrSayWhyNot) {
  const std::string over = "CONV_NUM_OVERFLOW", under = "CONV_NUM_UNDERFLOW";
  const std::string bad = "CONV_BAD_DIGIT";
  const int64_t i32min = std::numeric_limits<int32_t>::min();
  const struct {
    int64_t number;
    const char16_t* text;  // when set, put as text instead
    std::string expected;  // int32 uint32 int16 uint16 int64
  } rows[] = {
      {i32min, nullptr, "-2147483648 " + under + " " + under + " " + under + " -2147483648"},
      {-1, nullptr, "-1 " + under + " -1 " + under + " -1"},
      {0, nullptr, "0 0 0 0 0"},
      {32767, nullptr, "32767 32767 32767 32767 32767"},
      {-32768, nullptr, "-32768 " + under + " -32768 " + under + " -32768"},
      {40000, nullptr, "40000 40000 " + over + " 40000 40000"},
      {65535, nullptr, "65535 65535 " + over + " 65535 65535"},
      {2147483647, nullptr, "2147483647 2147483647 " + over + " " + over + " 2147483647"},
      {0x80000000, nullptr, over + " 2147483648 " + over + " " + over + " 2147483648"},
      {0xFFFFFFFF, nullptr, over + " 4294967295 " + over + " " + over + " 4294967295"},
      {int64_t{1} << 32, nullptr, over + " " + over + " " + over + " " + over + " 4294967296"},
      {i32min - 1, nullptr,
       under + " " + under + " " + under + " " + under + " -2147483649"},
      {0, u"4294967295", over + " 4294967295 " + over + " " + over + " 4294967295"},
      {0, u"70000", "70000 70000 " + over + " " + over + " 70000"},
  };
  ScopedPool pool;
  Node* n = pool.make(1);
  for (const auto& r : rows) {
    SCOPED_TRACE(r.expected);
    ASSERT_EQ(r.text ? putText(&pool, n, r.text) : putInt(&pool, n, r.number), FERR_OK);
    EXPECT_EQ(nodeType(n), r.text ? FLM_TEXT_TYPE : FLM_NUMBER_TYPE);
    EXPECT_EQ(integers(n), r.expected);
  }
  for (std::u16string_view digits : {u"12a", u" 12", u"-", u"\uff11"}) {
    ASSERT_EQ(putText(&pool, n, digits), FERR_OK);
    EXPECT_EQ(integers(n), bad + " " + bad + " " + bad + " " + bad + " " + bad)
        << std::string(digits.begin(), digits.end());
  }
  // A record pointer reads as a number and as its digits, as a number does.
  ASSERT_EQ(putRecPtr(&pool, n, 4000000000u), FERR_OK);
  EXPECT_EQ(read(getUint32, n) + " " + read(getInt32, n), "4000000000 " + over);
  EXPECT_EQ(textOf(n), u"4000000000");
  ASSERT_EQ(putInt(&pool, n, -987), FERR_OK);
  EXPECT_EQ(textOf(n), u"-987");
}

TEST(FlmValue, BinaryAndRealRoundTripAndBoundRootsKeepTheirSource) {
  ScopedPool pool;
  Node* n = pool.make(1);
  const unsigned char bytes[] = {0, 1, 2, 0xFF, 0, 0x80};
  unsigned char out[16] = {};
  uint32_t size = sizeof out;
  ASSERT_EQ(putBinary(&pool, n, bytes, sizeof bytes), FERR_OK);
  EXPECT_EQ(nodeType(n), FLM_BINARY_TYPE);
  EXPECT_EQ(getBinary(n, out, &size), FERR_OK);
  EXPECT_EQ(std::vector<unsigned char>(out, out + size),
            std::vector<unsigned char>(bytes, bytes + 6));
  size = 3;
  EXPECT_EQ(getBinary(n, out, &size), FERR_CONV_DEST_OVERFLOW);

  for (double v : {-1.5e300, 0.1, 3.141592653589793, -0.0}) {
    ASSERT_EQ(putReal(&pool, n, v), FERR_OK);
    EXPECT_EQ(nodeType(n), FLM_REAL_TYPE);
    double real = 0;
    EXPECT_EQ(getReal(n, &real), FERR_OK);
    EXPECT_EQ(std::memcmp(&real, &v, sizeof v), 0) << v;
  }
  // Putting a value on a bound root keeps its source.
  RCODE rc = FERR_FAILURE;
  Node* bound = nodeMakeWithSource(&pool, 5, nullptr, 1, 32001, 9, &rc);
  ASSERT_EQ(rc, FERR_OK);
  ASSERT_EQ(putInt(&pool, bound, 12), FERR_OK);
  ASSERT_EQ(putText(&pool, bound, u"x"), FERR_OK);
  EXPECT_EQ(nodeType(bound), FLM_TEXT_TYPE);
  ASSERT_NE(nodeSource(bound), nullptr);
  EXPECT_EQ(nodeSource(bound)->drn, 9u);
}

TEST(FlmValue, TextIntoATooSmallBufferIsDestOverflow) {
  ScopedPool pool;
  Node* n = pool.make(1);
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
  Node* n = pool.make(1);
  const std::string illegal = "CONV_ILLEGAL";
  ASSERT_EQ(putText(&pool, n, u"5"), FERR_OK);
  EXPECT_EQ(read(getReal, n) + read(getDate, n) + read(getRecPtr, n), illegal + illegal + illegal);
  ASSERT_EQ(putReal(&pool, n, 2.5), FERR_OK);
  uint16_t text[16];
  uint32_t bytes = sizeof text;
  EXPECT_EQ(getUnicode(n, text, &bytes), FERR_CONV_ILLEGAL);
  EXPECT_EQ(read(getInt32, n) + read(getTime, n), illegal + illegal);
  ASSERT_EQ(putBinary(&pool, n, "ab", 2), FERR_OK);
  EXPECT_EQ(read(getUint32, n) + read(getTimestamp, n), illegal + illegal);
  ASSERT_EQ(putInt(&pool, n, 5), FERR_OK);
  EXPECT_EQ(read(getRecPtr, n) + read(getReal, n), illegal + illegal);
}

// ---------------------------------------------------------------------------
// Paths

TEST(FlmPath, BuildJoinsThePartsAndRefusesWhatDoesNotFit) {
  const std::string directory(233, 'd');
  const std::string fullName(kPathSize, 'n'), longExtension(300, 'e');
  const struct {
    const char *drive, *directory, *name, *extension;
    RCODE rc;
    std::string path;
  } rows[] = {
      {nullptr, "/data/dbs", "sample", "db", FERR_OK, "/data/dbs/sample.db"},
      {nullptr, "/data/dbs/", "sample", nullptr, FERR_OK, "/data/dbs/sample"},
      {"C:", "dbs", "a", "x", FERR_OK, "C:dbs/a.x"},
      {nullptr, nullptr, "alone", "", FERR_OK, "alone"},
      {nullptr, "only/dir", nullptr, nullptr, FERR_OK, "only/dir"},
      // 233 + "/" + 2 + "." + 2 = 239 bytes and the terminator: exactly full.
      {nullptr, directory.c_str(), "nn", "ee", FERR_OK, directory + "/nn.ee"},
      {nullptr, directory.c_str(), "nnn", "ee", FERR_IO_PATH_TOO_LONG, ""},
      {nullptr, nullptr, fullName.c_str(), nullptr, FERR_IO_PATH_TOO_LONG, ""},
      {nullptr, "d", "n", longExtension.c_str(), FERR_IO_PATH_TOO_LONG, ""},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.path);
    char path[kPathSize];
    std::memset(path, 'z', sizeof path);
    EXPECT_EQ(pathBuild(path, r.drive, r.directory, r.name, r.extension), r.rc);
    EXPECT_EQ(std::string(path), r.path);
  }
  EXPECT_EQ(pathBuild(nullptr, nullptr, "d", "n", "e"), FERR_INVALID_PARM);
}

// ---------------------------------------------------------------------------
// Error names

TEST(FlmErrors, NamesOfKnownAndUnknownCodes) {
  // Some of each range, and the one outside them.
  const std::pair<RCODE, const char*> known[] = {
      {FERR_OK, "OK"}, {FERR_BOF_HIT, "BOF_HIT"}, {0xC209, "IO_PATH_NOT_FOUND"},
      {FERR_NICI_CONTEXT, "NICI_CONTEXT"}, {FERR_BT_END_OF_DATA, "BT_END_OF_DATA"}};
  for (const auto& [code, name] : known) EXPECT_STREQ(errorName(code), name);
  for (RCODE unknown : {0xC023u, 0xC058u, 0xC1FFu, 0x1234u, 0xABCDEF01u}) {
    char hex[16];
    std::snprintf(hex, sizeof hex, "%X", unknown);
    EXPECT_NE(std::string(errorName(unknown)).find(hex), std::string::npos) << hex;
  }
}

TEST(FlmErrors, EveryCodeInTheRangesHasItsOwnName) {
  // Walking the ranges finds a table that is out of order (a bisection then
  // misses codes) or that repeats a name.
  std::vector<std::string> seen;
  for (RCODE base : {0xC000u, 0xC200u, 0xC300u})
    for (RCODE code = base; code < base + 0x100; ++code) {
      std::string name = errorName(code);
      if (name.find("Unknown") != std::string::npos) continue;
      for (const std::string& other : seen) ASSERT_NE(name, other) << std::hex << code;
      seen.push_back(name);
    }
  // The header defines 131 general codes, 44 file codes and 40 crypto codes.
  EXPECT_EQ(seen.size(), 131u + 44u + 40u);
}

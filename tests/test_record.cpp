// The record layer: pools and contexts, records built, navigated, searched,
// counted and changed field by field, typed reads and writes, sources, copies,
// storage through a real database, cursor reads, and the tree walker.
#include <gtest/gtest.h>

#include <corvid5/FlmContext.h>
#include <corvid5/FlmCursor.h>
#include <corvid5/FlmPool.h>
#include <corvid5/FlmRecord.h>
#include <corvid5/Platform.h>

#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "flm/Database.h"
#include "flm/Session.h"
#include "flm/Value.h"
#include "support/FlmNodes.h"

namespace {

enum : unsigned short { kRoot = 1, kA = 10, kB = 11, kC = 12, kD = 13, kE = 14, kNum = 20, kLink = 21 };
constexpr unsigned short kPeople = 100, kOthers = 101, kLast = 32767;
constexpr unsigned short kNoTag = 0;  // a literal 0 would be as good a node pointer

std::vector<unsigned short> wide(std::u16string_view text) {
  std::vector<unsigned short> units(text.begin(), text.end());
  units.push_back(0);
  return units;
}

std::u16string fromBstr(unsigned short* bstr) {
  return bstr ? std::u16string(bstr, bstr + SysStringLen(bstr)) : u"<null>";
}

// A field's text read straight from the engine's node, so that the record's
// own getters can be checked against it; "#tag" for a field without text.
std::string rawText(const node* n) {
  if (!n) return "<none>";
  std::string out;
  if (flm::nodeType(n) == flm::FLM_TEXT_TYPE)
    for (uint32_t i = 0; i < n->length / 2; ++i)
      out += static_cast<char>(static_cast<const uint16_t*>(n->value)[i]);
  if (out.empty()) out.append("#").append(std::to_string(n->tag));
  return out;
}

node* rootOf(FlmRecord& r) {
  void* keep = r.GetCurrentField();
  r.GotoRoot();
  auto* root = static_cast<node*>(r.GetCurrentField());
  r.SetCurrentField(keep);
  return root;
}

// The tree in document order as level:tag=text, walked on the engine's nodes.
std::string shape(FlmRecord& r) {
  node* root = rootOf(r);
  if (!root) return "<empty>";
  std::string out;
  for (const node* n = root; n; n = flm::nodeWalkNext(flm::GED_TREE, root, n)) {
    out.append(out.empty() ? "" : " ").append(std::to_string(n->level)).append(":");
    out.append(std::to_string(n->tag));
    if (flm::nodeType(n) == flm::FLM_TEXT_TYPE && n->length) out.append("=").append(rawText(n));
  }
  return out;
}

// What a typed Get gives: the value, or the engine's name for why not.
template <class T>
std::string got(FlmRecord& r) {
  T value = 1;
  if (r.Get(&value)) return std::to_string(value);
  return value == 0 ? flm::errorName(r.GetFlmError()) : "<output not zeroed>";
}

std::string here(FlmRecord& r) { return rawText(static_cast<node*>(r.GetCurrentField())); }

void goTo(FlmRecord& r, const std::string& text) {
  node* root = rootOf(r);
  for (node* n = root; n; n = flm::nodeWalkNext(flm::GED_TREE, root, n))
    if (rawText(n) == text) return r.SetCurrentField(n);
  FAIL() << "no field holds " << text;
}

void addText(FlmRecord& r, unsigned short tag, eFindStart start, eGraftMode mode,
             const char* text, short position = kLast) {
  ASSERT_EQ(r.AddField(tag, position, start, mode), 1);
  ASSERT_EQ(r.Put(text), 1);
}

constexpr const char* kSampleShape =
    "0:1 1:10=a1 2:12=c1 2:12=c2 1:11=b1 1:10=a2 2:13=d1 3:12=c3 1:11=b2";

// root { A a1 { C c1, C c2 }, B b1, A a2 { D d1 { C c3 } }, B b2 }
class Sample : public ::testing::Test {
 protected:
  void SetUp() override {
    addText(rec, kA, fsRoot, gmChild, "a1");
    addText(rec, kC, fsCurrent, gmChild, "c1");
    addText(rec, kC, fsCurrent, gmSibling, "c2");
    addText(rec, kB, fsRoot, gmChild, "b1");
    addText(rec, kA, fsRoot, gmChild, "a2");
    addText(rec, kD, fsCurrent, gmChild, "d1");
    addText(rec, kC, fsCurrent, gmChild, "c3");
    addText(rec, kB, fsRoot, gmChild, "b2");
    ASSERT_EQ(shape(rec), kSampleShape);
    rec.GotoRoot();
  }
  FlmRecord rec{kRoot, 256};
};

// Where a record or context says it belongs: database, container, store and
// record number (0 for a context).
using Place = std::tuple<void*, unsigned short, uint32_t, uint32_t>;
Place placeOf(FlmRecord& r) { return {r.GetDatabase(), r.GetContainer(), r.GetStore(), r.GetID()}; }
Place sourceOf(FlmRecord& r) {
  void* database = &r;
  unsigned short container = 0;
  uint32_t store = 9, number = 9;
  r.GetSource(&database, &container, &store, &number);
  return {database, container, store, number};
}

class OpenRecord : public FlmRecord {
 public:
  using FlmRecord::CopyNode;
  using FlmRecord::FlmRecord;
  using FlmRecord::GetNameTable;
};

}  // namespace

TEST(RecordPool, MarksResetsAndSharedBlocks) {
  auto* pool = new FlmPool(256);
  void *first = nullptr, *mark = nullptr, *p = nullptr;
  ASSERT_EQ(pool->Allocate(24, first), 1);
  std::memcpy(first, "kept before the mark", 21);
  ASSERT_EQ(pool->SetMark(mark), 1);
  for (int i = 0; i < 50; ++i) ASSERT_EQ(pool->Allocate(200, p), 1);  // several blocks
  pool->ResetKeeping(mark);
  ASSERT_EQ(pool->Allocate(8, p), 1);
  EXPECT_EQ(p, mark) << "space after the mark is handed out again";

  // Copies share the blocks, which live until the last holder lets go.
  FlmPool copy(*pool);
  FlmPool assigned(64);
  ASSERT_EQ(assigned.Allocate(16, p), 1);
  assigned = *pool;
  delete pool;
  EXPECT_STREQ(static_cast<char*>(first), "kept before the mark");
  EXPECT_EQ(static_cast<PoolMemoryManager*>(assigned)->blockSize, 256);
  copy.ResetAll();
  EXPECT_STREQ(static_cast<char*>(first), "kept before the mark") << "still held by another";
}

TEST(RecordBuild, EmptyRecordHasNowhereToGo) {
  FlmRecord empty(kNoTag, 256);
  EXPECT_EQ(empty.GetCurrentField(), nullptr);
  EXPECT_EQ(empty.GetRootTag() + empty.GetTag() + empty.GetLength(), 0);
  EXPECT_EQ(empty.AddField(kA, kLast, fsRoot, gmChild), 0);
  EXPECT_EQ(empty.GotoChild() + empty.GotoParent() + empty.GotoNext() + empty.GotoPrevious(), 0);
  EXPECT_EQ(empty.GotoFirst() + empty.GotoLast(), 2) << "always 1";
  EXPECT_EQ(empty.GetFieldCount(kA, fsRoot, faSubtree), 0);
}

TEST_F(Sample, GotoMovesOrStaysPut) {
  using Move = int (FlmRecord::*)();
  struct Step {
    Move move;
    int result;
    const char* at;
  };
  const Step steps[] = {
      {&FlmRecord::GotoParent, 0, "#1"},   {&FlmRecord::GotoNext, 0, "#1"},
      {&FlmRecord::GotoChild, 1, "a1"},    {&FlmRecord::GotoChild, 1, "c1"},
      {&FlmRecord::GotoChild, 0, "c1"},    {&FlmRecord::GotoPrevious, 0, "c1"},
      {&FlmRecord::GotoNext, 1, "c2"},     {&FlmRecord::GotoLast, 1, "c2"},  // already last
      {&FlmRecord::GotoNext, 0, "c2"},     {&FlmRecord::GotoParent, 1, "a1"},
      {&FlmRecord::GotoFirst, 1, "a1"},    {&FlmRecord::GotoLast, 1, "b2"},
      {&FlmRecord::GotoPrevious, 1, "a2"}, {&FlmRecord::GotoFirst, 1, "a1"},
  };
  for (const Step& s : steps) {
    EXPECT_EQ((rec.*s.move)(), s.result) << "towards " << s.at;
    EXPECT_EQ(here(rec), s.at);
  }
  EXPECT_EQ(rec.GetTag(), kA);
  EXPECT_EQ(rec.GetLength(), 4) << "two UTF-16 units";
  EXPECT_EQ(rec.GetRootTag(), kRoot);
  rec.GotoRoot();
  EXPECT_EQ(here(rec), "#1");
}

TEST_F(Sample, FindFieldByStartAreaAndOccurrence) {
  struct Case {
    const char* from;
    unsigned short tag;
    short occurrence;
    eFindStart start;
    eFindArea area;
    const char* found;  // null: not found, current field unchanged
  };
  const Case cases[] = {
      {"#1", kC, 1, fsRoot, faSubtree, "c1"},        {"#1", kC, 3, fsRoot, faSubtree, "c3"},
      {"b2", kC, 2, fsRoot, faSubtree, "c2"},        {"#1", kC, 4, fsRoot, faSubtree, nullptr},
      {"a1", kA, 1, fsCurrent, faSubtree, "a1"},     {"a1", kD, 1, fsCurrent, faSubtree, nullptr},
      {"a1", kD, 1, fsCurrent, faForest, "d1"},      {"a2", kA, 1, fsCurrent, faForest, "a2"},
      {"a2", kA, 2, fsCurrent, faForest, nullptr},   {"a2", kB, 1, fsCurrent, faForest, "b2"},
      {"a1", kA, 1, fsCurrent, faNextSiblings, "a2"}, {"a1", kB, 2, fsCurrent, faNextSiblings, "b2"},
      {"a1", kB, 0, fsCurrent, faNextSiblings, "b1"}, {"a1", kB, -3, fsCurrent, faNextSiblings, "b1"},
      {"a1", kB, 3, fsCurrent, faNextSiblings, nullptr},
      {"b2", kA, 2, fsCurrent, faPrevSiblings, "a1"},
      {"c3", kC, 1, fsParent, faSubtree, "c3"},      {"#1", kB, 1, fsChild, faNextSiblings, "b1"},
      {"a1", kA, 1, fsNextSibling, faNextSiblings, "a2"}, {"b1", kC, 2, fsPrevSibling, faSubtree, "c2"},
      // Value 4 searches the subtree when finding.
      {"a1", kB, 1, fsCurrent, faAllSiblings, nullptr}, {"a1", kC, 2, fsCurrent, faAllSiblings, "c2"},
      {"#1", kRoot, 1, fsParent, faSubtree, nullptr}, {"b2", kB, 1, fsChild, faSubtree, nullptr},
      {"b2", kB, 1, static_cast<eFindStart>(6), faSubtree, nullptr},
      {"b2", kB, 1, fsRoot, static_cast<eFindArea>(-1), nullptr},
  };
  for (const Case& c : cases) {
    goTo(rec, c.from);
    std::string what = std::string(c.from) + " tag " + std::to_string(c.tag) + " #" +
                       std::to_string(c.occurrence) + " start " + std::to_string(c.start) +
                       " area " + std::to_string(c.area);
    EXPECT_EQ(rec.FindField(c.tag, c.occurrence, c.start, c.area), c.found ? 1 : 0) << what;
    EXPECT_EQ(here(rec), c.found ? c.found : c.from) << what;
  }
}

TEST_F(Sample, GetFieldCountByArea) {
  struct Case {
    const char* from;
    unsigned short tag;
    eFindStart start;
    eFindArea area;
    unsigned short count;
  };
  const Case cases[] = {
      {"#1", kC, fsRoot, faSubtree, 3},       {"#1", kRoot, fsRoot, faSubtree, 1},
      {"a1", kC, fsCurrent, faSubtree, 2},    {"a1", kC, fsCurrent, faForest, 3},
      {"a2", kA, fsCurrent, faForest, 1},     {"a1", kB, fsCurrent, faNextSiblings, 2},
      {"a1", kA, fsCurrent, faPrevSiblings, 0}, {"b2", kA, fsCurrent, faPrevSiblings, 2},
      // Value 4 counts the whole sibling row, the start included.
      {"a1", kB, fsCurrent, faAllSiblings, 2}, {"a1", kA, fsCurrent, faAllSiblings, 2},
      {"c2", kC, fsCurrent, faAllSiblings, 2}, {"#1", kA, fsChild, faAllSiblings, 2},
      {"#1", kA, fsParent, faSubtree, 0},      {"#1", kA, static_cast<eFindStart>(9), faSubtree, 0},
      {"#1", kA, fsRoot, static_cast<eFindArea>(7), 0},
  };
  for (const Case& c : cases) {
    goTo(rec, c.from);
    EXPECT_EQ(rec.GetFieldCount(c.tag, c.start, c.area), c.count)
        << c.from << " tag " << c.tag << " start " << c.start << " area " << c.area;
    EXPECT_EQ(here(rec), c.from) << "counting never moves";
  }
}

TEST(RecordChange, AddFieldAtPositions) {
  FlmRecord r(kRoot, 256);
  addText(r, kA, fsRoot, gmChild, "m");
  addText(r, kA, fsRoot, gmChild, "first", 0);
  addText(r, kA, fsRoot, gmChild, "second", 1);
  EXPECT_EQ(here(r), "second") << "the new field becomes current";
  goTo(r, "m");
  addText(r, kC, fsCurrent, gmChild, "under m");
  goTo(r, "m");
  addText(r, kB, fsCurrent, gmSibling, "after m", 0);  // after m's whole subtree
  goTo(r, "m");
  addText(r, kB, fsCurrent, gmSibling, "before m", -1);
  goTo(r, "m");
  addText(r, kB, fsCurrent, gmSibling, "end", kLast);
  goTo(r, "m");
  addText(r, kB, fsCurrent, gmSibling, "after next", 1);
  EXPECT_EQ(shape(r), "0:1 1:10=first 1:10=second 1:11=before m 1:10=m 2:12=under m "
                      "1:11=after m 1:11=after next 1:11=end");

  EXPECT_EQ(r.AddField(kE, kLast, fsChild, gmChild), 0) << "\"after next\" has no child";
  EXPECT_EQ(r.AddField(kE, kLast, fsCurrent, static_cast<eGraftMode>(2)), 0);
  EXPECT_EQ(here(r), "after next");
}

TEST(RecordChange, LevelsStopAt255) {
  FlmRecord r(kRoot, 256);
  for (int level = 1; level <= 255; ++level) ASSERT_EQ(r.AddField(kA, kLast, fsCurrent, gmChild), 1);
  EXPECT_EQ(r.AddField(kB, kLast, fsCurrent, gmChild), 0);
  EXPECT_EQ(r.GetFlmError().GetError(), flm::FERR_GED_MAXLVLNUM);
  EXPECT_EQ(r.AddField(kB, kLast, fsCurrent, gmSibling), 1) << "a sibling stays on 255";
  FlmRecord pair(kC, 256);
  ASSERT_EQ(pair.AddField(kD, kLast, fsRoot, gmChild), 1);
  ASSERT_EQ(r.GotoParent(), 1);  // level 254: the pair's child would need 256
  EXPECT_EQ(r.AddRecord(pair, kLast, fsCurrent, gmChild), 0);
  EXPECT_EQ(r.GetFieldCount(kC, fsRoot, faSubtree), 0);
}

TEST_F(Sample, AddRecordGraftsACopy) {
  FlmRecord other(kE, 256);
  addText(other, kD, fsRoot, gmChild, "from other");
  goTo(rec, "b1");
  ASSERT_EQ(rec.AddRecord(other, 0, fsCurrent, gmSibling), 1);
  EXPECT_EQ(rec.GetTag(), kE) << "the copy's root is current";
  goTo(other, "from other");
  ASSERT_EQ(other.Put("changed"), 1);
  EXPECT_EQ(shape(rec), "0:1 1:10=a1 2:12=c1 2:12=c2 1:11=b1 1:14 2:13=from other 1:10=a2 "
                        "2:13=d1 3:12=c3 1:11=b2");

  FlmRecord self(kRoot, 256);
  addText(self, kA, fsRoot, gmChild, "only");
  ASSERT_EQ(self.AddRecord(self, kLast, fsRoot, gmChild), 1);
  EXPECT_EQ(shape(self), "0:1 1:10=only 1:1 2:10=only");
  FlmRecord empty(kNoTag, 256);
  EXPECT_EQ(rec.AddRecord(empty, kLast, fsRoot, gmChild), 0);
}

TEST_F(Sample, DeleteFieldCutsSubtreesAndPicksTheNewCurrent) {
  ASSERT_EQ(rec.DeleteField(kC, 2, fsRoot, faSubtree), 1);
  EXPECT_EQ(here(rec), "c1") << "no next sibling: the previous one";
  ASSERT_EQ(rec.DeleteField(kNoTag, 0, fsRoot, faSubtree), 1);
  EXPECT_EQ(here(rec), "a1") << "an only child: the parent";
  ASSERT_EQ(rec.DeleteField(kA, 1, fsRoot, faSubtree), 1);
  EXPECT_EQ(here(rec), "b1") << "the next sibling";
  EXPECT_EQ(rec.DeleteField(kE, 1, fsRoot, faSubtree), 0);
  EXPECT_EQ(here(rec), "b1");
  ASSERT_EQ(rec.DeleteField(kD, 1, fsRoot, faSubtree), 1);
  EXPECT_EQ(shape(rec), "0:1 1:11=b1 1:10=a2 1:11=b2");

  // Deleting the root leaves no root and no current field.
  rec.GotoRoot();
  ASSERT_EQ(rec.DeleteField(kNoTag, 0, fsRoot, faSubtree), 1);
  EXPECT_EQ(rec.GetCurrentField(), nullptr);
  EXPECT_EQ(shape(rec), "<empty>");
  EXPECT_EQ(rec.DeleteField(kNoTag, 0, fsRoot, faSubtree), 0);
}

TEST_F(Sample, IncludeAndAssignField) {
  rec.IncludeField(kD, 1, 1, fsRoot, faSubtree);
  EXPECT_EQ(shape(rec), kSampleShape) << "already there";
  rec.IncludeField(kD, 0, 1, fsRoot, faSubtree);
  rec.IncludeField(kD, 0, 1, fsRoot, faSubtree);
  EXPECT_EQ(shape(rec), "0:1 1:10=a1 2:12=c1 2:12=c2 1:11=b1 1:10=a2 1:11=b2");
  goTo(rec, "a1");
  rec.IncludeField(kE, 1, 1, fsCurrent, faNextSiblings);  // added as a1's last child
  rec.IncludeField(kD, 1, 1, fsRoot, faSubtree);
  EXPECT_EQ(shape(rec), "0:1 1:10=a1 2:12=c1 2:12=c2 2:14 1:11=b1 1:10=a2 1:11=b2 1:13");

  rec.AssignField(kB, "changed", 2, kLast, fsRoot, faSubtree);
  rec.AssignField(kE, "new", 1, 0, fsRoot, faNextSiblings);  // from the root: missing, added first
  rec.AssignField(kB, "", 1, kLast, fsRoot, faSubtree);      // an empty text deletes b1
  EXPECT_EQ(shape(rec), "0:1 1:14=new 1:10=a1 2:12=c1 2:12=c2 2:14 1:10=a2 1:11=changed 1:13");
  rec.AssignField(kNum, static_cast<short>(-7), 1, kLast, fsRoot, faSubtree);
  short small = 0;
  EXPECT_EQ(rec.Get(&small), 1);
  EXPECT_EQ(small, -7);
  rec.AssignField(kNum, int32_t{-100000}, 1, kLast, fsRoot, faSubtree);
  int32_t big = 0;
  EXPECT_EQ(rec.Get(&big), 1);
  EXPECT_EQ(big, -100000);
  EXPECT_EQ(rec.GetFieldCount(kNum, fsRoot, faSubtree), 1);
  rec.GotoRoot();
  std::string before = shape(rec);
  rec.AssignField(kE, "nowhere", 1, kLast, fsParent, faSubtree);
  EXPECT_EQ(shape(rec), before) << "no start: given up silently";
}

TEST(RecordValues, WideAndNarrowText) {
  FlmRecord r(kRoot, 256);
  ASSERT_EQ(r.AddField(kA, kLast, fsRoot, gmChild), 1);
  auto text = wide(u"caf\u00e9 \u6f22");
  ASSERT_EQ(r.Put(text.data()), 1);
  unsigned short* bstr = SysAllocString(wide(u"old").data());
  ASSERT_EQ(r.Get(&bstr), 1) << "frees the old string (the leak checker watches)";
  EXPECT_EQ(fromBstr(bstr), u"caf\u00e9 \u6f22");
  unsigned short length = 0;
  ASSERT_EQ(r.StringLength(&length), 1);
  EXPECT_EQ(length, 6);

  // Nine UTF-8 bytes and the terminator need 10.
  char buffer[16];
  ASSERT_EQ(r.Get(buffer, 10), 1);
  EXPECT_STREQ(buffer, "caf\xC3\xA9 \xE6\xBC\xA2");
  // Too small: what fitted stays, unterminated; a character that does not
  // fit whole is left out.
  const struct {
    unsigned short size;
    std::string kept;
  } tooSmall[] = {{9, "caf\xC3\xA9 \xE6\xBC\xA2"}, {8, "caf\xC3\xA9 "}};
  for (const auto& t : tooSmall) {
    std::memset(buffer, 'x', sizeof buffer);
    EXPECT_EQ(r.Get(buffer, t.size), 0) << t.size;
    EXPECT_EQ(static_cast<uint32_t>(r.GetFlmError()), uint32_t{ERROR_INSUFFICIENT_BUFFER});
    EXPECT_EQ(std::string(buffer, t.size + 1u),
              t.kept + std::string(t.size + 1u - t.kept.size(), 'x'));
  }

  ASSERT_EQ(r.Put("narrow \xC3\xBC"), 1);
  ASSERT_EQ(r.Get(&bstr), 1);
  EXPECT_EQ(fromBstr(bstr), u"narrow \u00fc");
  ASSERT_EQ(r.Put(uint32_t{4711}), 0);
  ASSERT_EQ(r.Get(&bstr), 1);
  EXPECT_EQ(fromBstr(bstr), u"4711") << "a number reads as its digits";
  SysFreeString(bstr);
}

TEST(RecordValues, NumbersTheirLimitsAndTheRawPutCode) {
  FlmRecord r(kRoot, 256);
  ASSERT_EQ(r.AddField(kNum, kLast, fsRoot, gmChild), 1);
  // Numeric puts answer 0 for success.
  EXPECT_EQ(r.Put(uint32_t{0xFFFFFFFF}), 0);
  EXPECT_EQ(got<uint32_t>(r) + " " + got<int32_t>(r), "4294967295 CONV_NUM_OVERFLOW");
  EXPECT_EQ(r.Put(static_cast<short>(-32768)), 0);
  EXPECT_EQ(got<short>(r) + " " + got<unsigned short>(r), "-32768 CONV_NUM_UNDERFLOW");
  ASSERT_EQ(r.Put("12a"), 1);
  EXPECT_EQ(got<uint32_t>(r), "CONV_BAD_DIGIT");

  // The numeric puts leave the record's error alone, even when they fail.
  EXPECT_EQ(r.Put(uint32_t{5}), 0);
  r.SetCurrentField(nullptr);
  EXPECT_EQ(r.Put(uint32_t{5}), static_cast<int>(flm::FERR_CONV_NULL_DEST));
  EXPECT_EQ(r.Put(int32_t{5}), static_cast<int>(flm::FERR_CONV_NULL_DEST));
  EXPECT_EQ(r.GetFlmError().GetError(), flm::FERR_CONV_BAD_DIGIT);
  EXPECT_EQ(got<uint32_t>(r), "CONV_NULL_SRC");
  EXPECT_EQ(r.Put("text"), 0);
  EXPECT_EQ(r.GetFlmError().GetError(), flm::FERR_CONV_NULL_DEST);
}

TEST_F(Sample, EmptyPutDeletesTheField) {
  goTo(rec, "c1");
  ASSERT_EQ(rec.Put(""), 1);
  EXPECT_EQ(here(rec), "c2") << "the next sibling";
  ASSERT_EQ(rec.Put(static_cast<const char*>(nullptr)), 1);
  EXPECT_EQ(here(rec), "a1") << "the parent";
  goTo(rec, "b2");
  ASSERT_EQ(rec.Put(wide(u"").data()), 1);
  EXPECT_EQ(here(rec), "a2") << "the previous sibling";
  ASSERT_EQ(rec.Put(static_cast<unsigned short*>(nullptr)), 1);
  EXPECT_EQ(shape(rec), "0:1 1:10=a1 1:11=b1");
}

TEST(RecordValues, FindGetReadsAndPutsTheCurrentFieldBack) {
  FlmRecord r(kRoot, 256);
  addText(r, kA, fsRoot, gmChild, "alpha");
  for (int32_t n : {-5, 65535, 70000}) {
    ASSERT_EQ(r.AddField(kNum, kLast, fsRoot, gmChild), 1);
    ASSERT_EQ(r.Put(n), 0);
  }
  ASSERT_EQ(r.AddField(kLink, kLast, fsRoot, gmChild), 1);
  ASSERT_EQ(flm::putRecPtr(r.GetPool(), static_cast<node*>(r.GetCurrentField()), 4242), 0u);
  r.GotoRoot();
  void* root = r.GetCurrentField();

  unsigned short* bstr = r.FindGetBSTR(kA, 1, fsRoot, faSubtree);
  EXPECT_EQ(fromBstr(bstr), u"alpha");
  SysFreeString(bstr);
  EXPECT_EQ(r.FindGetBSTR(kE, 1, fsRoot, faSubtree), nullptr);
  char buffer[16];
  EXPECT_EQ(r.FindGetString(buffer, sizeof buffer, kA, 1, fsRoot, faSubtree), 5);
  EXPECT_STREQ(buffer, "alpha");
  EXPECT_EQ(r.FindGetString(buffer, 3, kA, 1, fsRoot, faSubtree), 0) << "does not fit";
  EXPECT_EQ(r.FindGetString(buffer, sizeof buffer, kE, 1, fsRoot, faSubtree), 0);

  EXPECT_EQ(r.FindGetWSWORD(kNum, 1, fsRoot, faSubtree), -5);
  EXPECT_EQ(r.FindGetWSWORD(kNum, 2, fsRoot, faSubtree), 0) << "too large for 16 signed bits";
  EXPECT_EQ(r.FindGetWUWORD(kNum, 1, fsRoot, faSubtree), 0);
  EXPECT_EQ(r.FindGetWUWORD(kNum, 2, fsRoot, faSubtree), 65535);
  // The 32-bit signed find-and-get reads 16 unsigned bits.
  EXPECT_EQ(r.FindGetWSDWORD(kNum, 1, fsRoot, faSubtree), 0) << "-5 never comes back";
  EXPECT_EQ(r.FindGetWSDWORD(kNum, 2, fsRoot, faSubtree), 65535);
  EXPECT_EQ(r.FindGetWSDWORD(kNum, 3, fsRoot, faSubtree), 0) << "70000 fits 32 bits, not 16";
  EXPECT_EQ(r.GetFlmError().GetError(), flm::FERR_CONV_NUM_OVERFLOW);

  EXPECT_EQ(r.FindGetRecPtr(kLink, 1, fsRoot, faSubtree), 4242u);
  EXPECT_EQ(r.FindGetRecPtr(kNum, 2, fsRoot, faSubtree), 0u) << "not a record pointer";
  EXPECT_EQ(r.GetFlmError().GetError(), flm::FERR_CONV_NUM_OVERFLOW) << "error not touched";
  EXPECT_EQ(r.GetCurrentField(), root) << "every find-and-get puts the current field back";
}

TEST_F(Sample, SetSourceBindsTheRoot) {
  EXPECT_EQ(sourceOf(rec), Place(nullptr, 32001, 0, 0));
  int database = 0;
  ASSERT_EQ(rec.Put("root text"), 1);
  void* oldRoot = rec.GetCurrentField();
  rec.SetSource(&database, 100, 3, 77);
  EXPECT_EQ(placeOf(rec), Place(&database, 100, 3, 77));
  EXPECT_EQ(rec.GetCurrentField(), rootOf(rec)) << "the bound root is current";
  EXPECT_EQ(here(rec), "root text");
  // The bound root takes the old one's place only through its own links: the
  // children still lead back to the old root.
  ASSERT_EQ(rec.GotoChild() + rec.GotoParent(), 2);
  EXPECT_EQ(rec.GetCurrentField(), oldRoot);

  goTo(rec, "b1");
  rec.SetSource(FlmContext(nullptr, 200, 4), 0);  // 0 keeps the root's own number
  EXPECT_EQ(placeOf(rec), Place(nullptr, 200, 4, 77));
  EXPECT_EQ(here(rec), "b1");
  FlmRecord empty(kNoTag, 256);
  empty.SetSource(&rec, 5, 5, 5);
  EXPECT_EQ(empty.GetFlmError().GetError(), flm::FERR_NULL_RECORD);
}

TEST_F(Sample, CopiesAreDeepAndIndependent) {
  int database = 0;
  rec.SetSource(&database, 100, 2, 31);
  FlmRecord copy(rec);
  EXPECT_EQ(shape(copy), kSampleShape);
  EXPECT_EQ(copy.GetID(), 31u) << "the source travels with the root";
  goTo(copy, "b1");
  ASSERT_EQ(copy.Put("copy's own"), 1);
  EXPECT_EQ(shape(rec), kSampleShape);

  FlmRecord assigned(kE, 256);
  assigned = rec;
  assigned = assigned;
  EXPECT_EQ(shape(assigned), kSampleShape);
  goTo(assigned, "a2");  // a subtree of the record itself becomes the record
  assigned = static_cast<node*>(assigned.GetCurrentField());
  EXPECT_EQ(shape(assigned), "0:10=a2 1:13=d1 2:12=c3");
  EXPECT_EQ(assigned.GetCurrentField(), rootOf(assigned));

  FlmRecord fromNode(rootOf(rec), 256);
  EXPECT_EQ(shape(fromNode), kSampleShape);
  OpenRecord reset(kRoot, 256);
  reset.CopyNode(nullptr);
  EXPECT_EQ(shape(reset), "<empty>");

  FlmRecord borrower(kE, 256);
  borrower.SetRoot(rootOf(rec));
  EXPECT_EQ(shape(borrower), kSampleShape);
  rec.Clear();
  EXPECT_EQ(shape(rec), "<empty>");
}

TEST(RecordErrors, ThrowErrorCarriesTheStoredCode) {
  FlmRecord r(kRoot, 256);
  uint32_t value = 0;
  ASSERT_EQ(r.Put("nan"), 1);
  ASSERT_EQ(r.Get(&value), 0);
  try {
    r.ThrowError();
    ADD_FAILURE() << "no throw";
  } catch (const FlmError& e) {
    EXPECT_EQ(e.GetError(), flm::FERR_CONV_BAD_DIGIT);
  }
  auto* doomed = new FlmRecord(kRoot, 256);
  doomed->SetCurrentField(nullptr);
  doomed->Get(&value);
  try {
    doomed->DeleteAndThrowError();  // the leak checker sees whether it was deleted
    ADD_FAILURE() << "no throw";
  } catch (const FlmError& e) {
    EXPECT_EQ(e.GetError(), flm::FERR_CONV_NULL_SRC);
  }
}

TEST_F(Sample, TreeWalkerStaysInsideItsSubtree) {
  FlmTreeWalker walker;
  EXPECT_EQ(walker.GoNext(), 0);
  auto walk = [&](const char* from) {
    goTo(rec, from);
    walker.Reset(static_cast<node*>(rec.GetCurrentField()));
    std::string seen = rawText(walker.GetNode());
    while (walker.GoNext()) seen.append(" ").append(rawText(walker.GetNode()));
    return seen;
  };
  EXPECT_EQ(walk("a1"), "a1 c1 c2") << "b1, the start's sibling, is never reached";
  EXPECT_EQ(rawText(walker.GetNode()), "c2") << "stays on the last field";
  EXPECT_EQ(walk("#1"), "#1 a1 c1 c2 b1 a2 d1 c3 b2");
  EXPECT_EQ(walk("d1"), "d1 c3") << "climbing out of c3 would reach b2";
  EXPECT_EQ(walk("b1"), "b1");
}

// ---------------------------------------------------------------------------
// Storage through a real database

namespace {

flm::Dictionary storeDictionary() {
  flm::Dictionary d;
  d.fields = {{kRoot, "entry", flm::FLM_TEXT_TYPE}, {kA, "word", flm::FLM_TEXT_TYPE},
              {kB, "gloss", flm::FLM_TEXT_TYPE}, {kNum, "count", flm::FLM_NUMBER_TYPE}};
  d.containers = {{kPeople, "people"}, {kOthers, "others"}};
  return d;
}

class RecordStore : public ::testing::Test {
 protected:
  static void fill(FlmRecord& r, const char* word, uint32_t count) {
    addText(r, kA, fsRoot, gmChild, word);
    ASSERT_EQ(r.AddField(kNum, kLast, fsRoot, gmChild), 1);
    ASSERT_EQ(r.Put(count), 0);
  }

  testflm::ScratchDatabase scratch{storeDictionary(), 256};
  flm::Database* db = scratch.db();
};

}  // namespace

TEST_F(RecordStore, AddRetrieveUpdateRemove) {
  FlmRecord r(kRoot, 256);
  fill(r, "apple", 3);
  ASSERT_EQ(r.Add(db, 0, kPeople, 0), 1);
  EXPECT_EQ(r.GetID(), 0u) << "the assigned number is not written back";
  ASSERT_EQ(r.Add(db, 0, kPeople, 40), 1);

  FlmRecord read(kNoTag, 256);
  ASSERT_EQ(read.Retrieve(db, 0, kPeople, 1), 1);
  EXPECT_EQ(shape(read), "0:1 1:10=apple 1:20");
  EXPECT_EQ(read.FindGetWUWORD(kNum, 1, fsRoot, faSubtree), 3);
  EXPECT_EQ(sourceOf(read), Place(db, kPeople, 0, 1));
  EXPECT_EQ(placeOf(read), Place(db, kPeople, 0, 1));

  read.AssignField(kA, "pear", 1, kLast, fsRoot, faSubtree);
  ASSERT_EQ(read.Update(db, 0, kPeople, 0), 1) << "0: the root's own number";
  FlmRecord again(kNoTag, 256);
  ASSERT_EQ(again.Retrieve(db, 0, kPeople, 1), 1);
  EXPECT_EQ(shape(again), "0:1 1:10=pear 1:20");
  ASSERT_EQ(again.Remove(db, 0, kPeople, 0), 1);
  EXPECT_EQ(again.Retrieve(db, 0, kPeople, 1), 0);
  EXPECT_EQ(again.GetFlmError().GetError(), flm::FERR_NOT_FOUND);
  EXPECT_EQ(shape(again), "<empty>");

  ASSERT_EQ(again.Retrieve(db, 0, kPeople, 40), 1);
  ASSERT_EQ(again.Add(db, 0, kOthers, 0), 1) << "0: the root's own number, 40";
  FlmRecord other(kNoTag, 256);
  EXPECT_EQ(other.Retrieve(db, 0, kOthers, 40), 1);
  EXPECT_EQ(again.Add(db, 0, kPeople, 0), 0) << "40 is taken there";
}

TEST_F(RecordStore, ContextFormsUseTheContextsPlace) {
  FlmContext place(db, kOthers, 5);
  FlmRecord r(kRoot, 256);
  fill(r, "stone", 1);
  ASSERT_EQ(r.Add(place, 7), 1);
  FlmRecord read(kNoTag, 256);
  EXPECT_EQ(read.Retrieve(db, 0, kOthers, 7), 0) << "store 0 holds no record 7";
  ASSERT_EQ(read.Retrieve(place, 7), 1);
  EXPECT_EQ(placeOf(read), Place(db, kOthers, 5, 7));
  read.AssignField(kB, "a gloss", 1, kLast, fsRoot, faSubtree);
  ASSERT_EQ(read.Update(place, 0), 1);
  ASSERT_EQ(read.Retrieve(place, 7), 1);
  EXPECT_EQ(shape(read), "0:1 1:10=stone 1:20 1:11=a gloss");
  ASSERT_EQ(read.Remove(place, 7), 1);
  EXPECT_EQ(read.Retrieve(place, 7), 0);
}

TEST_F(RecordStore, StaleAndNullHandlesAreRefused) {
  FlmRecord r(kRoot, 256);
  fill(r, "x", 1);
  void* stale = db;
  ASSERT_EQ(flm::Session::closeDatabase(&db), flm::FERR_OK);
  for (void* handle : {stale, static_cast<void*>(nullptr)}) {
    FlmRecord reader(kRoot, 256);
    EXPECT_EQ(reader.Retrieve(handle, 0, kPeople, 3), 0);
    EXPECT_EQ(reader.GetFlmError().GetError(), flm::FERR_BAD_HDL);
    EXPECT_EQ(r.Add(handle, 0, kPeople, 4) + r.Update(handle, 0, kPeople, 3) +
                  r.Remove(FlmContext(handle, kPeople, 0), 3),
              0);
    EXPECT_EQ(r.GetFlmError().GetError(), flm::FERR_BAD_HDL);
  }
}

TEST_F(RecordStore, NameTableComesFromTheDatabaseAndOutlivesIt) {
  OpenRecord fresh(kRoot, 256);
  EXPECT_EQ(fresh.GetNameTable(), nullptr) << "no database to ask";
  EXPECT_EQ(fresh.GetFlmError().GetError(), flm::FERR_BAD_HDL);
  fill(fresh, "y", 2);
  ASSERT_EQ(fresh.Add(db, 0, kPeople, 9), 1);
  ASSERT_EQ(fresh.Retrieve(db, 0, kPeople, 9), 1);
  FlmNameTable* names = fresh.GetNameTable();
  ASSERT_NE(names, nullptr);
  EXPECT_EQ(fresh.GetNameTable(), names) << "made once";
  ASSERT_EQ(flm::Session::closeDatabase(&db), flm::FERR_OK);
  std::string name;
  ASSERT_TRUE(names->getFromTagNum(kA, &name));
  EXPECT_EQ(name, "word");
}

// ---------------------------------------------------------------------------
// Cursor reads

TEST_F(RecordStore, CursorReadsBindToTheCursorsContext) {
  for (const char* word : {"one", "two", "three"}) {
    FlmRecord r(kRoot, 256);
    fill(r, word, 1);
    ASSERT_EQ(r.Add(db, 0, kPeople, 0), 1);
  }
  FlmCursor cursor(db, kPeople, 0);

  FlmRecord r(kRoot, 256);
  ASSERT_EQ(r.CursorFirst(cursor), 0u);
  EXPECT_EQ(shape(r), "0:1 1:10=one 1:20");
  EXPECT_EQ(placeOf(r), Place(db, kPeople, 0, 1)) << "the number the record was read under";
  EXPECT_EQ(r.GetCurrentField(), rootOf(r));
  ASSERT_EQ(r.CursorLast(cursor), 0u);
  EXPECT_EQ(shape(r), "0:1 1:10=three 1:20");
  EXPECT_EQ(r.CursorNext(cursor), uint32_t{flm::FERR_EOF_HIT});
  EXPECT_EQ(shape(r), "<empty>") << "cleared before reading";
  ASSERT_EQ(r.CursorPrev(cursor), 0u);
  EXPECT_EQ(r.GetID(), 2u) << "the failed move left the cursor on the last record";

  // Bound to the cursor's context, not to where the engine found the record:
  // a cursor joining another container still names its own place.
  FlmCursor joining(FlmContext(db, kOthers, 4));
  joining.AddContextToSet(joining.OpenContextSet(), db, 0, kPeople);
  ASSERT_EQ(r.CursorLast(joining), 0u);
  EXPECT_EQ(shape(r), "0:1 1:10=three 1:20");
  EXPECT_EQ(placeOf(r), Place(db, kOthers, 4, 3));
  cursor.Free();
  EXPECT_EQ(r.CursorFirst(cursor), uint32_t{flm::FERR_BAD_HDL}) << "no engine cursor";
  EXPECT_EQ(shape(r), "<empty>");
}

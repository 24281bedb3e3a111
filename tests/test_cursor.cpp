// FlmCursor over real stored records: construction and copies, context sets,
// criteria piece by piece and as criteria strings, index and mode settings,
// navigation and reads, writes, and the failures each operation reports.
#include <gtest/gtest.h>

#include <corvid5/FlmContext.h>
#include <corvid5/FlmCursor.h>
#include <corvid5/FlmRecord.h>

#include <string>
#include <vector>

#include "flm/Cursor.h"
#include "flm/Database.h"
#include "flm/ErrorCodes.h"
#include "flm/Session.h"
#include "support/FlmNodes.h"

namespace {

enum : unsigned short {
  kEntry = 1, kA = 10, kGloss = 11, kCount = 20, kMeaning = 30, kLiteral = 120, kRecId = 32171
};
constexpr unsigned short kWords = 100, kMeanings = 101, kByLiteral = 50, kByCountLiteral = 51;
constexpr unsigned short kEq = 21, kAnd = 18, kGe = 29;
constexpr unsigned short kNoTag = 0;
constexpr short kLast = 32767;

using Numbers = std::vector<uint32_t>;
const Numbers kAllWords = {1, 2, 3, 4, 5, 6};
const Numbers kByLiteralOrder = {4, 2, 3, 6, 5, 1};
const Numbers kByCountOrder = {5, 2, 4, 1, 3, 6};

// The engine's name of what was thrown, or "no throw".
template <class F>
std::string thrown(F f) {
  try {
    f();
  } catch (const FlmError& e) {
    return flm::errorName(e.GetError());
  }
  return "no throw";
}

std::string code(const FlmCursor& c) { return flm::errorName(c.GetFlmError().GetError()); }

Numbers walk(FlmCursor& c) {
  Numbers out;
  uint32_t n = 0;
  for (int ok = c.GoFirst(&n); ok && out.size() < 100; ok = c.GoNext(&n)) out.push_back(n);
  return out;
}

std::string text(FlmRecord& r, unsigned short tag) {
  char buffer[64] = "";
  return r.FindGetString(buffer, sizeof buffer, tag, 1, fsRoot, faSubtree) ? buffer : "<none>";
}

uint32_t engineMode(FlmCursor& c) { return static_cast<flm::Cursor*>(c.GetCursor())->mode(); }

// Words (container 100): literal, count, A, meaning; word 3 also has the field
// named "12" holding 7. Meanings (container 101): fruit, tree, number.
//   1 pear 3 x 2    2 apple 1 y 1    3 Banana 3 x 1
//   4 -5 2 z 3      5 café -7 x 1    6 big apple 4 w 2
flm::Dictionary wordsDictionary() {
  flm::Dictionary d;
  d.fields = {{kEntry, "ENTRY", flm::FLM_TEXT_TYPE},   {kA, "A", flm::FLM_TEXT_TYPE},
              {kGloss, "GLOSS", flm::FLM_TEXT_TYPE},   {kCount, "COUNT", flm::FLM_NUMBER_TYPE},
              {kMeaning, "MEANING", flm::FLM_NUMBER_TYPE}, {40, "12", flm::FLM_NUMBER_TYPE},
              {kLiteral, "LITERAL", flm::FLM_TEXT_TYPE}};
  d.containers = {{kWords, "words"}, {kMeanings, "meanings"}};
  d.indexes = {{kByLiteral, "ByLiteral", kWords, {{kLiteral}}},
               {kByCountLiteral, "ByCountLiteral", kWords, {{kCount}, {kLiteral}}}};
  return d;
}

class CursorStore : public ::testing::Test {
 protected:
  void SetUp() override {
    const struct {
      const char* literal;
      int32_t count;
      const char* a;
      int32_t meaning;
    } words[] = {{"pear", 3, "x", 2}, {"apple", 1, "y", 1},           {"Banana", 3, "x", 1},
                 {"-5", 2, "z", 3},   {"caf\xc3\xa9", -7, "x", 1}, {"big apple", 4, "w", 2}};
    for (const auto& w : words) {
      FlmRecord r(kEntry, 256);
      put(r, kLiteral, w.literal);
      put(r, kCount, w.count);
      put(r, kA, w.a);
      put(r, kMeaning, w.meaning);
      if (w.literal[0] == 'B') put(r, 40, 7);
      ASSERT_EQ(r.Add(db, 0, kWords, 0), 1);
    }
    for (const char* gloss : {"fruit", "tree", "number"}) {
      FlmRecord r(kEntry, 256);
      put(r, kGloss, gloss);
      ASSERT_EQ(r.Add(db, 0, kMeanings, 0), 1);
    }
  }
  static void put(FlmRecord& r, unsigned short tag, const char* value) {
    ASSERT_EQ(r.AddField(tag, kLast, fsRoot, gmChild), 1);
    ASSERT_EQ(r.Put(value), 1);
  }
  static void put(FlmRecord& r, unsigned short tag, int32_t value) {
    ASSERT_EQ(r.AddField(tag, kLast, fsRoot, gmChild), 1);
    ASSERT_EQ(r.Put(value), 0);
  }

  Numbers select(const std::string& criteria) {
    FlmCursor c(db, kWords, 0);
    EXPECT_EQ(c.SetCriteria(criteria.c_str()), 1) << criteria << ": " << code(c);
    return walk(c);
  }

  void* staleHandle() {
    flm::Database* other = nullptr;
    EXPECT_EQ(scratch.session()->createDatabase(scratch.dir().file("other.db").c_str(), {}, &other),
              flm::FERR_OK);
    void* handle = other;
    EXPECT_EQ(flm::Session::closeDatabase(&other), flm::FERR_OK);
    return handle;
  }

  testflm::ScratchDatabase scratch{wordsDictionary(), 256};
  flm::Database* db = scratch.db();
};

}  // namespace

// ---------------------------------------------------------------------------
// Construction, lifecycle and copies

TEST(CursorLifecycle, WithoutAnEngineCursor) {
  FlmCursor c;
  EXPECT_EQ(c.GetDatabase(), nullptr);
  EXPECT_EQ(c.GetContainer(), 32001);
  EXPECT_EQ(c.GetCursor(), nullptr);
  EXPECT_EQ(c.AddOp(kEq), 0);
  EXPECT_EQ(code(c), "BAD_HDL");
  uint32_t n = 77;
  EXPECT_EQ(c.GoFirst(&n), 0);
  EXPECT_EQ(n, 77u) << "written only on success";
  EXPECT_EQ(thrown([&] { c.GetRecCount(); }), "BAD_HDL");
  c.Free();  // nothing to free: the context stays
  EXPECT_EQ(c.GetContainer(), 32001);
}

TEST_F(CursorStore, ConstructionFreeAndInit) {
  FlmCursor byPlace(db, kWords, 3);
  EXPECT_NE(byPlace.GetCursor(), nullptr);
  EXPECT_EQ(byPlace.GetStore(), 3u);
  FlmCursor byContext(FlmContext(db, kWords, 0));
  EXPECT_EQ(byContext.GetRecCount(), 6u);
  void* stale = staleHandle();
  EXPECT_EQ(thrown([&] { FlmCursor c(stale, kWords, 0); }), "BAD_HDL");
  EXPECT_EQ(thrown([&] { FlmCursor c(FlmContext(stale, kWords, 0)); }), "BAD_HDL");
  EXPECT_EQ(thrown([&] { FlmCursor c(db, 555, 0); }), "BAD_CONTAINER");

  byContext.Free();
  EXPECT_EQ(byContext.GetCursor(), nullptr);
  EXPECT_EQ(byContext.GetDatabase(), nullptr) << "the context is cleared to zero";
  EXPECT_EQ(byContext.GetContainer(), 0);
  byContext.Init(db, kMeanings, 0);
  EXPECT_EQ(byContext.GetRecCount(), 3u);
  byContext.Init(db, kWords, 0);  // over a live cursor: the leak checker watches
  EXPECT_EQ(byContext.GetRecCount(), 6u);
  EXPECT_EQ(thrown([&] { byContext.Init(stale, kWords, 0); }), "BAD_HDL");
  EXPECT_EQ(byContext.GetCursor(), nullptr);
}

TEST_F(CursorStore, CopiesGetAFreshEngineCursorOnTheSamePlace) {
  FlmCursor original(db, kWords, 0);
  original.SetMasterIndex(kByCountLiteral, 2);
  original.CaseSensitive(0);
  ASSERT_EQ(original.SetCriteria("A == x"), 1);
  EXPECT_EQ(original.OpenContextSet(), 1);

  FlmCursor copy(original);
  EXPECT_NE(copy.GetCursor(), original.GetCursor());
  EXPECT_EQ(copy.GetMasterIndex(), kByCountLiteral);
  EXPECT_EQ(copy.OpenContextSet(), 1);
  EXPECT_EQ(engineMode(copy), 0u) << "flags are handed over at the next change";
  copy.Wildcards(1);
  EXPECT_EQ(engineMode(copy), flm::FLM_NOCASE | flm::FLM_WILD);
  EXPECT_EQ(walk(copy), kByCountOrder) << "no criteria; the master index with component 0";
  EXPECT_EQ(walk(original), (Numbers{3, 5, 1})) << "the original is untouched";

  FlmCursor target(db, kMeanings, 0);
  target = original;
  EXPECT_EQ(target.GetContainer(), kWords);
  EXPECT_EQ(target.GetRecCount(), 6u);
  FlmCursor none;
  target = none;
  EXPECT_EQ(target.GetCursor(), nullptr);
  EXPECT_EQ(FlmCursor(none).GetCursor(), nullptr);
}

// ---------------------------------------------------------------------------
// Context sets

TEST(CursorContextSets, NineOpeningsGiveOneToEightThenZero) {
  FlmCursor c;
  for (unsigned short expected = 1; expected <= 8; ++expected)
    EXPECT_EQ(c.OpenContextSet(), expected);
  EXPECT_EQ(c.OpenContextSet(), 0);
  for (unsigned short ignored : {0, 9, 65535}) c.CloseContextSet(ignored);
  EXPECT_EQ(c.OpenContextSet(), 0);
  c.CloseContextSet(6);
  c.CloseContextSet(3);
  EXPECT_EQ(c.OpenContextSet(), 3);
  EXPECT_EQ(c.OpenContextSet(), 6);
  c.ClearContextSets();
  EXPECT_EQ(c.OpenContextSet(), 1);
}

TEST_F(CursorStore, ContextSetsJoinPlaces) {
  // Without a database of its own, fields with flags 0 read set 1, and the
  // records come from the last set: the meaning of "big apple".
  FlmCursor c(FlmContext(nullptr, 32001, 0));
  unsigned short words = c.OpenContextSet(), meanings = c.OpenContextSet();
  c.AddContextToSet(words, db, 0, kWords);
  c.AddContextToSet(meanings, FlmContext(db, kMeanings, 0));
  EXPECT_EQ(c.AddField(kMeaning, words, 0) + c.AddOp(kEq) + c.AddField(kRecId, meanings, 0) +
                c.AddOp(kAnd) + c.AddField(kLiteral, 0, 0) + c.AddOp(kEq) +
                c.AddValue("big apple") + c.Validate(),
            8)
      << code(c);
  FlmRecord r(kNoTag, 256);
  ASSERT_EQ(c.ReadFirst(r), 1);
  EXPECT_EQ(text(r, kGloss), "tree");
  EXPECT_EQ(r.GetID(), 2u);
  EXPECT_EQ(r.GetDatabase(), db) << "no place of its own: the record keeps where it was found";
  EXPECT_EQ(r.GetContainer(), kMeanings);
  EXPECT_EQ(c.ReadNext(r), 0);

  EXPECT_EQ(thrown([&] { c.AddContextToSet(3, staleHandle(), 0, kWords); }), "BAD_HDL");
  EXPECT_EQ(thrown([&] { c.AddContextToSet(9, db, 0, kWords); }), "INVALID_PARM");
  EXPECT_EQ(c.SetCriteria("A == x"), 0) << "no database of its own to take names from";
  EXPECT_EQ(code(c), "BAD_HDL");
}

// ---------------------------------------------------------------------------
// Criteria piece by piece

TEST_F(CursorStore, CriteriaPieceByPiece) {
  auto matching = [&](unsigned short tag, auto value) {
    FlmCursor c(db, kWords, 0);
    EXPECT_EQ(c.AddField(tag, 0, 0) + c.AddOp(kEq) + c.AddValue(value) + c.Validate(), 4)
        << code(c);
    return walk(c);
  };
  EXPECT_EQ(matching(kCount, static_cast<unsigned short>(3)), (Numbers{1, 3}));
  EXPECT_EQ(matching(kCount, static_cast<short>(-7)), (Numbers{5}));
  EXPECT_EQ(matching(kCount, uint32_t{2}), (Numbers{4}));
  EXPECT_EQ(matching(kCount, int32_t{-7}), (Numbers{5}));
  EXPECT_EQ(matching(kLiteral, "caf\xc3\xa9"), (Numbers{5})) << "narrow text is UTF-8";
  const unsigned short wide[] = {'c', 'a', 'f', 0xE9, 0};
  EXPECT_EQ(matching(kLiteral, wide), (Numbers{5}));

  FlmRecord source(kNoTag, 256);
  ASSERT_EQ(source.Retrieve(db, 0, kWords, 6), 1);
  ASSERT_EQ(source.FindField(kLiteral, 1, fsRoot, faSubtree), 1);
  FlmCursor byField(db, kWords, 0);
  unsigned short fromRoot[] = {kEntry, kLiteral};
  ASSERT_EQ(byField.AddField(fromRoot, 2, 0) + byField.AddOp(kEq), 2);
  ASSERT_EQ(byField.AddValue(static_cast<node*>(source.GetCurrentField()), 0), 1);
  ASSERT_EQ(byField.Validate(), 1);
  EXPECT_EQ(walk(byField), (Numbers{6}));

  FlmCursor c(db, kWords, 0);
  EXPECT_EQ(c.AddValue(static_cast<const char*>(nullptr)), 0);
  EXPECT_EQ(code(c), "INVALID_PARM");
  EXPECT_EQ(c.AddField(kNoTag, 0, 0), 0);
  EXPECT_EQ(thrown([&] { c.ThrowError(); }), "BAD_FIELD_NUM");
  ASSERT_EQ(c.AddField(kA, 0, 0) + c.AddOp(kEq), 2);
  EXPECT_EQ(c.Validate(), 0);
  EXPECT_EQ(code(c), "CURSOR_SYNTAX");
  auto* doomed = new FlmCursor(db, kWords, 0);
  doomed->AddOp(99);
  EXPECT_EQ(thrown([&] { doomed->DeleteAndThrowError(); }), "CURSOR_SYNTAX");
}

// ---------------------------------------------------------------------------
// Criteria strings

TEST_F(CursorStore, CriteriaStrings) {
  const struct {
    const char* criteria;
    Numbers words;
  } cases[] = {
      {"A == 'x'", {1, 3, 5}},
      {"#120 CONTAINS an", {3}},
      {"LITERAL == -5", {4}},  // unquoted text
      {"COUNT == 3", {1, 3}},
      {"12 == 7", {3}},  // "12" names a field
      {"(A == 1)", kAllWords},  // nothing but the finish
      {"A == x ) COUNT == 3", {1, 3, 5}},
      {"A == x And count >= 3", {1, 3}},
      {"a == x or A .eq. z", {1, 3, 4, 5}},
      {"LITERAL != pear && COUNT * 2 == 6", {3}},
      {"LITERAL Match_Begin Ban", {3}},
      {"LITERAL == 'big apple' || LITERAL == \"pear\"", {1, 6}},
      {"not \\( A == x or A == z \\)", {2, 6}},
  };
  for (const auto& c : cases) EXPECT_EQ(select(c.criteria), c.words) << c.criteria;
}

TEST_F(CursorStore, CriteriaStringsEndingEarlyOrFailing) {
  // The field and the operator are added and the finish fails for want of a
  // value; adding it afterwards shows nothing else was added.
  for (const char* criteria : {"A == ''", "A == \\x41"}) {
    FlmCursor c(db, kWords, 0);
    EXPECT_EQ(c.SetCriteria(criteria), 0) << criteria;
    EXPECT_EQ(code(c), "CURSOR_SYNTAX");
    ASSERT_EQ(c.AddValue("z") + c.Validate(), 2);
    EXPECT_EQ(walk(c), (Numbers{4})) << criteria;
  }
  for (const char* criteria : {"# == x", "#65657 == x"}) {
    FlmCursor c(db, kWords, 0);
    EXPECT_EQ(c.SetCriteria(criteria), 0) << criteria;
    EXPECT_EQ(code(c), "BAD_FIELD_NUM") << "the first code is kept";
  }
  // Strings add to what is there; a null one clears it.
  FlmCursor c(db, kWords, 0);
  ASSERT_EQ(c.AddField(kA, 0, 0) + c.AddOp(kEq), 2);
  ASSERT_EQ(c.SetCriteria("'x'"), 1);
  ASSERT_EQ(c.SetCriteria("and COUNT >= 3"), 1);
  EXPECT_EQ(walk(c), (Numbers{1, 3}));
  EXPECT_EQ(c.SetCriteria(nullptr), 1);
  EXPECT_EQ(walk(c), kAllWords);
}

// The token buffer is the string's length plus one, kept in 16 bits.
TEST_F(CursorStore, LongCriteriaStrings) {
  auto padded = [](std::string criteria, size_t length) {
    criteria.resize(length, ' ');
    return criteria;
  };
  // The longest string that is read whole.
  EXPECT_EQ(select(padded("LITERAL == pear", 65534)), (Numbers{1}));
  // One byte more needs 65536, which wraps round to none: the criteria end
  // before their first token.
  EXPECT_EQ(select(padded("LITERAL == pear", 65535)), kAllWords);
  // Four bytes cut every token after three. Read whole, "#20*" is field 20 (its
  // leading digits) and the criteria say COUNT - 1 >= 2; cut, it is field 20
  // and a multiplication: COUNT * -1 >= 2.
  const std::string arithmetic = "#20* - 1 >= 2";
  EXPECT_EQ(select(arithmetic), (Numbers{1, 3, 6}));
  EXPECT_EQ(select(padded(arithmetic, 65539)), (Numbers{5}));
}

// ---------------------------------------------------------------------------
// Criteria nested or chained past any reasonable depth

namespace {

std::string repeated(const std::string& text, size_t times) {
  std::string out;
  out.reserve(text.size() * times);
  for (size_t i = 0; i < times; ++i) out += text;
  return out;
}

// Blanks after the criteria so that the token buffer, whose 16-bit size
// wraps round, holds the longest of their tokens.
std::string roomy(std::string criteria) {
  while ((criteria.size() + 1) % 65536 < 16) criteria += ' ';
  return criteria;
}

}  // namespace

// Each shape answers, or fails with the syntax code, without running the
// stack out as 35,000 nots and 100,000 brackets once did. Shapes that take
// several tokens a level nest less deep, for as many tokens.
TEST_F(CursorStore, DeepAndLongCriteriaStrings) {
  const std::string x = "A == x";
  const struct {
    std::string criteria;
    Numbers words;  // empty: malformed
  } cases[] = {
      {repeated("! ", 35000) + "\\( " + x + " \\)", {1, 3, 5}},
      {repeated("! ", 35001) + "\\( " + x + " \\)", {2, 4, 6}},
      {repeated("\\( ", 100000) + x + repeated(" \\)", 100000), {1, 3, 5}},
      {repeated("! \\( ", 17501) + x + repeated(" \\)", 17501), {2, 4, 6}},
      {x + repeated(" && " + x, 2000), {1, 3, 5}},
      {"A == w" + repeated(" || A == w", 2000) + " || A == y", {2, 6}},
      {repeated("A == w || \\( ", 7000) + "A == y" + repeated(" \\)", 7000), {2, 6}},
      {repeated("A == x && \\( ", 7000) + "COUNT == 3" + repeated(" \\)", 7000), {1, 3}},
      {"COUNT" + repeated(" + 1", 17500) + " == 17503", {1, 3}},
      {"COUNT == " + repeated("- ", 35000) + "3", {1, 3}},
      {repeated("! ", 35000), {}},
      {repeated("&& ", 15000), {}},
      {repeated("\\( ", 35000) + x, {}},
      {x + repeated(" \\)", 35000), {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.criteria.substr(0, 40));
    FlmCursor cursor(db, kWords, 0);
    if (c.words.empty()) {
      EXPECT_EQ(cursor.SetCriteria(roomy(c.criteria).c_str()), 0);
      EXPECT_EQ(code(cursor), "CURSOR_SYNTAX");
      EXPECT_EQ(thrown([&] { cursor.GetRecCount(); }), "CURSOR_SYNTAX");
    } else {
      EXPECT_EQ(cursor.SetCriteria(roomy(c.criteria).c_str()), 1) << code(cursor);
      EXPECT_EQ(walk(cursor), c.words);
    }
  }
}

TEST_F(CursorStore, DeepCriteriaPieceByPiece) {
  constexpr unsigned short kNot = 20, kOpen = 39, kClose = 40;
  auto ops = [](FlmCursor& c, unsigned short op, size_t times) {
    for (size_t i = 0; i < times; ++i)
      if (!c.AddOp(op)) return false;
    return true;
  };
  auto aIsX = [](FlmCursor& c) { return c.AddField(kA, 0, 0) && c.AddOp(kEq) && c.AddValue("x"); };

  FlmCursor nots(db, kWords, 0);
  ASSERT_TRUE(ops(nots, kNot, 35001) && ops(nots, kOpen, 1) && aIsX(nots) && ops(nots, kClose, 1));
  ASSERT_EQ(nots.Validate(), 1) << code(nots);
  EXPECT_EQ(walk(nots), (Numbers{2, 4, 6}));

  FlmCursor brackets(db, kWords, 0);
  ASSERT_TRUE(ops(brackets, kOpen, 35000) && aIsX(brackets) && ops(brackets, kClose, 35000));
  ASSERT_EQ(brackets.Validate(), 1) << code(brackets);
  EXPECT_EQ(walk(brackets), (Numbers{1, 3, 5}));

  FlmCursor chain(db, kWords, 0);
  ASSERT_TRUE(aIsX(chain));
  for (int i = 0; i < 2000; ++i) ASSERT_TRUE(chain.AddOp(kAnd) && aIsX(chain));
  ASSERT_EQ(chain.Validate(), 1) << code(chain);
  EXPECT_EQ(walk(chain), (Numbers{1, 3, 5}));

  for (unsigned short op : {kNot, kOpen, kAnd}) {
    FlmCursor alone(db, kWords, 0);
    ASSERT_TRUE(ops(alone, op, 35000));
    EXPECT_EQ(alone.Validate(), 0) << op;
    EXPECT_EQ(code(alone), "CURSOR_SYNTAX") << op;
  }
}

// ---------------------------------------------------------------------------
// Index and mode settings

TEST_F(CursorStore, IndexSettingsAndClearCriteria) {
  FlmCursor c(db, kWords, 0);
  c.SetIndex(0, kByLiteral);
  EXPECT_EQ(c.GetIndex(1), kByLiteral);
  EXPECT_EQ(c.GetMasterIndex(), 0);
  EXPECT_EQ(walk(c), kByLiteralOrder);
  c.SetIndex(0, 0);
  c.SetMasterIndex(kByCountLiteral, 2);
  EXPECT_EQ(c.GetMasterIndex(), kByCountLiteral);
  EXPECT_EQ(walk(c), kByLiteralOrder) << "the second key component";
  EXPECT_EQ(thrown([&] { c.SetMasterIndex(999, 0); }), "BAD_IX");

  // Clearing keeps the master index only, and with key component 0.
  c.SetIndex(0, kByLiteral);
  ASSERT_EQ(c.SetCriteria("A == x"), 1);
  c.ClearCriteria();
  EXPECT_EQ(c.GetMasterIndex(), kByCountLiteral);
  EXPECT_EQ(c.GetIndex(1), kByCountLiteral) << "the chosen index is gone";
  EXPECT_EQ(walk(c), kByCountOrder);

  c.Free();
  EXPECT_EQ(thrown([&] { c.SetIndex(0, kByLiteral); }), "BAD_HDL");
  EXPECT_EQ(c.GetIndex(1), 0);
  c.SetSource(db, kWords, 0);
  c.ClearCriteria();  // makes an engine cursor where there was none
  EXPECT_EQ(c.GetRecCount(), 6u);
}

TEST_F(CursorStore, WildcardAndCaseFlags) {
  FlmCursor c(db, kWords, 0);
  const struct {
    bool wild;
    int on;
    uint32_t mode;
  } steps[] = {{true, 1, 2}, {false, 0, 2 | 4}, {true, 0, 4 | 1}, {false, 1, 1 | 8},
               {true, 1, 2 | 8}, {true, 1, 2 | 8}};
  for (const auto& s : steps) {
    s.wild ? c.Wildcards(s.on) : c.CaseSensitive(s.on);
    EXPECT_EQ(engineMode(c), s.mode);
  }
  // The flags stay with the object across a clearing and come back whole.
  c.ClearCriteria();
  EXPECT_EQ(engineMode(c), 0u);
  c.CaseSensitive(0);
  EXPECT_EQ(engineMode(c), 2u | 4u);

  auto matching = [&](int wild, int caseSensitive) {
    FlmCursor m(db, kWords, 0);
    m.Wildcards(wild);
    m.CaseSensitive(caseSensitive);
    EXPECT_EQ(m.SetCriteria("LITERAL == 'b*'"), 1);
    return walk(m);
  };
  EXPECT_EQ(matching(1, 0), (Numbers{3, 6}));
  EXPECT_EQ(matching(1, 1), (Numbers{6}));
  EXPECT_EQ(matching(0, 0), Numbers{});
}

// ---------------------------------------------------------------------------
// Navigation and reads

TEST_F(CursorStore, Navigation) {
  FlmCursor c(db, kWords, 0);
  ASSERT_EQ(c.SetCriteria("COUNT >= 2"), 1);
  EXPECT_EQ(c.GetRecCount(), 4u);
  EXPECT_EQ(thrown([&] { c.CurrentRecordID(); }), "BOF_HIT");
  uint32_t n = 0;
  ASSERT_EQ(c.GoFirst(&n), 1);
  EXPECT_EQ(n, 1u);
  ASSERT_EQ(c.GoNext(nullptr), 1);
  EXPECT_EQ(c.CurrentRecordID(), 3u);
  ASSERT_EQ(c.GoLast(&n), 1);
  EXPECT_EQ(n, 6u);
  ASSERT_EQ(c.GoPrevious(&n), 1);
  EXPECT_EQ(n, 4u);
  EXPECT_EQ(c.GoNext(&n) + c.GoNext(&n), 1);
  EXPECT_EQ(code(c), "EOF_HIT");
  EXPECT_EQ(n, 6u) << "running off the end stays on the last";
  EXPECT_EQ(c.GetRecCount(), 4u);
  EXPECT_EQ(c.CurrentRecordID(), 6u) << "counting does not move";

  FlmCursor unmoved(db, kWords, 0);
  ASSERT_EQ(unmoved.SetCriteria("COUNT >= 2"), 1);
  ASSERT_EQ(unmoved.GoPrevious(&n), 1);
  EXPECT_EQ(n, 6u) << "an unmoved cursor's previous is its last";
  FlmCursor none(db, kWords, 0);
  ASSERT_EQ(none.SetCriteria("COUNT == 99"), 1);
  EXPECT_EQ(none.GoLast(&n), 0);
  EXPECT_EQ(code(none), "BOF_HIT");
}

TEST_F(CursorStore, ReadsBindTheRecordToTheCursorsPlace) {
  FlmCursor c(db, kWords, 0);
  ASSERT_EQ(c.SetCriteria("A == x"), 1);
  FlmRecord r(kEntry, 256);
  ASSERT_EQ(c.ReadNext(r), 1) << "onward from an unpositioned cursor: the first";
  EXPECT_EQ(text(r, kLiteral), "pear");
  EXPECT_EQ(r.GetID(), 1u);
  EXPECT_EQ(r.GetDatabase(), db);
  EXPECT_EQ(r.GetContainer(), kWords);
  ASSERT_EQ(c.ReadLast(r), 1);
  EXPECT_EQ(r.GetID(), 5u);
  ASSERT_EQ(c.ReadPrevious(r), 1);
  ASSERT_EQ(c.ReadCurrent(r), 1);
  EXPECT_EQ(text(r, kLiteral), "Banana");
  ASSERT_EQ(c.ReadFirst(r), 1);
  EXPECT_EQ(c.ReadPrevious(r), 0);
  EXPECT_EQ(code(c), "BOF_HIT");
  EXPECT_EQ(r.GetID(), 0u) << "emptied before the read";

  FlmRecord byNumber(kNoTag, 256);
  ASSERT_EQ(c.ReadRecord(4, byNumber), 1) << "whatever the criteria";
  EXPECT_EQ(text(byNumber, kLiteral), "-5");
  EXPECT_EQ(c.ReadRecord(99, byNumber), 0);
  EXPECT_EQ(code(c), "NOT_FOUND");
}

TEST_F(CursorStore, ReadMatchingReplacesTheCriteria) {
  FlmCursor c(db, kWords, 0);
  c.SetMasterIndex(kByLiteral, 0);
  ASSERT_EQ(c.SetCriteria("A == y"), 1);
  FlmRecord r(kNoTag, 256);
  ASSERT_EQ(c.ReadMatching(kCount, kEq, 3, r), 1);
  EXPECT_EQ(text(r, kLiteral), "Banana") << "first in the master index's order";
  EXPECT_EQ(c.GetRecCount(), 2u);
  ASSERT_EQ(c.ReadMatching(kCount, kGe, 4, r), 1);
  EXPECT_EQ(r.GetID(), 6u);
  EXPECT_EQ(c.ReadMatching(kCount, kEq, 99, r), 0);
  EXPECT_EQ(c.ReadMatching(kCount, 99, 1, r), 0);
  EXPECT_EQ(code(c), "CURSOR_SYNTAX");
}

// ---------------------------------------------------------------------------
// Writes

TEST_F(CursorStore, AddUpdateAndDeleteRecords) {
  FlmCursor c(db, kWords, 0);
  FlmRecord r(kEntry, 256);
  put(r, kLiteral, "plum");
  ASSERT_EQ(c.AddRecord(r, 0), 1) << code(c);
  EXPECT_EQ(r.GetID(), 7u) << "the number the engine chose";
  EXPECT_EQ(r.GetContainer(), kWords);
  ASSERT_EQ(c.AddRecord(r, 20, -1), 1);
  EXPECT_EQ(r.GetID(), 20u);
  EXPECT_EQ(c.AddRecord(r, 20, 0), 0) << "taken";

  // Updating writes into the cursor's place and rebinds the record there.
  FlmCursor store2(db, kWords, 2);
  ASSERT_EQ(store2.AddRecord(r, 1, 0), 1);
  FlmRecord changed(kNoTag, 256);
  ASSERT_EQ(changed.Retrieve(db, 0, kWords, 1), 1);
  changed.AssignField(kLiteral, "quince", 1, kLast, fsRoot, faSubtree);
  ASSERT_EQ(store2.UpdateRecord(changed, 0), 1) << code(store2);
  EXPECT_EQ(changed.GetStore(), 2u);
  FlmRecord read(kNoTag, 256);
  ASSERT_EQ(store2.ReadRecord(1, read), 1);
  EXPECT_EQ(text(read, kLiteral), "quince");
  ASSERT_EQ(c.ReadRecord(1, read), 1);
  EXPECT_EQ(text(read, kLiteral), "pear") << "store 0 untouched";

  ASSERT_EQ(c.DeleteRecord(2u, 0), 1);
  ASSERT_EQ(c.DeleteRecord(read, -1), 1);
  EXPECT_EQ(c.DeleteRecord(2u, 0), 0);
  EXPECT_EQ(code(c), "NOT_FOUND");
  EXPECT_EQ(walk(c), (Numbers{3, 4, 5, 6, 7, 20}));
}

TEST_F(CursorStore, WritesOfNothingNeverReachTheEngine) {
  FlmCursor c(db, kWords, 0);
  FlmRecord unbound(kEntry, 256), bound(kNoTag, 256);
  ASSERT_EQ(bound.Retrieve(db, 0, kWords, 2), 1);
  ASSERT_EQ(flm::Session::closeDatabase(&db), flm::FERR_OK);
  // With the database gone, any engine call would answer the bad handle.
  EXPECT_EQ(c.UpdateRecord(unbound, 0) + c.DeleteRecord(0u, 0) + c.DeleteRecord(unbound, -1), 0);
  EXPECT_EQ(code(c), "OK");
  EXPECT_EQ(c.UpdateRecord(bound, 0), 0);
  EXPECT_EQ(code(c), "BAD_HDL");
}

TEST_F(CursorStore, ClosedDatabaseIsABadHandle) {
  FlmCursor c(db, kWords, 0);
  ASSERT_EQ(c.SetCriteria("A == x"), 1);
  ASSERT_EQ(c.GoFirst(nullptr), 1);
  ASSERT_EQ(flm::Session::closeDatabase(&db), flm::FERR_OK);
  FlmRecord r(kEntry, 256);
  EXPECT_EQ(c.GoNext(nullptr) + c.ReadCurrent(r) + c.ReadRecord(1, r) + c.AddRecord(r, 0) +
                c.SetCriteria("A == x") + c.Validate(),
            0);
  EXPECT_EQ(code(c), "BAD_HDL");
  EXPECT_EQ(thrown([&] { c.GetRecCount(); }), "BAD_HDL");
  EXPECT_EQ(thrown([&] { c.ClearCriteria(); }), "BAD_HDL");
}

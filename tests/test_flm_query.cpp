// Query cursors: criteria of every operator and value type, text matching by
// the collation, joins across context sets, index order, and the
// check that narrowing through the key table never loses a record: every
// query of the shared fixture runs over an indexed container and over an
// unindexed copy of the same records, and the two must agree.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "engine/build/RecordDumpLoader.h"
#include "flm/Cursor.h"
#include "support/FlmNodes.h"

using namespace flm;
using testflm::ScopedPool;

namespace {

// A variant (root kEntry) has literals, counts and pointers to meanings (root
// kMeaning); a group holds literals below the root's own; links join meanings.
enum : uint16_t {
  kEntry = 60, kLiteral = 120, kConcept = 50, kCount = 130, kGroup = 70, kRatio = 131,
  kBlob = 132, kMeaning = 80, kGloss = 122, kLink = 90, kFrom = 110, kTo = 111, kRel = 3,
};
constexpr uint16_t kRecId = FLM_RECID_FIELD;
constexpr uint16_t kData = FLM_DATA_CONTAINER;
constexpr uint16_t kPlain = 100;  // the same records as kData, with no index
constexpr uint16_t kMeanings = 101;
constexpr uint16_t kLinks = 102;
enum : uint16_t { kByLiteral = 1, kByConcept = 2, kByLink = 3, kByAnyLiteral = 4, kByRatio = 5,
                  kByBlob = 6 };

Dictionary queryDictionary() {
  Dictionary d;
  d.fields = {{kEntry, "entry", FLM_TEXT_TYPE},     {kLiteral, "literal", FLM_TEXT_TYPE},
              {kConcept, "concept", FLM_CONTEXT_TYPE}, {kCount, "count", FLM_NUMBER_TYPE},
              {kGroup, "group", FLM_TEXT_TYPE},     {kRatio, "ratio", FLM_REAL_TYPE},
              {kMeaning, "meaning", FLM_TEXT_TYPE}, {kGloss, "gloss", FLM_TEXT_TYPE},
              {kLink, "link", FLM_TEXT_TYPE},       {kFrom, "from", FLM_CONTEXT_TYPE},
              {kTo, "to", FLM_CONTEXT_TYPE},        {kRel, "rel", FLM_NUMBER_TYPE},
              {kBlob, "blob", FLM_BINARY_TYPE}};
  d.containers = {{kPlain, "plain"}, {kMeanings, "meanings"}, {kLinks, "links"}};
  d.indexes = {{kByLiteral, "byLiteral", kData, {{kEntry, kLiteral}, {kCount}}},
               {kByConcept, "byConcept", kData, {{kConcept}}},
               {kByLink, "byLink", kLinks, {{kFrom}, {kRel}}},
               {kByAnyLiteral, "byAnyLiteral", kData, {{kLiteral}}},
               {kByRatio, "byRatio", kData, {{kRatio}}},
               {kByBlob, "byBlob", kData, {{kBlob}}}};
  return d;
}

// One piece of criteria as a test writes it.
struct Term {
  enum Kind { kField, kOp, kInt, kText } kind = kOp;
  FieldPath path;
  uint32_t flags = 0;
  uint16_t op = 0;
  int32_t number = 0;
  std::string text;
};
Term fld(FieldPath path, uint32_t set = 0) { return {Term::kField, std::move(path), set, 0, 0, {}}; }
Term op(uint16_t code) { return {Term::kOp, {}, 0, code, 0, {}}; }
Term num(int32_t n) { return {Term::kInt, {}, 0, 0, n, {}}; }
Term str(std::string s) { return {Term::kText, {}, 0, 0, 0, std::move(s)}; }

const Term kAnd = op(FLM_AND_OP), kOr = op(FLM_OR_OP), kNot = op(FLM_NOT_OP);
const Term kEq = op(FLM_EQ_OP), kNe = op(FLM_NE_OP), kLt = op(FLM_LT_OP), kLe = op(FLM_LE_OP);
const Term kGt = op(FLM_GT_OP), kGe = op(FLM_GE_OP), kMatch = op(FLM_MATCH_OP);
const Term kBegins = op(FLM_MATCH_BEGIN_OP), kContains = op(FLM_CONTAINS_OP);
const Term kOpen = op(FLM_LPAREN_OP), kClose = op(FLM_RPAREN_OP);
const Term kPlus = op(FLM_PLUS_OP), kMinus = op(FLM_MINUS_OP), kTimes = op(FLM_MULT_OP);
const Term cnt = fld({kCount}), rid = fld({kRecId}), ratio = fld({kRatio});
const Term lit = fld({kEntry, kLiteral});

using Terms = std::vector<Term>;
using Drns = std::vector<uint32_t>;

Terms cat(std::initializer_list<Terms> parts) {
  Terms out;
  for (const Terms& p : parts) out.insert(out.end(), p.begin(), p.end());
  return out;
}

Terms times(const Terms& part, size_t n) {
  Terms out;
  out.reserve(part.size() * n);
  for (size_t i = 0; i < n; ++i) out.insert(out.end(), part.begin(), part.end());
  return out;
}

// The criteria as one line, for the trace of a failing row.
std::string show(const Terms& terms) {
  std::string out;
  for (const Term& t : terms) {
    if (t.kind == Term::kField) {
      out += "#";
      for (uint16_t tag : t.path) out += std::to_string(tag) + ".";
    } else if (t.kind == Term::kOp) {
      out += "op" + std::to_string(t.op);
    } else {
      out += t.kind == Term::kInt ? std::to_string(t.number) : "'" + t.text + "'";
    }
    out += " ";
  }
  return out;
}

RCODE addTerms(Cursor* c, const Terms& terms) {
  for (const Term& t : terms) {
    RCODE rc = FERR_OK;
    switch (t.kind) {
      case Term::kField: rc = c->addField(t.path.data(), t.path.size(), t.flags); break;
      case Term::kOp: rc = c->addOp(t.op); break;
      case Term::kInt: rc = c->addValue(FLM_INT32_VAL, &t.number, 0); break;
      case Term::kText: rc = c->addValue(FLM_STRING_VAL, t.text.c_str(), t.text.size()); break;
    }
    if (rc) return rc;
  }
  return FERR_OK;
}

// Every record the cursor returns, in its order; an unmoved cursor's next is
// its first. The count the cursor gives must be as many.
Drns drain(Cursor* c) {
  Drns out;
  uint32_t drn = 0;
  RCODE rc;
  while ((rc = c->moveNext(&drn)) == FERR_OK) out.push_back(drn);
  EXPECT_EQ(rc, FERR_EOF_HIT);
  uint32_t count = 0;
  EXPECT_EQ(c->recordCount(&count), FERR_OK);
  EXPECT_EQ(count, out.size());
  return out;
}

// A database with the query dictionary; subclasses name the test groups.
class QueryFixture : public ::testing::Test {
 protected:
  QueryFixture() : scratch_(queryDictionary(), 16 * 1024), db_(scratch_.db()) {}

  Node* root(uint16_t tag, std::string_view text = "") {
    Node* n = pool_.make(tag);
    if (!text.empty()) {
      EXPECT_EQ(putUtf8(&pool_, n, text.data(), text.size()), FERR_OK);
    }
    return n;
  }
  uint32_t add(uint16_t container, const Node* r) {
    uint32_t drn = 0;
    EXPECT_EQ(db_->add(0, container, &drn, r), FERR_OK);
    return drn;
  }
  // Into the indexed container and its unindexed copy, under one number.
  uint32_t addBoth(const Node* r) {
    uint32_t drn = add(kData, r);
    EXPECT_EQ(add(kPlain, r), drn);
    return drn;
  }
  // Records written as a record dump, into both containers.
  void loadBoth(const std::string& records) {
    for (uint16_t container : {kData, kPlain}) {
      std::string error;
      ASSERT_EQ(build::loadRecordDump(db_, "STORE 0 CONTAINER " + std::to_string(container) +
                                               "\n" + records,
                                      "records", &error),
                FERR_OK)
          << error;
    }
  }

  Cursor* open(uint16_t container, const Terms& terms, uint32_t mode = FLM_CASE) {
    Cursor* c = nullptr;
    EXPECT_EQ(Cursor::init(db_, 0, container, &c), FERR_OK);
    EXPECT_EQ(c->setMode(mode), FERR_OK);
    EXPECT_EQ(addTerms(c, terms), FERR_OK);
    return c;
  }
  // The records of `container` that meet `terms`, in the cursor's order.
  Drns select(uint16_t container, const Terms& terms, uint32_t mode = FLM_CASE) {
    Cursor* c = open(container, terms, mode);
    EXPECT_EQ(c->validate(), FERR_OK);
    Drns out = drain(c);
    Cursor::free(&c);
    return out;
  }
  // The same query narrowed through the indexes and not; they must agree.
  Drns both(const Terms& terms, uint32_t mode = FLM_CASE) {
    Drns indexed = select(kData, terms, mode);
    EXPECT_EQ(indexed, select(kPlain, terms, mode)) << "narrowing changed the result";
    return indexed;
  }
  struct Case {
    Terms terms;
    Drns expected;
  };
  void expectAll(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
      SCOPED_TRACE(show(c.terms));
      EXPECT_EQ(both(c.terms), c.expected);
    }
  }

  // The error validating `terms` gives; a cursor that does not validate does
  // not move either.
  RCODE validateError(const Terms& terms) {
    Cursor* c = nullptr;
    EXPECT_EQ(Cursor::init(db_, 0, kData, &c), FERR_OK);
    RCODE rc = addTerms(c, terms);
    if (!rc) rc = c->validate();
    uint32_t drn = 0;
    if (rc) {
      EXPECT_EQ(c->moveFirst(&drn), rc);
    }
    Cursor::free(&c);
    return rc;
  }

  ScopedPool pool_{4096};
  testflm::ScratchDatabase scratch_;
  Database* db_;
};

// ---------------------------------------------------------------------------
// Operators, value types, precedence and the meaning of a missing field.

class FlmQueryOperators : public QueryFixture {
 protected:
  void SetUp() override {
    // Record 2 has the count twice, record 3 none at all.
    loadBoth(R"(0 entry one
1 literal apple
1 count 5
0 entry two
1 literal banana
1 count 5
1 count 12
0 entry three
1 literal cherry
0 entry four
1 count -3
0 entry five
1 count 0
1 ratio 2.5
0 entry six
1 count 4000000000
0 entry seven
1 count 65535
)");
  }
};

TEST_F(FlmQueryOperators, ComparisonsArithmeticAndTheRecordNumber) {
  expectAll({
      {{cnt, kEq, num(5)}, {1, 2}},
      {{cnt, kEq, num(12)}, {2}},  // the second occurrence alone
      // Record 2 also holds 12, which differs from 5; record 3 has no count and
      // meets neither the comparison nor its negation.
      {{cnt, kNe, num(5)}, {2, 4, 5, 6, 7}},
      {{cnt, kLt, num(5)}, {4, 5}},
      {{cnt, kLe, num(5)}, {1, 2, 4, 5}},
      {{cnt, kGt, num(5)}, {2, 6, 7}},
      {{cnt, kGe, num(5)}, {1, 2, 6, 7}},
      // Each comparison may be met by a different occurrence.
      {{cnt, kGt, num(10), kAnd, cnt, kLt, num(6), kAnd, cnt, kGt, num(0)}, {2}},
      // Not of an unknown is unknown: record 3 stays out.
      {{kNot, kOpen, cnt, kEq, num(5), kClose}, {4, 5, 6, 7}},
      // A field alone is true where the record has it.
      {{ratio}, {5}},
      {{kNot, ratio}, {1, 2, 3, 4, 6, 7}},
      {{ratio, kGt, num(2)}, {5}},
      {{ratio, kEq, num(2)}, {}},
      {{cnt, op(FLM_BITAND_OP), num(8), kEq, num(8)}, {2, 4, 7}},
      {{cnt, op(FLM_BITOR_OP), num(1), kEq, num(13)}, {2}},
      {{cnt, op(FLM_BITXOR_OP), num(1), kEq, num(4)}, {1, 2}},
      {{cnt, kTimes, num(2), kEq, num(24)}, {2}},
      {{cnt, op(FLM_DIV_OP), num(2), kEq, num(2)}, {1, 2}},
      {{cnt, op(FLM_MOD_OP), num(5), kEq, num(2)}, {2}},
      {{cnt, kPlus, num(1), kEq, num(1)}, {5}},
      {{cnt, kMinus, num(1), kEq, num(-4)}, {4}},
      {{kMinus, cnt, kEq, num(3)}, {4}},
      // Division by zero has no value, so nothing meets it.
      {{cnt, op(FLM_DIV_OP), num(0), kEq, num(0)}, {}},
      {{cnt, op(FLM_MOD_OP), num(0), kEq, num(0)}, {}},
      // The record number, on either side, as text, and in arithmetic.
      {{num(3), kEq, rid}, {3}},
      {{rid, kEq, num(0)}, {}},
      {{rid, kGt, num(4)}, {5, 6, 7}},
      {{rid, kEq, str("4")}, {4}},
      {{rid, kEq, cnt, kPlus, num(7)}, {4}},
      {{rid, kPlus, num(3), kEq, cnt}, {2}},
  });
}

// Arithmetic takes every combination of its sides' values; a record with
// twenty counts makes 400 of count * count, which is fine, and 160,000 of
// count * count * count * count, which the query refuses as too much memory
// rather than grow without bound.
TEST_F(FlmQueryOperators, ArithmeticOverManyOccurrencesIsBounded) {
  std::string many = "0 entry many\n";
  for (int n = 1; n <= 20; ++n) many += "1 count " + std::to_string(n) + "\n";
  loadBoth(many);
  const Drns mine = both({cnt, kEq, num(20)});
  ASSERT_EQ(mine.size(), 1u);
  EXPECT_EQ(both({cnt, kTimes, cnt, kEq, num(380)}), mine);  // 19 * 20
  EXPECT_EQ(both({cnt, kTimes, cnt, kEq, num(401)}), Drns{});  // a prime past 20
  Terms huge = {cnt, kTimes, cnt, kTimes, cnt, kTimes, cnt, kEq, num(1)};
  Cursor* c = open(kData, huge);
  uint32_t drn = 0;
  EXPECT_EQ(c->moveFirst(&drn), FERR_MEM);
  uint32_t count = 0;
  EXPECT_EQ(c->recordCount(&count), FERR_MEM);
  Cursor::free(&c);
}

TEST_F(FlmQueryOperators, PrecedenceAndParentheses) {
  Terms a = {cnt, kEq, num(0)};
  Terms b = {cnt, kEq, num(5)};
  Terms c = {fld({kLiteral}), kEq, str("banana")};
  expectAll({
      // 1 + 2 * 3 == 7 holds for every record; (1 + 2) * 3 == 7 for none.
      {{num(1), kPlus, num(2), kTimes, num(3), kEq, num(7)}, {1, 2, 3, 4, 5, 6, 7}},
      {{kOpen, num(1), kPlus, num(2), kClose, kTimes, num(3), kEq, num(7)}, {}},
      {{cnt, kPlus, num(2), kTimes, num(3), kEq, num(11)}, {1, 2}},
      // Unary minus binds before multiplication, which binds before comparison.
      {{kMinus, cnt, kTimes, num(2), kEq, num(6)}, {4}},
      // And binds before or: a || (b && c), not (a || b) && c.
      {cat({a, {kOr}, b, {kAnd}, c}), {2, 5}},
      {cat({{kOpen}, a, {kOr}, b, {kClose}, {kAnd}, c}), {2}},
      // Not binds tightest.
      {cat({{kNot, kOpen}, b, {kClose, kAnd, cnt, kLt, num(1)}}), {4, 5}},
      {cat({{kNot, kOpen}, a, {kOr}, b, {kClose}}), {4, 6, 7}},
      {{kNot, kNot, ratio}, {5}},
  });
}

// Nesting as deep as this once ran the call stack out. Shapes that take
// several pieces a level nest less deep, for as many pieces.
constexpr int32_t kDeep = 35000;

// The first pieces of long criteria, for the trace of a failing row.
std::string head(const Terms& terms) {
  return show(Terms(terms.begin(), terms.begin() + std::min<size_t>(terms.size(), 12)));
}

// Nesting and chaining far deeper than anyone writes them: nots, brackets,
// and operators nesting to the left, to the right and inside themselves.
TEST_F(FlmQueryOperators, CriteriaOfAnyDepth) {
  const Terms five = {cnt, kEq, num(5)};
  const Case deep[] = {
      {cat({times({kNot}, kDeep), {ratio}}), {5}},
      {cat({times({kNot}, kDeep + 1), {ratio}}), {1, 2, 3, 4, 6, 7}},
      {cat({times({kOpen}, kDeep), five, times({kClose}, kDeep)}), {1, 2}},
      {cat({times({kNot, kOpen}, kDeep / 2 + 1), five, times({kClose}, kDeep / 2 + 1)}),
       {4, 5, 6, 7}},
      {cat({five, times(cat({{kAnd}, five}), 2000)}), {1, 2}},
      {cat({times({cnt, kGt, num(0), kAnd, kOpen}, kDeep / 5), {cnt, kLt, num(6)},
            times({kClose}, kDeep / 5)}),
       {1, 2}},
      // Arithmetic to the left, to the right, and minus of minus.
      {cat({{cnt}, times({kPlus, num(1)}, kDeep / 2), {kEq, num(5 + kDeep / 2)}}), {1, 2}},
      {cat({{cnt}, times({kPlus, kOpen, num(1)}, kDeep / 3), {kPlus, num(1)},
            times({kClose}, kDeep / 3), {kEq, num(6 + kDeep / 3)}}),
       {1, 2}},
      {cat({times({kMinus}, kDeep + 1), {cnt, kEq, num(3)}}), {4}},
  };
  for (const Case& c : deep) EXPECT_EQ(select(kData, c.terms), c.expected) << head(c.terms);
  // Unions within unions narrow through the key table as one union, and find
  // what the unindexed copy finds.
  const Case unions[] = {
      {cat({{cnt, kEq, num(0)}, times(cat({{kOr}, five}), 2000)}), {1, 2, 5}},
      {cat({times({rid, kEq, num(2), kOr, kOpen}, kDeep / 5), {cnt, kEq, num(0)},
            times({kClose}, kDeep / 5)}),
       {2, 5}},
      {cat({times({kOpen}, kDeep / 5), {rid, kEq, num(7)},
            times({kClose, kOr, rid, kEq, num(3)}, kDeep / 5)}),
       {3, 7}},
  };
  for (const Case& c : unions) EXPECT_EQ(both(c.terms), c.expected) << head(c.terms);
}

TEST_F(FlmQueryOperators, PathsFromTheRootAndTagsAnywhere) {
  Node* r = root(kEntry, "nested");
  pool_.utf8(pool_.utf8(r, kGroup, "g"), kLiteral, "deep");
  uint32_t nested = addBoth(r);
  r = root(kMeaning, "other root");
  pool_.utf8(r, kLiteral, "deep");
  uint32_t other = addBoth(r);
  expectAll({
      {{fld({kLiteral}), kEq, str("deep")}, {nested, other}},
      {{lit, kEq, str("deep")}, {}},
      {{fld({kEntry, kGroup, kLiteral}), kEq, str("deep")}, {nested}},
      {{fld({kMeaning, kLiteral}), kEq, str("deep")}, {other}},
      {{lit, kEq, str("apple")}, {1}},
      {{fld({kEntry}), kEq, str("nested")}, {nested}},
  });
}

// ---------------------------------------------------------------------------
// Text: case, wildcards, prefixes, parts and the collation's order.

class FlmQueryText : public QueryFixture {
 protected:
  void SetUp() override {
    for (const char* w : {"apple", "Apple", "APPLE", "apricot", "ap*e", "banana", "Banana",
                          "cherry", "Straße", "STRASSE", "strasse", "cote", "côte", "coté",
                          "côté", "École", "école", ""}) {
      Node* r = root(kEntry);
      pool_.utf8(r, kLiteral, w);
      word_[addBoth(r)] = w;
    }
    addBoth(root(kEntry));  // no literal at all
  }

  using Words = std::set<std::string>;
  Words words(const Terms& terms, uint32_t mode) {
    Words out;
    for (uint32_t drn : both(terms, mode)) {
      EXPECT_TRUE(word_.count(drn)) << drn;
      out.insert(word_[drn]);
    }
    return out;
  }
  Words literal(const Term& comparison, const std::string& value, uint32_t mode) {
    return words({lit, comparison, str(value)}, mode);
  }

  std::map<uint32_t, std::string> word_;
};

TEST_F(FlmQueryText, CaseCollationWildcardsPrefixesAndParts) {
  const struct {
    Term comparison;
    std::string value;
    uint32_t mode;
    Words expected;
  } cases[] = {
      {kEq, "apple", FLM_CASE, {"apple"}},
      {kEq, "apple", 0, {"apple"}},  // without a mode, case counts
      {kEq, "apple", FLM_NOCASE, {"apple", "Apple", "APPLE"}},
      {kEq, "STRASSE", FLM_NOCASE, {"Straße", "STRASSE", "strasse"}},
      {kEq, "straße", FLM_NOCASE, {"Straße", "STRASSE", "strasse"}},
      {kEq, "ÉCOLE", FLM_NOCASE, {"École", "école"}},
      {kEq, "COTE", FLM_NOCASE, {"cote"}},  // accents are never case
      {kEq, "", FLM_CASE, {""}},
      // Collation order, not code units: "apple" < "Banana" though 'a' > 'B'.
      {kLt, "Banana", FLM_CASE, {"", "ap*e", "apple", "Apple", "APPLE", "apricot", "banana"}},
      {kLt, "Banana", FLM_NOCASE, {"", "ap*e", "apple", "Apple", "APPLE", "apricot"}},
      {kLe, "apple", FLM_NOCASE, {"", "ap*e", "apple", "Apple", "APPLE"}},
      {kGt, "école", FLM_NOCASE, {"Straße", "STRASSE", "strasse"}},
      {kGt, "école", FLM_CASE, {"École", "Straße", "STRASSE", "strasse"}},
      {kLt, "", FLM_CASE, {}},
      // A star is a wildcard in == only in wild mode; match always takes it so.
      {kEq, "ap*e", FLM_CASE, {"ap*e"}},
      {kEq, "ap*e", FLM_CASE | FLM_WILD, {"ap*e", "apple"}},
      {kEq, "AP*E", FLM_NOCASE | FLM_WILD, {"ap*e", "apple", "Apple", "APPLE"}},
      {kMatch, "ap*e", FLM_CASE, {"ap*e", "apple"}},
      {kMatch, "*AN*", FLM_CASE, {}},
      {kMatch, "*AN*", FLM_NOCASE, {"banana", "Banana"}},
      {kMatch, "c*t*", FLM_CASE, {"cote", "côte", "coté", "côté"}},
      {kBegins, "ap", FLM_CASE, {"ap*e", "apple", "apricot"}},
      {kBegins, "AP", FLM_NOCASE, {"ap*e", "apple", "Apple", "APPLE", "apricot"}},
      {kBegins, "STRAS", FLM_NOCASE, {"Straße", "STRASSE", "strasse"}},
      {kBegins, "cô", FLM_CASE, {"côte", "côté"}},
      {kContains, "an", FLM_CASE, {"banana", "Banana"}},
      {kContains, "AN", FLM_NOCASE, {"banana", "Banana"}},
      {kContains, "asse", FLM_CASE, {"strasse"}},
      {kContains, "asse", FLM_NOCASE, {"Straße", "STRASSE", "strasse"}},
      {kContains, "té", FLM_CASE, {"coté", "côté"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE("op" + std::to_string(c.comparison.op) + " '" + c.value + "' mode " +
                 std::to_string(c.mode));
    EXPECT_EQ(literal(c.comparison, c.value, c.mode), c.expected);
  }
  EXPECT_EQ(literal(kNe, "apple", FLM_NOCASE).count("Apple"), 0u);
  EXPECT_EQ(literal(kNe, "apple", FLM_CASE).size(), word_.size() - 1);
  EXPECT_EQ(literal(kMatch, "*", FLM_CASE).size(), word_.size());
  EXPECT_EQ(literal(kBegins, "", FLM_CASE).size(), word_.size());
  // Accents order after the bare letters, the earliest accent weighing most.
  EXPECT_EQ(words({lit, kGt, str("cote"), kAnd, lit, kLt, str("côté")}, FLM_CASE),
            (Words{"coté", "côte"}));
  EXPECT_EQ(literal(kLt, "coté", FLM_CASE).count("côte"), 0u);
}

TEST_F(FlmQueryText, AStarInTheDataIsNotLostToNarrowing) {
  Node* r = root(kEntry);
  pool_.utf8(r, kLiteral, "a*");
  word_[addBoth(r)] = "a*";
  // A literal before the field is the text and the field's text the pattern,
  // so "a*" meets it; whichever way that is taken, the index may not change it.
  EXPECT_TRUE(words({str("apple"), kEq, lit}, FLM_CASE | FLM_WILD).count("apple"));
  EXPECT_EQ(words({str("apple"), kEq, lit}, FLM_CASE), (Words{"apple"}));
  EXPECT_EQ(literal(kEq, "a*", FLM_CASE), (Words{"a*"}));
  EXPECT_EQ(literal(kEq, "a*", FLM_NOCASE | FLM_WILD),
            (Words{"a*", "ap*e", "apple", "Apple", "APPLE", "apricot"}));
}

// ---------------------------------------------------------------------------
// Narrowing: generated records, queried through the indexes and without.

class FlmQueryNarrowing : public QueryFixture {
 protected:
  void SetUp() override {
    const std::vector<std::string> words = {
        "apple", "Apple", "APPLE", "apricot", "banana", "Banana", "cherry", "Straße",
        "STRASSE", "strasse", "cote",  "côte",    "coté",   "côté",   "école",  "École",
        "ap*e",  "",       "zebra", "Zebra",   "mañana", "manana", "naïve",  "naive"};
    std::mt19937 rng(20240611);
    auto pick = [&](size_t n) { return static_cast<int>(rng() % n); };
    ASSERT_EQ(db_->transBegin(), FERR_OK);
    for (int i = 0; i < 400; ++i) {
      Node* r = root(pick(10) == 0 ? kMeaning : kEntry);
      for (int k = pick(3); k > 0; --k) pool_.utf8(r, kLiteral, words[pick(words.size())]);
      if (pick(4) == 0) pool_.utf8(pool_.utf8(r, kGroup, "group"), kLiteral, words[pick(24)]);
      for (int k = pick(3); k > 0; --k)
        pool_.number(r, kCount, pick(20) == 0 ? int64_t{3000000000} + pick(3) : pick(41) - 20);
      if (pick(3)) pool_.pointer(r, kConcept, static_cast<uint32_t>(pick(30) + 1));
      addBoth(r);
    }
    ASSERT_EQ(db_->transCommit(), FERR_OK);
  }
};

TEST_F(FlmQueryNarrowing, IndexedAndUnindexedAgreeOnEveryCriteria) {
  const Term any = fld({kLiteral});
  std::vector<Terms> battery = {
      {lit, kEq, str("STRASSE")},
      {str("cherry"), kEq, lit},
      {any, kEq, str("Zebra")},
      {fld({kEntry, kGroup, kLiteral}), kEq, str("banana")},
      {lit, kNe, str("apple")},
      {lit, kLt, str("Banana")},
      {str("cote"), kLt, lit},
      {any, kGe, str("apple"), kAnd, any, kLt, str("cherry")},
      {lit, kBegins, str("STRA")},
      {lit, kContains, str("an")},
      {lit, kMatch, str("Z*A")},
      {lit, kEq, str("c*")},
      {cnt, kEq, str("-7")},
      {cnt, kNe, num(5)},
      {cnt, kGe, num(0), kAnd, cnt, kLt, num(3)},
      {cnt, kGt, str("2999999999")},
      {cnt, kPlus, num(1), kEq, num(6)},
      {fld({kEntry, kConcept}), kEq, num(7)},
      {rid, kEq, num(17), kOr, rid, kEq, num(300), kOr, rid, kEq, num(401)},
      {lit, kBegins, str("ba"), kOr, fld({kConcept}), kEq, num(2), kOr, rid, kEq, num(5)},
      {lit, kEq, str("apple"), kOr, cnt, kPlus, num(0), kEq, num(3)},
      {kNot, kOpen, lit, kEq, str("apple"), kClose, kAnd, cnt, kEq, num(5)},
      {lit, kEq, str("Apple"), kAnd, cnt, kGt, num(0), kAnd, fld({kConcept}), kLt, num(20)},
  };
  size_t nonEmpty = 0, total = 0;
  for (uint32_t mode : {FLM_CASE, FLM_NOCASE, FLM_CASE | FLM_WILD, FLM_NOCASE | FLM_WILD}) {
    for (const Terms& terms : battery) {
      SCOPED_TRACE(show(terms) + "mode " + std::to_string(mode));
      nonEmpty += !both(terms, mode).empty();
      ++total;
    }
  }
  // The comparison means little unless most criteria select something.
  EXPECT_GT(nonEmpty, total * 3 / 4);
}

// ---------------------------------------------------------------------------
// Unions of record numbers, as a list of chosen records is asked for.

class FlmQueryUnion : public QueryFixture {};

TEST_F(FlmQueryUnion, ThreeHundredRecordNumbersValidatedTermByTerm) {
  ASSERT_EQ(db_->transBegin(), FERR_OK);
  for (int i = 1; i <= 500; ++i) addBoth(root(kEntry));
  ASSERT_EQ(db_->transCommit(), FERR_OK);
  for (uint16_t container : {kData, kPlain}) {
    Cursor* c = nullptr;
    ASSERT_EQ(Cursor::init(db_, 0, container, &c), FERR_OK);
    std::set<uint32_t> wanted;
    for (uint32_t k = 0; k < 300; ++k) {
      uint32_t drn = (k * 7919) % 600 + 1;  // some past the last record
      ASSERT_EQ(addTerms(c, k ? Terms{kOr, rid, kEq} : Terms{rid, kEq}), FERR_OK);
      ASSERT_EQ(c->addValue(FLM_UINT32_VAL, &drn, 0), FERR_OK);
      ASSERT_EQ(c->validate(), FERR_OK) << k;
      if (drn <= 500) wanted.insert(drn);
    }
    EXPECT_EQ(drain(c), Drns(wanted.begin(), wanted.end()));
    Cursor::free(&c);
  }
}

// ---------------------------------------------------------------------------
// Joins over two context sets.

class FlmQueryJoin : public QueryFixture {
 protected:
  void SetUp() override {
    ASSERT_EQ(db_->transBegin(), FERR_OK);
    for (int m = 1; m <= 12; ++m) {
      Node* r = root(kMeaning, "meaning " + std::to_string(m));
      pool_.utf8(r, kGloss, "gloss " + std::to_string(m));
      ASSERT_EQ(add(kMeanings, r), static_cast<uint32_t>(m));
    }
    // Variants: literal -> meaning. "bank" twice for meaning 1; meanings 11
    // and 12 have no variant.
    variants_ = {{"bank", 1},   {"bank", 1},   {"bank", 2},    {"Bank", 3},  {"river", 2},
                 {"shore", 2},  {"money", 1},  {"money", 4},   {"fund", 4},  {"fund", 5},
                 {"tree", 6},   {"wood", 6},   {"wood", 7},    {"forest", 7}, {"timber", 8},
                 {"log", 8},    {"log", 9},    {"record", 9},  {"record", 10}};
    for (const Variant& v : variants_) variant(v.word, {v.meaning});
    ASSERT_EQ(db_->transCommit(), FERR_OK);
  }

  void variant(const std::string& word, std::initializer_list<uint32_t> meanings) {
    Node* r = root(kEntry);
    pool_.utf8(r, kLiteral, word);
    for (uint32_t m : meanings) pool_.pointer(r, kConcept, m);
    addBoth(r);
  }

  // The sets of a cursor with no database of its own: set 1 is `first`, set
  // 2 the meanings.
  Cursor* joinCursor(uint16_t first, uint32_t mode = FLM_CASE) {
    Cursor* c = nullptr;
    EXPECT_EQ(Cursor::init(nullptr, 0, kData, &c), FERR_OK);
    EXPECT_EQ(c->addContext(1, db_, 0, first), FERR_OK);
    EXPECT_EQ(c->addContext(2, db_, 0, kMeanings), FERR_OK);
    EXPECT_EQ(c->setMode(mode), FERR_OK);
    return c;
  }
  Drns joined(uint16_t first, const Terms& terms, uint32_t mode = FLM_CASE) {
    Cursor* c = joinCursor(first, mode);
    EXPECT_EQ(addTerms(c, terms), FERR_OK);
    EXPECT_EQ(c->validate(), FERR_OK);
    Drns out = drain(c);
    Cursor::free(&c);
    return out;
  }
  // Joined both ways round: the join first, or the literal first.
  Drns meaningsOf(const std::string& word, uint16_t variants, uint32_t mode = FLM_CASE,
                  bool literalFirst = false) {
    Terms join = {fld({kEntry, kConcept}, 1), kEq, fld({kRecId}, 2)};
    Terms literal = {fld({kEntry, kLiteral}, 1), kEq, str(word)};
    return joined(variants, literalFirst ? cat({literal, {kAnd}, join}) : cat({join, {kAnd}, literal}),
                  mode);
  }

  struct Variant {
    std::string word;
    uint32_t meaning;
  };
  std::vector<Variant> variants_;
};

TEST_F(FlmQueryJoin, VariantsToMeaningsByLiteral) {
  EXPECT_EQ(meaningsOf("bank", kData), (Drns{1, 2}));  // meaning 1 once
  EXPECT_EQ(meaningsOf("bank", kData, FLM_NOCASE), (Drns{1, 2, 3}));
  EXPECT_EQ(meaningsOf("bank", kPlain, FLM_NOCASE, true), (Drns{1, 2, 3}));
  EXPECT_EQ(meaningsOf("nothing", kData), Drns{});
  // Pointers to meanings that do not exist join nothing; a variant may name
  // several meanings.
  variant("ghost", {99});
  variant("many", {7, 99, 3, 100, 5, 1});
  EXPECT_EQ(meaningsOf("ghost", kData), Drns{});
  EXPECT_EQ(meaningsOf("many", kData), (Drns{1, 3, 5, 7}));
  EXPECT_EQ(meaningsOf("many", kPlain), (Drns{1, 3, 5, 7}));
  // Every literal, through the indexes and not, against the variants list.
  std::map<std::string, std::set<uint32_t>> want;
  for (const Variant& v : variants_) want[v.word].insert(v.meaning);
  for (const auto& [word, meanings] : want) {
    SCOPED_TRACE(word);
    EXPECT_EQ(meaningsOf(word, kData), Drns(meanings.begin(), meanings.end()));
    EXPECT_EQ(meaningsOf(word, kPlain, FLM_CASE, true), Drns(meanings.begin(), meanings.end()));
  }
}

TEST_F(FlmQueryJoin, MeaningsNarrowedFirstFindVariantsThroughTheirIndex) {
  // The meaning is fixed, so the variants are found through the index on
  // the concept pointer; a meaning without variants joins nothing.
  for (uint32_t m = 1; m <= 12; ++m) {
    bool hasVariant = std::any_of(variants_.begin(), variants_.end(),
                                  [&](const Variant& v) { return v.meaning == m; });
    for (uint16_t variants : {kData, kPlain})
      EXPECT_EQ(joined(variants, {fld({kRecId}, 2), kEq, num(static_cast<int32_t>(m)), kAnd,
                                  fld({kConcept}, 1), kEq, fld({kRecId}, 2)}),
                hasVariant ? Drns{m} : Drns{})
          << m;
  }
  // Every meaning that some variant names.
  EXPECT_EQ(joined(kData, {fld({kConcept}, 1), kEq, fld({kRecId}, 2)}),
            (Drns{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
}

TEST_F(FlmQueryJoin, JoinsOnValuesTheIndexCannotLookUp) {
  // Meanings 13 to 16 joined by their gloss or count to a variant's literal:
  // an empty text has no key, and a number is not a text key, yet both meet
  // a variant's text.
  for (const auto& [gloss, count] : {std::pair<const char*, int64_t>{"wood", 0}, {"", 0},
                                     {nullptr, 5}, {"Bank", 0}}) {
    Node* r = root(kMeaning);
    if (gloss) pool_.utf8(r, kGloss, gloss);
    if (count) pool_.number(r, kCount, count);
    add(kMeanings, r);
  }
  variant("", {1});
  variant("5", {1});
  // A real equal to a record number meets it.
  for (double value : {2.0, 4.5}) {
    Node* r = root(kEntry);
    pool_.real(r, kRatio, value);
    addBoth(r);
  }
  EXPECT_EQ(joined(kData, {fld({kRatio}, 1), kEq, fld({kRecId}, 2)}), (Drns{2}));
  for (uint32_t mode : {FLM_CASE, FLM_NOCASE}) {
    for (uint16_t by : {kGloss, kCount}) {
      for (uint32_t m = 1; m <= 16; ++m) {
        SCOPED_TRACE(std::to_string(by) + " of meaning " + std::to_string(m));
        // The meaning is fixed first, so the variants are looked up by value.
        Terms terms = {fld({kRecId}, 2), kEq, num(static_cast<int32_t>(m)), kAnd,
                       fld({kEntry, kLiteral}, 1), kEq, fld({by}, 2)};
        Drns got = joined(kData, terms, mode);
        EXPECT_EQ(got, joined(kPlain, terms, mode)) << "narrowing changed the result";
        bool meets = (by == kGloss && (m == 13 || m == 14 || m == 16)) || (by == kCount && m == 15);
        EXPECT_EQ(got, meets ? Drns{m} : Drns{});
      }
    }
  }
}

TEST_F(FlmQueryJoin, ContextSetsMustExist) {
  Cursor* c = nullptr;
  ASSERT_EQ(Cursor::init(nullptr, 0, kData, &c), FERR_OK);
  uint32_t drn = 0;
  EXPECT_NE(c->moveFirst(&drn), FERR_OK) << "no database nor context set to read";
  EXPECT_EQ(c->addContext(0, db_, 0, kData), FERR_INVALID_PARM);
  EXPECT_EQ(c->addContext(1, db_, 0, 555), FERR_BAD_CONTAINER);
  // Fields with no set read set 1 of a cursor with no database of its own.
  ASSERT_EQ(c->addContext(1, db_, 0, kData), FERR_OK);
  ASSERT_EQ(addTerms(c, {lit, kEq, str("log")}), FERR_OK);
  EXPECT_EQ(drain(c), (Drns{16, 17}));
  Cursor::free(&c);
  c = joinCursor(kData);
  ASSERT_EQ(addTerms(c, {fld({kEntry, kLiteral}, 3), kEq, str("bank")}), FERR_OK);
  EXPECT_NE(c->validate(), FERR_OK) << "set 3 was never given";
  Cursor::free(&c);

  EXPECT_EQ(Cursor::init(db_, 0, 555, &c), FERR_BAD_CONTAINER);
  EXPECT_EQ(c, nullptr);
}

// ---------------------------------------------------------------------------
// Order: by a key component of an index, or by record number.

class FlmQueryOrder : public QueryFixture {
 protected:
  void SetUp() override {
    const struct {
      const char* literal;
      int64_t count;
      uint32_t meaning;  // 0: without that field
    } rows[] = {{"pear", 100, 3}, {"Apple", 20, 0}, {"banana", 3, 1},  {nullptr, -7, 2},
                {"apple", 0, 5},  {"Ärger", 20, 4}, {"zoo", 1000, 0}, {"Banana", -70, 6}};
    for (const auto& row : rows) {
      Node* r = root(kEntry);
      if (row.literal) pool_.utf8(r, kLiteral, row.literal);
      if (row.count) pool_.number(r, kCount, row.count);
      if (row.meaning) pool_.pointer(r, kConcept, row.meaning);
      add(kData, r);
    }
  }

  Drns ordered(const Terms& terms, uint16_t index, uint16_t component, bool master,
               uint32_t mode = FLM_CASE) {
    Cursor* c = open(kData, {}, mode);
    if (master) {
      EXPECT_EQ(c->setMasterIndex(index, component), FERR_OK);
    } else {
      EXPECT_EQ(c->config(FCURSOR_SET_INDEX, index, component), FERR_OK);
    }
    EXPECT_EQ(addTerms(c, terms), FERR_OK);
    Drns out = drain(c);
    Cursor::free(&c);
    return out;
  }
};

TEST_F(FlmQueryOrder, KeyOrderOfTheChosenComponent) {
  // Text by the collation: apple, Apple, Ärger, banana, Banana, pear, zoo.
  const Drns byLiteral = {5, 2, 6, 3, 8, 1, 7};
  // Numbers numerically: -70, -7, 3, 20 (2 then 6), 100, 1000.
  const Drns byCount = {8, 4, 3, 2, 6, 1, 7};
  const Drns byConcept = {3, 4, 1, 6, 5, 8};
  const Terms all = {rid, kGt, num(0)};
  for (bool master : {true, false}) {
    SCOPED_TRACE(master ? "master index" : "set index");
    EXPECT_EQ(ordered({}, kByLiteral, 0, master), byLiteral);
    EXPECT_EQ(ordered({}, kByLiteral, 2, master), byCount);
    EXPECT_EQ(ordered({}, kByConcept, 1, master), byConcept);
    // With criteria, the same order over the records that meet them.
    EXPECT_EQ(ordered(all, kByLiteral, 1, master), byLiteral);
    EXPECT_EQ(ordered(all, kByConcept, 1, master), byConcept);
    EXPECT_EQ(ordered({cnt, kGe, num(3)}, kByLiteral, 1, master), (Drns{2, 6, 3, 1, 7}));
    // An equality the index answers alone still orders, and still drops
    // records without a key in the ordering component.
    EXPECT_EQ(ordered({cnt, kEq, num(20)}, kByConcept, 1, master), (Drns{6}));
    EXPECT_EQ(ordered({lit, kEq, str("Banana"), kOr, lit, kEq, str("apple")}, kByLiteral, 2, master),
              (Drns{8}));
    // Record 5 has no count, so ordering by the count leaves it out.
    EXPECT_EQ(ordered({lit, kLt, str("c")}, kByLiteral, 2, master), (Drns{8, 3, 2, 6}));
  }
  // Without case, an equal text still orders by the collation's full key.
  EXPECT_EQ(ordered({lit, kEq, str("APPLE")}, kByLiteral, 1, true, FLM_NOCASE), (Drns{5, 2}));
  // Without an index: record-number order.
  EXPECT_EQ(select(kData, {cnt, kNe, num(3)}), (Drns{1, 2, 4, 6, 7, 8}));
}

// A soft hyphen weighs nothing in the collation, yet "pe\u00ADar" is not
// "pear": records of one spelling must stay together, else a walk that skips
// the text it has just seen lists "pear" twice.
TEST_F(FlmQueryOrder, TextsTheCollationCannotTellApartKeepTheirSpellingsTogether) {
  for (const char* literal : {"pe\u00ADar", "pear"}) {  // records 9 and 10
    Node* r = root(kEntry);
    pool_.utf8(r, kLiteral, literal);
    add(kData, r);
  }
  const Drns byLiteral = {5, 2, 6, 3, 8, 1, 10, 9, 7};
  EXPECT_EQ(ordered({}, kByLiteral, 1, true), byLiteral);
  EXPECT_EQ(ordered({rid, kGt, num(0)}, kByLiteral, 1, true), byLiteral);
}

TEST_F(FlmQueryOrder, RealAndBinaryKeysOrderWithOrWithoutCriteria) {
  for (double value : {2.5, -1.25, 10.0, 0.5}) {  // records 9 to 12
    Node* r = root(kEntry);
    pool_.real(r, kRatio, value);
    add(kData, r);
  }
  for (const char* bytes : {"\x02", "\x80\x01", "\x01\xFF"}) {  // records 13 to 15
    Node* r = root(kEntry);
    pool_.binary(r, kBlob, bytes);
    add(kData, r);
  }
  for (bool master : {true, false}) {
    // Bytes unsigned, byte by byte.
    EXPECT_EQ(ordered({}, kByBlob, 1, master), (Drns{15, 13, 14}));
    EXPECT_EQ(ordered({rid, kGt, num(0)}, kByBlob, 1, master), (Drns{15, 13, 14}));
    EXPECT_EQ(ordered({}, kByRatio, 1, master), (Drns{10, 12, 9, 11}));
    EXPECT_EQ(ordered({ratio, kLt, num(5)}, kByRatio, 1, master), (Drns{10, 12, 9}));
  }
}

TEST_F(FlmQueryOrder, MasterIndexIsASettingOfItsOwn) {
  Cursor* c = nullptr;
  ASSERT_EQ(Cursor::init(db_, 0, kData, &c), FERR_OK);
  auto index = [&](uint32_t which) {
    uint32_t value = 99;
    EXPECT_EQ(c->getConfig(FCURSOR_GET_INDEX, which, &value), FERR_OK);
    return value;
  };
  EXPECT_EQ(index(0), 0u);
  EXPECT_EQ(c->setMasterIndex(77, 1), FERR_BAD_IX);
  ASSERT_EQ(c->setMasterIndex(kByLiteral, 2), FERR_OK);
  ASSERT_EQ(c->config(FCURSOR_SET_INDEX, kByConcept, 1), FERR_OK);
  EXPECT_EQ(index(0), kByLiteral);
  EXPECT_EQ(index(1), kByConcept);
  EXPECT_EQ(drain(c), (Drns{3, 4, 1, 6, 5, 8}));
  // Dropping the chosen index falls back to the master one.
  ASSERT_EQ(c->config(FCURSOR_SET_INDEX, 0, 0), FERR_OK);
  EXPECT_EQ(index(1), kByLiteral);
  EXPECT_EQ(drain(c), (Drns{8, 4, 3, 2, 6, 1, 7}));
  // Criteria added after a run are run afresh, and keep the master index.
  ASSERT_EQ(addTerms(c, {cnt, kLt, num(10)}), FERR_OK);
  EXPECT_EQ(drain(c), (Drns{8, 4, 3}));
  EXPECT_EQ(index(0), kByLiteral);
  uint32_t value = 0;
  EXPECT_EQ(c->getConfig(12345, 0, &value), FERR_NOT_IMPLEMENTED);
  Cursor::free(&c);
}

// ---------------------------------------------------------------------------
// Criteria that cannot run.

class FlmQueryParse : public QueryFixture {};

TEST_F(FlmQueryParse, MalformedCriteria) {
  const std::vector<Terms> malformed = {
      {kEq, num(5)},
      {cnt, kEq},
      {kOpen, cnt, kEq, num(5)},
      {cnt, kEq, num(5), kClose},
      {kOpen, kClose},
      {cnt, kEq, num(5), num(6)},
      {cnt, kEq, num(5), kAnd},
      {cnt, kEq, num(5), cnt, kEq, num(6)},
      {cnt, kEq, num(1), kEq, num(1)},            // a truth compared
      {kMinus, kOpen, cnt, kEq, num(5), kClose},  // minus of a truth
      {kNot, cnt, kEq, num(5)},                   // not binds first: (not a) == 5
  };
  for (const Terms& terms : malformed) {
    EXPECT_EQ(validateError(terms), FERR_CURSOR_SYNTAX) << show(terms);
  }
  Cursor* c = nullptr;
  ASSERT_EQ(Cursor::init(db_, 0, kData, &c), FERR_OK);
  for (uint16_t unknown : {17, 38, 41}) EXPECT_EQ(c->addOp(unknown), FERR_CURSOR_SYNTAX) << unknown;
  uint16_t zero = 0;
  EXPECT_EQ(c->addField(&zero, 1, 0), FERR_BAD_FIELD_NUM);
  EXPECT_EQ(c->addField(nullptr, 0, 0), FERR_INVALID_PARM);
  EXPECT_EQ(c->addValue(FLM_INT32_VAL, nullptr, 0), FERR_INVALID_PARM);
  Cursor::free(&c);
}

// Malformed criteria of any depth are refused as any others are.
TEST_F(FlmQueryParse, MalformedCriteriaOfAnyDepth) {
  const Terms five = {cnt, kEq, num(5)};
  const std::vector<Terms> malformed = {
      times({kNot}, kDeep),
      times({kOpen}, kDeep),
      times({kAnd}, kDeep),
      cat({times({kOpen}, kDeep), five}),
      cat({five, times({kClose}, kDeep)}),
      cat({times({kMinus}, kDeep), {kOpen}, five, {kClose}}),
      cat({times({kNot, kOpen}, kDeep / 2), five, times({kClose}, kDeep / 2), {kEq, num(1)}}),
  };
  for (const Terms& terms : malformed) {
    EXPECT_EQ(validateError(terms), FERR_CURSOR_SYNTAX) << head(terms);
  }
}

TEST_F(FlmQueryParse, TextMustSpellANumberForNumericFields) {
  const std::pair<Terms, RCODE> cases[] = {
      {{cnt, kEq, str("abc")}, FERR_CONV_BAD_DIGIT},
      {{str("12a"), kLt, cnt}, FERR_CONV_BAD_DIGIT},
      {{fld({kConcept}), kEq, str("x1")}, FERR_CONV_BAD_DIGIT},
      {{cnt, kEq, str("-")}, FERR_CONV_BAD_DIGIT},
      {{cnt, kEq, str("-12")}, FERR_OK},
      {{fld({kLiteral}), kEq, str("abc")}, FERR_OK},
      {{cnt, kEq, str("9999999999999999999")}, FERR_CONV_NUM_OVERFLOW},
  };
  for (const auto& [terms, rc] : cases) EXPECT_EQ(validateError(terms), rc) << show(terms);
}

TEST_F(FlmQueryParse, NumbersAtTheEdgesOfSixtyFourBits) {
  loadBoth(R"(0 entry
1 count 9223372036854775807
0 entry
1 count -9223372036854775808
0 entry
1 count -1
0 entry
1 literal 9999999999999999999
)");
  expectAll({
      {{cnt, kEq, str("9223372036854775807")}, {1}},
      {{cnt, kEq, str("-9223372036854775808")}, {2}},
      {{cnt, kLt, str("-9223372036854775807")}, {2}},
      {{cnt, kGe, str("-1")}, {1, 3}},
      // Digits past 64 bits in a text field are no number to meet one with.
      {{fld({kLiteral}), kEq, num(5)}, {}},
      {{fld({kLiteral}), kEq, str("9999999999999999999")}, {4}},
  });
}

}  // namespace

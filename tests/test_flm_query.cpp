// Query cursors: criteria of every operator and value type, text matching by
// the collation, joins across context sets, index order, navigation, and the
// check that narrowing through the key table never loses a record: every
// query of the shared fixture runs over an indexed container and over an
// unindexed copy of the same records, and the two must agree.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "flm/Cursor.h"
#include "flm/Session.h"
#include "flm/Value.h"
#include "support/TestFiles.h"

using namespace flm;
using testfiles::ScratchDir;

namespace {

enum : uint16_t {
  kEntry = 60,    // root of a variant
  kLiteral = 120,
  kConcept = 50,  // record pointer to a meaning
  kCount = 130,
  kGroup = 70,    // holds literals below the root's own
  kRatio = 131,
  kBlob = 132,
  kMeaning = 80,  // root of a meaning
  kGloss = 122,
  kLink = 90,     // root of a link between meanings
  kFrom = 110,
  kTo = 111,
  kRel = 3,
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

// One record's field tree, built child by child.
class Rec {
 public:
  explicit Rec(uint16_t rootTag, const std::string& rootText = "") {
    poolInit(&pool_, 1024);
    root_ = make(rootTag);
    if (!rootText.empty()) putUtf8(&pool_, root_, rootText.data(), rootText.size());
  }
  ~Rec() { poolFree(&pool_); }
  Rec(const Rec&) = delete;
  Rec& operator=(const Rec&) = delete;

  Node* root() const { return root_; }
  Node* text(uint16_t tag, const std::string& s, Node* parent = nullptr) {
    Node* n = child(tag, parent);
    EXPECT_EQ(putUtf8(&pool_, n, s.data(), s.size()), FERR_OK);
    return n;
  }
  Node* number(uint16_t tag, int64_t v, Node* parent = nullptr) {
    Node* n = child(tag, parent);
    EXPECT_EQ(putInt(&pool_, n, v), FERR_OK);
    return n;
  }
  Node* pointer(uint16_t tag, uint32_t drn, Node* parent = nullptr) {
    Node* n = child(tag, parent);
    EXPECT_EQ(putRecPtr(&pool_, n, drn), FERR_OK);
    return n;
  }
  Node* real(uint16_t tag, double v, Node* parent = nullptr) {
    Node* n = child(tag, parent);
    EXPECT_EQ(putReal(&pool_, n, v), FERR_OK);
    return n;
  }
  Node* binary(uint16_t tag, const std::string& bytes, Node* parent = nullptr) {
    Node* n = child(tag, parent);
    EXPECT_EQ(putBinary(&pool_, n, bytes.data(), bytes.size()), FERR_OK);
    return n;
  }

 private:
  Node* make(uint16_t tag) {
    RCODE rc = FERR_OK;
    Node* n = nodeMake(&pool_, tag, &rc);
    EXPECT_EQ(rc, FERR_OK);
    return n;
  }
  Node* child(uint16_t tag, Node* parent) {
    Node* n = make(tag);
    nodeChildGraft(parent ? parent : root_, n, GED_LAST);
    return n;
  }

  PoolMemoryManager pool_;
  Node* root_;
};

// One piece of criteria as a test writes it.
struct Term {
  enum Kind { kField, kOp, kInt, kText } kind = kOp;
  FieldPath path;
  uint32_t flags = 0;
  uint16_t op = 0;
  int32_t number = 0;
  std::string text;
};

Term fld(FieldPath path, uint32_t set = 0) {
  Term t;
  t.kind = Term::kField;
  t.path = std::move(path);
  t.flags = set;
  return t;
}
Term op(uint16_t code) {
  Term t;
  t.op = code;
  return t;
}
Term num(int32_t n) {
  Term t;
  t.kind = Term::kInt;
  t.number = n;
  return t;
}
Term str(std::string s) {
  Term t;
  t.kind = Term::kText;
  t.text = std::move(s);
  return t;
}

const Term kAnd = op(FLM_AND_OP), kOr = op(FLM_OR_OP), kNot = op(FLM_NOT_OP);
const Term kEq = op(FLM_EQ_OP), kNe = op(FLM_NE_OP), kLt = op(FLM_LT_OP), kLe = op(FLM_LE_OP);
const Term kGt = op(FLM_GT_OP), kGe = op(FLM_GE_OP), kMatch = op(FLM_MATCH_OP);
const Term kBegins = op(FLM_MATCH_BEGIN_OP), kContains = op(FLM_CONTAINS_OP);
const Term kOpen = op(FLM_LPAREN_OP), kClose = op(FLM_RPAREN_OP);
const Term kPlus = op(FLM_PLUS_OP), kMinus = op(FLM_MINUS_OP), kTimes = op(FLM_MULT_OP);

using Terms = std::vector<Term>;

Terms cat(std::initializer_list<Terms> parts) {
  Terms out;
  for (const Terms& p : parts) out.insert(out.end(), p.begin(), p.end());
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
// its first.
std::vector<uint32_t> drain(Cursor* c) {
  std::vector<uint32_t> out;
  uint32_t drn = 0;
  RCODE rc;
  while ((rc = c->moveNext(&drn)) == FERR_OK) out.push_back(drn);
  EXPECT_EQ(rc, FERR_EOF_HIT);
  return out;
}

using Drns = std::vector<uint32_t>;

// A database with the query dictionary; subclasses name the test groups.
class QueryFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(Session::create(16 * 1024, 0, &session_), FERR_OK);
    ASSERT_EQ(session_->createDatabase(dir_.file("query.db").c_str(), queryDictionary(), &db_),
              FERR_OK);
  }
  void TearDown() override { Session::close(&session_); }

  uint32_t add(uint16_t container, const Rec& r) {
    uint32_t drn = 0;
    EXPECT_EQ(db_->add(0, container, &drn, r.root()), FERR_OK);
    return drn;
  }
  // Into the indexed container and its unindexed copy, under one number.
  uint32_t addBoth(const Rec& r) {
    uint32_t drn = add(kData, r);
    EXPECT_EQ(add(kPlain, r), drn);
    return drn;
  }

  // The records of `container` that meet `terms`, in the cursor's order.
  Drns select(uint16_t container, const Terms& terms, uint32_t mode = FLM_CASE,
              uint16_t orderIndex = 0, uint16_t orderComponent = 0) {
    Cursor* c = nullptr;
    EXPECT_EQ(Cursor::init(db_, 0, container, &c), FERR_OK);
    if (!c) return {};
    EXPECT_EQ(c->setMode(mode), FERR_OK);
    EXPECT_EQ(addTerms(c, terms), FERR_OK);
    EXPECT_EQ(c->validate(), FERR_OK);
    if (orderIndex) {
      EXPECT_EQ(c->config(FCURSOR_SET_INDEX, orderIndex, orderComponent), FERR_OK);
    }
    Drns out = drain(c);
    uint32_t count = 0;
    EXPECT_EQ(c->recordCount(&count), FERR_OK);
    EXPECT_EQ(count, out.size());
    Cursor::free(&c);
    return out;
  }

  // The same query narrowed through the indexes and not; they must agree.
  Drns both(const Terms& terms, uint32_t mode = FLM_CASE) {
    Drns indexed = select(kData, terms, mode);
    Drns plain = select(kPlain, terms, mode);
    EXPECT_EQ(indexed, plain) << "narrowing changed the result";
    return indexed;
  }

  // The error validating `terms` gives.
  RCODE validateError(const Terms& terms, uint16_t container = kData) {
    Cursor* c = nullptr;
    EXPECT_EQ(Cursor::init(db_, 0, container, &c), FERR_OK);
    RCODE rc = addTerms(c, terms);
    if (!rc) rc = c->validate();
    // A cursor that does not validate does not move either.
    uint32_t drn = 0;
    if (rc) {
      EXPECT_EQ(c->moveFirst(&drn), rc);
    }
    Cursor::free(&c);
    return rc;
  }

  ScratchDir dir_;
  Session* session_ = nullptr;
  Database* db_ = nullptr;
};

// ---------------------------------------------------------------------------
// Operators, value types, precedence and the meaning of a missing field.

class FlmQueryOperators : public QueryFixture {
 protected:
  void SetUp() override {
    QueryFixture::SetUp();
    {
      Rec r(kEntry, "one");  // 1
      r.text(kLiteral, "apple");
      r.number(kCount, 5);
      addBoth(r);
    }
    {
      Rec r(kEntry, "two");  // 2: the count twice
      r.text(kLiteral, "banana");
      r.number(kCount, 5);
      r.number(kCount, 12);
      addBoth(r);
    }
    {
      Rec r(kEntry, "three");  // 3: no count at all
      r.text(kLiteral, "cherry");
      addBoth(r);
    }
    {
      Rec r(kEntry, "four");  // 4
      r.number(kCount, -3);
      addBoth(r);
    }
    {
      Rec r(kEntry, "five");  // 5
      r.number(kCount, 0);
      r.real(kRatio, 2.5);
      addBoth(r);
    }
    {
      Rec r(kEntry, "six");  // 6
      r.number(kCount, 4000000000);
      addBoth(r);
    }
    {
      Rec r(kEntry, "seven");  // 7
      r.number(kCount, 65535);
      addBoth(r);
    }
  }

  Drns count(const Term& comparison, int32_t value) {
    return both({fld({kCount}), comparison, num(value)});
  }

  Drns withValue(uint32_t type, const void* value, size_t length, uint16_t field = kCount) {
    Cursor* c = nullptr;
    EXPECT_EQ(Cursor::init(db_, 0, kData, &c), FERR_OK);
    EXPECT_EQ(c->addField(&field, 1, 0), FERR_OK);
    EXPECT_EQ(c->addOp(FLM_EQ_OP), FERR_OK);
    EXPECT_EQ(c->addValue(type, value, length), FERR_OK);
    EXPECT_EQ(c->validate(), FERR_OK);
    Drns out = drain(c);
    Cursor::free(&c);
    return out;
  }
};

TEST_F(FlmQueryOperators, ComparisonsMatchAnyOccurrenceAndSkipRecordsWithoutTheField) {
  EXPECT_EQ(count(kEq, 5), (Drns{1, 2}));
  EXPECT_EQ(count(kEq, 12), (Drns{2}));  // the second occurrence alone
  // Record 2 also holds 12, which differs from 5; record 3 has no count and
  // meets neither the comparison nor its negation.
  EXPECT_EQ(count(kNe, 5), (Drns{2, 4, 5, 6, 7}));
  EXPECT_EQ(count(kLt, 5), (Drns{4, 5}));
  EXPECT_EQ(count(kLe, 5), (Drns{1, 2, 4, 5}));
  EXPECT_EQ(count(kGt, 5), (Drns{2, 6, 7}));
  EXPECT_EQ(count(kGe, 5), (Drns{1, 2, 6, 7}));
  EXPECT_EQ(count(kGe, -3), (Drns{1, 2, 4, 5, 6, 7}));
  // Each comparison may be met by a different occurrence.
  EXPECT_EQ(both({fld({kCount}), kGt, num(10), kAnd, fld({kCount}), kLt, num(6), kAnd,
                  fld({kCount}), kGt, num(0)}),
            (Drns{2}));
  // Not of an unknown is unknown: record 3 stays out.
  EXPECT_EQ(both({kNot, kOpen, fld({kCount}), kEq, num(5), kClose}), (Drns{4, 5, 6, 7}));
  // A field alone is true where the record has it.
  EXPECT_EQ(both({fld({kRatio})}), (Drns{5}));
  EXPECT_EQ(both({kNot, fld({kRatio})}), (Drns{1, 2, 3, 4, 6, 7}));
  EXPECT_EQ(both({fld({kRatio}), kGt, num(2)}), (Drns{5}));
  EXPECT_EQ(both({fld({kRatio}), kLt, num(3)}), (Drns{5}));
  EXPECT_EQ(both({fld({kRatio}), kEq, num(2)}), (Drns{}));
}

TEST_F(FlmQueryOperators, ArithmeticAndBitOperators) {
  auto expr = [&](std::initializer_list<Term> lhs, int32_t result) {
    Terms t(lhs);
    t.push_back(kEq);
    t.push_back(num(result));
    return both(t);
  };
  EXPECT_EQ(expr({fld({kCount}), op(FLM_BITAND_OP), num(8)}, 8), (Drns{2, 4, 7}));
  EXPECT_EQ(expr({fld({kCount}), op(FLM_BITOR_OP), num(1)}, 13), (Drns{2}));
  EXPECT_EQ(expr({fld({kCount}), op(FLM_BITXOR_OP), num(1)}, 4), (Drns{1, 2}));
  EXPECT_EQ(expr({fld({kCount}), kTimes, num(2)}, 24), (Drns{2}));
  EXPECT_EQ(expr({fld({kCount}), op(FLM_DIV_OP), num(2)}, 2), (Drns{1, 2}));
  EXPECT_EQ(expr({fld({kCount}), op(FLM_MOD_OP), num(5)}, 2), (Drns{2}));
  EXPECT_EQ(expr({fld({kCount}), kPlus, num(1)}, 1), (Drns{5}));
  EXPECT_EQ(expr({fld({kCount}), kMinus, num(1)}, -4), (Drns{4}));
  EXPECT_EQ(expr({kMinus, fld({kCount})}, 3), (Drns{4}));
  // Division by zero has no value, so nothing meets it.
  EXPECT_EQ(expr({fld({kCount}), op(FLM_DIV_OP), num(0)}, 0), (Drns{}));
  EXPECT_EQ(expr({fld({kCount}), op(FLM_MOD_OP), num(0)}, 0), (Drns{}));
}

TEST_F(FlmQueryOperators, PrecedenceAndParentheses) {
  Drns all{1, 2, 3, 4, 5, 6, 7};
  // # 1 + 2 * 3 == 7 holds for every record; (1 + 2) * 3 == 7 for none.
  EXPECT_EQ(both({num(1), kPlus, num(2), kTimes, num(3), kEq, num(7)}), all);
  EXPECT_EQ(both({kOpen, num(1), kPlus, num(2), kClose, kTimes, num(3), kEq, num(7)}), Drns{});
  EXPECT_EQ(both({fld({kCount}), kPlus, num(2), kTimes, num(3), kEq, num(11)}), (Drns{1, 2}));
  EXPECT_EQ(both({kOpen, fld({kCount}), kPlus, num(2), kClose, kTimes, num(3), kEq, num(42)}),
            (Drns{2}));
  // Unary minus binds before multiplication, which binds before comparison.
  EXPECT_EQ(both({kMinus, fld({kCount}), kTimes, num(2), kEq, num(6)}), (Drns{4}));
  // And binds before or: a || (b && c), not (a || b) && c.
  Terms a = {fld({kCount}), kEq, num(0)};
  Terms b = {fld({kCount}), kEq, num(5)};
  Terms c = {fld({kLiteral}), kEq, str("banana")};
  EXPECT_EQ(both(cat({a, {kOr}, b, {kAnd}, c})), (Drns{2, 5}));
  EXPECT_EQ(both(cat({{kOpen}, a, {kOr}, b, {kClose}, {kAnd}, c})), (Drns{2}));
  EXPECT_EQ(both(cat({c, {kAnd}, b, {kOr}, a})), (Drns{2, 5}));
  // Not binds tightest.
  EXPECT_EQ(both(cat({{kNot, kOpen}, b, {kClose, kAnd, fld({kCount}), kLt, num(1)}})),
            (Drns{4, 5}));
  EXPECT_EQ(both(cat({{kNot, kOpen}, a, {kOr}, b, {kClose}})), (Drns{4, 6, 7}));
  EXPECT_EQ(both(cat({{kOpen, kOpen}, b, {kClose, kClose}})), (Drns{1, 2}));
  EXPECT_EQ(both({kNot, kNot, fld({kRatio})}), (Drns{5}));
}

TEST_F(FlmQueryOperators, EveryValueType) {
  int16_t i16 = -3;
  int32_t i32 = 12;
  uint16_t u16 = 65535;
  uint32_t u32 = 4000000000u;
  EXPECT_EQ(withValue(FLM_INT16_VAL, &i16, 0), (Drns{4}));
  EXPECT_EQ(withValue(FLM_INT32_VAL, &i32, 0), (Drns{2}));
  EXPECT_EQ(withValue(FLM_UINT16_VAL, &u16, 0), (Drns{7}));
  EXPECT_EQ(withValue(FLM_UINT32_VAL, &u32, 0), (Drns{6}));
  // Digits in text compare as the number they spell.
  EXPECT_EQ(withValue(FLM_STRING_VAL, "12", 0), (Drns{2}));
  EXPECT_EQ(withValue(FLM_STRING_VAL, "-3", 0), (Drns{4}));
  EXPECT_EQ(withValue(FLM_STRING_VAL, "banana", 0, kLiteral), (Drns{2}));
  EXPECT_EQ(withValue(FLM_STRING_VAL, "bananas", 6, kLiteral), (Drns{2}));  // length counts
  EXPECT_EQ(withValue(FLM_UNICODE_VAL, u"cherry", 0, kLiteral), (Drns{3}));

  // A field's own value, text or number.
  Rec probe(kEntry);
  Node* text = probe.text(kLiteral, "apple");
  Node* number = probe.number(kCount, 5);
  Node* empty = probe.number(kCount, 0);
  empty->length = 0;
  for (auto [node, tag, expected] : {std::tuple{text, kLiteral, Drns{1}},
                                     std::tuple{number, kCount, Drns{1, 2}}}) {
    Cursor* c = nullptr;
    ASSERT_EQ(Cursor::init(db_, 0, kData, &c), FERR_OK);
    uint16_t field = tag;
    ASSERT_EQ(c->addField(&field, 1, 0), FERR_OK);
    ASSERT_EQ(c->addOp(FLM_EQ_OP), FERR_OK);
    ASSERT_EQ(c->addFieldValue(node), FERR_OK);
    ASSERT_EQ(c->validate(), FERR_OK);
    EXPECT_EQ(drain(c), expected);
    Cursor::free(&c);
  }
  Cursor* c = nullptr;
  ASSERT_EQ(Cursor::init(db_, 0, kData, &c), FERR_OK);
  EXPECT_EQ(c->addFieldValue(empty), FERR_CONV_NULL_SRC);
  EXPECT_EQ(c->addValue(99, &i32, 0), FERR_CONV_BAD_SRC_TYPE);
  Cursor::free(&c);
}

TEST_F(FlmQueryOperators, PathsFromTheRootAndTagsAnywhere) {
  uint32_t nested, other;
  {
    Rec r(kEntry, "nested");
    Node* group = r.text(kGroup, "g");
    r.text(kLiteral, "deep", group);
    nested = addBoth(r);
  }
  {
    Rec r(kMeaning, "other root");
    r.text(kLiteral, "deep");
    other = addBoth(r);
  }
  EXPECT_EQ(both({fld({kLiteral}), kEq, str("deep")}), (Drns{nested, other}));
  EXPECT_EQ(both({fld({kEntry, kLiteral}), kEq, str("deep")}), Drns{});
  EXPECT_EQ(both({fld({kEntry, kGroup, kLiteral}), kEq, str("deep")}), (Drns{nested}));
  EXPECT_EQ(both({fld({kMeaning, kLiteral}), kEq, str("deep")}), (Drns{other}));
  EXPECT_EQ(both({fld({kEntry, kLiteral}), kEq, str("apple")}), (Drns{1}));
  EXPECT_EQ(both({fld({kEntry}), kEq, str("nested")}), (Drns{nested}));
}

TEST_F(FlmQueryOperators, RecordNumberPseudoField) {
  EXPECT_EQ(both({fld({kRecId}), kEq, num(3)}), (Drns{3}));
  EXPECT_EQ(both({num(3), kEq, fld({kRecId})}), (Drns{3}));
  EXPECT_EQ(both({fld({kRecId}), kEq, num(99)}), Drns{});
  EXPECT_EQ(both({fld({kRecId}), kEq, num(0)}), Drns{});
  EXPECT_EQ(both({fld({kRecId}), kGt, num(4)}), (Drns{5, 6, 7}));
  EXPECT_EQ(both({fld({kRecId}), kLe, num(2)}), (Drns{1, 2}));
  EXPECT_EQ(both({fld({kRecId}), kNe, num(1), kAnd, fld({kCount}), kEq, num(5)}), (Drns{2}));
  EXPECT_EQ(both({fld({kRecId}), kEq, str("4")}), (Drns{4}));
  EXPECT_EQ(both({fld({kRecId}), kEq, fld({kCount})}), Drns{});
  EXPECT_EQ(both({fld({kRecId}), kEq, fld({kCount}), kPlus, num(7)}), (Drns{4}));
  EXPECT_EQ(both({fld({kRecId}), kPlus, num(3), kEq, fld({kCount})}), (Drns{2}));
}

// ---------------------------------------------------------------------------
// Text: case, wildcards, prefixes, parts and the collation's order.

class FlmQueryText : public QueryFixture {
 protected:
  void SetUp() override {
    QueryFixture::SetUp();
    for (const char* w : {"apple", "Apple", "APPLE", "apricot", "ap*e", "banana", "Banana",
                          "cherry", "Straße", "STRASSE", "strasse", "cote", "côte", "coté",
                          "côté", "École", "école", ""}) {
      Rec r(kEntry);
      r.text(kLiteral, w);
      word_[addBoth(r)] = w;
    }
    Rec r(kEntry);  // no literal at all
    addBoth(r);
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
  Words lit(const Term& comparison, const std::string& value, uint32_t mode) {
    return words({fld({kEntry, kLiteral}), comparison, str(value)}, mode);
  }

  std::map<uint32_t, std::string> word_;
};

TEST_F(FlmQueryText, EqualityWithAndWithoutCase) {
  EXPECT_EQ(lit(kEq, "apple", FLM_CASE), (Words{"apple"}));
  EXPECT_EQ(lit(kEq, "apple", FLM_NOCASE), (Words{"apple", "Apple", "APPLE"}));
  EXPECT_EQ(lit(kEq, "STRASSE", FLM_CASE), (Words{"STRASSE"}));
  EXPECT_EQ(lit(kEq, "STRASSE", FLM_NOCASE), (Words{"Straße", "STRASSE", "strasse"}));
  EXPECT_EQ(lit(kEq, "straße", FLM_NOCASE), (Words{"Straße", "STRASSE", "strasse"}));
  EXPECT_EQ(lit(kEq, "école", FLM_CASE), (Words{"école"}));
  EXPECT_EQ(lit(kEq, "ÉCOLE", FLM_NOCASE), (Words{"École", "école"}));
  // Accents are never case.
  EXPECT_EQ(lit(kEq, "COTE", FLM_NOCASE), (Words{"cote"}));
  EXPECT_EQ(lit(kEq, "", FLM_CASE), (Words{""}));
  EXPECT_EQ(lit(kNe, "apple", FLM_NOCASE).count("Apple"), 0u);
  EXPECT_EQ(lit(kNe, "apple", FLM_CASE).count("Apple"), 1u);
  EXPECT_EQ(lit(kNe, "apple", FLM_CASE).size(), word_.size() - 1);
  // Without a mode, case counts.
  EXPECT_EQ(lit(kEq, "apple", 0), (Words{"apple"}));
  // Unicode values meet the same records as their UTF-8 spelling.
  Cursor* c = nullptr;
  ASSERT_EQ(Cursor::init(db_, 0, kData, &c), FERR_OK);
  ASSERT_EQ(c->setMode(FLM_NOCASE), FERR_OK);
  uint16_t path[] = {kEntry, kLiteral};
  ASSERT_EQ(c->addField(path, 2, 0), FERR_OK);
  ASSERT_EQ(c->addOp(FLM_EQ_OP), FERR_OK);
  ASSERT_EQ(c->addValue(FLM_UNICODE_VAL, u"STRASSE", 0), FERR_OK);
  uint32_t n = 0;
  EXPECT_EQ(c->recordCount(&n), FERR_OK);
  EXPECT_EQ(n, 3u);
  Cursor::free(&c);
}

TEST_F(FlmQueryText, OrderFollowsTheCollation) {
  // Collation order, not code units: "apple" < "Banana" though 'a' > 'B'.
  EXPECT_EQ(lit(kLt, "Banana", FLM_CASE),
            (Words{"", "ap*e", "apple", "Apple", "APPLE", "apricot", "banana"}));
  EXPECT_EQ(lit(kLt, "Banana", FLM_NOCASE), (Words{"", "ap*e", "apple", "Apple", "APPLE", "apricot"}));
  EXPECT_EQ(lit(kLe, "apple", FLM_CASE), (Words{"", "ap*e", "apple"}));
  EXPECT_EQ(lit(kLe, "apple", FLM_NOCASE), (Words{"", "ap*e", "apple", "Apple", "APPLE"}));
  EXPECT_EQ(lit(kGe, "école", FLM_NOCASE), (Words{"École", "école", "Straße", "STRASSE", "strasse"}));
  EXPECT_EQ(lit(kGt, "école", FLM_NOCASE), (Words{"Straße", "STRASSE", "strasse"}));
  EXPECT_EQ(lit(kGt, "école", FLM_CASE), (Words{"École", "Straße", "STRASSE", "strasse"}));
  // Accents order after the bare letters, the earliest accent weighing most.
  EXPECT_EQ(words({fld({kEntry, kLiteral}), kGt, str("cote"), kAnd, fld({kEntry, kLiteral}), kLt,
                   str("côté")},
                  FLM_CASE),
            (Words{"coté", "côte"}));
  EXPECT_EQ(lit(kLt, "coté", FLM_CASE).count("côte"), 0u);
  EXPECT_EQ(lit(kLt, "côte", FLM_CASE).count("coté"), 1u);
  EXPECT_EQ(lit(kGe, "STRASSE", FLM_NOCASE), (Words{"Straße", "STRASSE", "strasse"}));
  EXPECT_EQ(lit(kLt, "", FLM_CASE), Words{});
}

TEST_F(FlmQueryText, WildcardsPrefixesAndParts) {
  // A star is a wildcard in == only in wild mode; match always takes it so.
  EXPECT_EQ(lit(kEq, "ap*e", FLM_CASE), (Words{"ap*e"}));
  EXPECT_EQ(lit(kEq, "ap*e", FLM_CASE | FLM_WILD), (Words{"ap*e", "apple"}));
  EXPECT_EQ(lit(kEq, "AP*E", FLM_NOCASE | FLM_WILD), (Words{"ap*e", "apple", "Apple", "APPLE"}));
  EXPECT_EQ(lit(kMatch, "ap*e", FLM_CASE), (Words{"ap*e", "apple"}));
  EXPECT_EQ(lit(kMatch, "*an*", FLM_CASE), (Words{"banana", "Banana"}));
  EXPECT_EQ(lit(kMatch, "*AN*", FLM_CASE), Words{});
  EXPECT_EQ(lit(kMatch, "*AN*", FLM_NOCASE), (Words{"banana", "Banana"}));
  EXPECT_EQ(lit(kMatch, "*", FLM_CASE).size(), word_.size());
  EXPECT_EQ(lit(kMatch, "c*t*", FLM_CASE), (Words{"cote", "côte", "coté", "côté"}));
  EXPECT_EQ(lit(kMatch, "*e", FLM_CASE), (Words{"ap*e", "apple", "Apple", "cote", "côte", "Straße", "strasse", "École", "école"}));
  EXPECT_EQ(lit(kMatch, "cherry", FLM_CASE), (Words{"cherry"}));

  EXPECT_EQ(lit(kBegins, "ap", FLM_CASE), (Words{"ap*e", "apple", "apricot"}));
  EXPECT_EQ(lit(kBegins, "AP", FLM_NOCASE), (Words{"ap*e", "apple", "Apple", "APPLE", "apricot"}));
  EXPECT_EQ(lit(kBegins, "Stra", FLM_CASE), (Words{"Straße"}));
  EXPECT_EQ(lit(kBegins, "STRAS", FLM_NOCASE), (Words{"Straße", "STRASSE", "strasse"}));
  EXPECT_EQ(lit(kBegins, "cô", FLM_CASE), (Words{"côte", "côté"}));
  EXPECT_EQ(lit(kBegins, "", FLM_CASE).size(), word_.size());

  EXPECT_EQ(lit(kContains, "an", FLM_CASE), (Words{"banana", "Banana"}));
  EXPECT_EQ(lit(kContains, "AN", FLM_CASE), Words{});
  EXPECT_EQ(lit(kContains, "AN", FLM_NOCASE), (Words{"banana", "Banana"}));
  EXPECT_EQ(lit(kContains, "asse", FLM_CASE), (Words{"strasse"}));
  EXPECT_EQ(lit(kContains, "asse", FLM_NOCASE), (Words{"Straße", "STRASSE", "strasse"}));
  EXPECT_EQ(lit(kContains, "té", FLM_CASE), (Words{"coté", "côté"}));
}

TEST_F(FlmQueryText, AStarInTheDataIsNotLostToNarrowing) {
  Rec r(kEntry);
  r.text(kLiteral, "a*");
  word_[addBoth(r)] = "a*";
  // A literal before the field is the text and the field's text the pattern,
  // so "a*" meets it; whichever way that is taken, the index may not change it.
  Words wild = words({str("apple"), kEq, fld({kEntry, kLiteral})}, FLM_CASE | FLM_WILD);
  EXPECT_TRUE(wild.count("apple"));
  EXPECT_EQ(words({str("apple"), kEq, fld({kEntry, kLiteral})}, FLM_CASE), (Words{"apple"}));
  EXPECT_EQ(lit(kEq, "a*", FLM_CASE), (Words{"a*"}));
  EXPECT_EQ(lit(kEq, "a*", FLM_NOCASE | FLM_WILD),
            (Words{"a*", "ap*e", "apple", "Apple", "APPLE", "apricot"}));
}

// ---------------------------------------------------------------------------
// Narrowing: generated records, queried through the indexes and without, and
// against what the test itself reads from the data it made.

struct Generated {
  uint16_t root = kEntry;
  std::vector<std::string> literals;  // under the root
  std::vector<std::string> nested;    // under a group
  std::vector<int64_t> counts;
  std::vector<uint32_t> concepts;
};

class FlmQueryNarrowing : public QueryFixture {
 protected:
  void SetUp() override {
    QueryFixture::SetUp();
    const std::vector<std::string> words = {
        "apple", "Apple", "APPLE", "apricot", "banana", "Banana", "cherry", "Straße",
        "STRASSE", "strasse", "cote",  "côte",    "coté",   "côté",   "école",  "École",
        "ap*e",  "",       "zebra", "Zebra",   "mañana", "manana", "naïve",  "naive"};
    std::mt19937 rng(20240611);
    auto pick = [&](int n) { return static_cast<int>(rng() % static_cast<unsigned>(n)); };
    ASSERT_EQ(db_->transBegin(), FERR_OK);
    for (int i = 0; i < 400; ++i) {
      Generated g;
      if (pick(10) == 0) g.root = kMeaning;
      for (int k = pick(3); k > 0; --k) g.literals.push_back(words[pick(static_cast<int>(words.size()))]);
      if (pick(4) == 0) g.nested.push_back(words[pick(static_cast<int>(words.size()))]);
      for (int k = pick(3); k > 0; --k)
        g.counts.push_back(pick(20) == 0 ? int64_t{3000000000} + pick(3) : pick(41) - 20);
      if (pick(3)) g.concepts.push_back(static_cast<uint32_t>(pick(30) + 1));
      Rec r(g.root);
      for (const auto& w : g.literals) r.text(kLiteral, w);
      if (!g.nested.empty()) r.text(kLiteral, g.nested[0], r.text(kGroup, "group"));
      for (int64_t n : g.counts) r.number(kCount, n);
      for (uint32_t c : g.concepts) r.pointer(kConcept, c);
      data_[addBoth(r)] = std::move(g);
    }
    ASSERT_EQ(db_->transCommit(), FERR_OK);
  }

  using Test = std::function<bool(const Generated&, uint32_t drn)>;
  Drns expected(const Test& test) const {
    Drns out;
    for (const auto& [drn, g] : data_)
      if (test(g, drn)) out.push_back(drn);
    return out;
  }

  std::map<uint32_t, Generated> data_;
};

bool anyCount(const Generated& g, const std::function<bool(int64_t)>& f) {
  return std::any_of(g.counts.begin(), g.counts.end(), f);
}

TEST_F(FlmQueryNarrowing, IndexedAndUnindexedAgreeOnEveryCriteria) {
  const FieldPath lit = {kEntry, kLiteral};
  std::vector<Terms> battery = {
      {fld(lit), kEq, str("apple")},
      {fld(lit), kEq, str("STRASSE")},
      {fld(lit), kEq, str("naïve")},
      {fld(lit), kEq, str("")},
      {str("cherry"), kEq, fld(lit)},
      {fld({kLiteral}), kEq, str("Zebra")},
      {fld({kEntry, kGroup, kLiteral}), kEq, str("banana")},
      {fld(lit), kNe, str("apple")},
      {fld(lit), kLt, str("Banana")},
      {fld(lit), kLe, str("côte")},
      {fld(lit), kGt, str("mañana")},
      {fld(lit), kGe, str("STRASSE")},
      {str("cote"), kLt, fld(lit)},
      {fld({kLiteral}), kGe, str("apple"), kAnd, fld({kLiteral}), kLt, str("cherry")},
      {fld(lit), kBegins, str("ap")},
      {fld(lit), kBegins, str("STRA")},
      {fld(lit), kBegins, str("É")},
      {fld(lit), kContains, str("an")},
      {fld(lit), kMatch, str("ap*")},
      {fld(lit), kMatch, str("*a*")},
      {fld(lit), kMatch, str("Z*A")},
      {fld(lit), kEq, str("ap*e")},
      {fld(lit), kEq, str("c*")},
      {fld({kCount}), kEq, num(5)},
      {fld({kCount}), kEq, str("-7")},
      {fld({kCount}), kNe, num(5)},
      {fld({kCount}), kLt, num(0)},
      {fld({kCount}), kLe, num(-20)},
      {fld({kCount}), kGt, num(19)},
      {fld({kCount}), kGe, num(0), kAnd, fld({kCount}), kLt, num(3)},
      {num(5), kLt, fld({kCount})},
      {fld({kCount}), kGt, str("2999999999")},
      {fld({kCount}), kPlus, num(1), kEq, num(6)},
      {fld({kConcept}), kEq, num(7)},
      {fld({kEntry, kConcept}), kEq, num(7)},
      {fld({kConcept}), kLt, num(4)},
      {fld({kRecId}), kEq, num(17)},
      {fld({kRecId}), kEq, num(17), kOr, fld({kRecId}), kEq, num(300), kOr, fld({kRecId}), kEq, num(401)},
      {fld(lit), kEq, str("apple"), kOr, fld(lit), kEq, str("cherry")},
      {fld(lit), kEq, str("apple"), kOr, fld({kCount}), kEq, num(3)},
      {fld(lit), kBegins, str("ba"), kOr, fld({kConcept}), kEq, num(2), kOr, fld({kRecId}), kEq, num(5)},
      {fld(lit), kEq, str("apple"), kOr, fld({kCount}), kPlus, num(0), kEq, num(3)},
      {kNot, kOpen, fld(lit), kEq, str("apple"), kClose, kAnd, fld({kCount}), kEq, num(5)},
      {fld({kRecId}), kLt, num(50), kAnd, fld(lit), kEq, str("banana")},
      {fld(lit), kEq, str("Apple"), kAnd, fld({kCount}), kGt, num(0), kAnd, fld({kConcept}), kLt, num(20)},
  };
  size_t nonEmpty = 0, total = 0;
  for (uint32_t mode : {FLM_CASE, FLM_NOCASE, FLM_CASE | FLM_WILD, FLM_NOCASE | FLM_WILD}) {
    for (size_t i = 0; i < battery.size(); ++i) {
      SCOPED_TRACE("criteria " + std::to_string(i) + " mode " + std::to_string(mode));
      Drns got = both(battery[i], mode);
      nonEmpty += !got.empty();
      ++total;
    }
  }
  // The comparison means little unless most criteria select something.
  EXPECT_GT(nonEmpty, total * 3 / 4);
}

TEST_F(FlmQueryNarrowing, ResultsMatchTheGeneratedData) {
  const FieldPath lit = {kEntry, kLiteral};
  auto hasLiteral = [](const std::string& w) {
    return [w](const Generated& g, uint32_t) {
      return g.root == kEntry && std::count(g.literals.begin(), g.literals.end(), w) > 0;
    };
  };
  EXPECT_EQ(both({fld(lit), kEq, str("apple")}), expected(hasLiteral("apple")));
  EXPECT_EQ(both({fld(lit), kEq, str("")}), expected(hasLiteral("")));
  EXPECT_EQ(both({fld(lit), kEq, str("Straße")}), expected(hasLiteral("Straße")));
  EXPECT_EQ(both({fld({kLiteral}), kEq, str("zebra")}), expected([](const Generated& g, uint32_t) {
              auto has = [](const std::vector<std::string>& v) {
                return std::count(v.begin(), v.end(), "zebra") > 0;
              };
              return has(g.literals) || has(g.nested);
            }));
  EXPECT_EQ(both({fld(lit), kEq, str("APPLE")}, FLM_NOCASE), expected([](const Generated& g, uint32_t) {
              if (g.root != kEntry) return false;
              for (const auto& w : g.literals)
                if (w == "apple" || w == "Apple" || w == "APPLE") return true;
              return false;
            }));
  EXPECT_EQ(both({fld({kCount}), kEq, num(5)}),
            expected([](const Generated& g, uint32_t) { return anyCount(g, [](int64_t n) { return n == 5; }); }));
  EXPECT_EQ(both({fld({kCount}), kNe, num(5)}),
            expected([](const Generated& g, uint32_t) { return anyCount(g, [](int64_t n) { return n != 5; }); }));
  EXPECT_EQ(both({fld({kCount}), kLt, num(-10)}),
            expected([](const Generated& g, uint32_t) { return anyCount(g, [](int64_t n) { return n < -10; }); }));
  EXPECT_EQ(both({fld({kCount}), kGe, str("3000000001")}), expected([](const Generated& g, uint32_t) {
              return anyCount(g, [](int64_t n) { return n >= 3000000001; });
            }));
  EXPECT_EQ(both({kNot, kOpen, fld({kCount}), kGe, num(0), kClose}), expected([](const Generated& g, uint32_t) {
              return !g.counts.empty() && !anyCount(g, [](int64_t n) { return n >= 0; });
            }));
  EXPECT_EQ(both({fld({kConcept}), kEq, num(7)}), expected([](const Generated& g, uint32_t) {
              return !g.concepts.empty() && g.concepts[0] == 7;
            }));
  EXPECT_EQ(both({fld({kEntry, kConcept}), kEq, num(7)}), expected([](const Generated& g, uint32_t) {
              return g.root == kEntry && !g.concepts.empty() && g.concepts[0] == 7;
            }));
  EXPECT_EQ(both({fld({kRecId}), kGt, num(390)}),
            expected([](const Generated&, uint32_t drn) { return drn > 390; }));
}

// ---------------------------------------------------------------------------
// Unions of record numbers, as a list of chosen records is asked for.

class FlmQueryUnion : public QueryFixture {
 protected:
  void SetUp() override {
    QueryFixture::SetUp();
    ASSERT_EQ(db_->transBegin(), FERR_OK);
    for (int i = 1; i <= 500; ++i) {
      Rec r(kEntry);
      r.number(kCount, i % 7);
      addBoth(r);
    }
    ASSERT_EQ(db_->transCommit(), FERR_OK);
  }
};

TEST_F(FlmQueryUnion, ThreeHundredRecordNumbersValidatedTermByTerm) {
  for (uint16_t container : {kData, kPlain}) {
    Cursor* c = nullptr;
    ASSERT_EQ(Cursor::init(db_, 0, container, &c), FERR_OK);
    std::set<uint32_t> wanted;
    for (uint32_t k = 0; k < 300; ++k) {
      uint32_t drn = (k * 7919) % 600 + 1;  // some past the last record
      if (k) {
        ASSERT_EQ(c->addOp(FLM_OR_OP), FERR_OK);
      }
      uint16_t recId = kRecId;
      ASSERT_EQ(c->addField(&recId, 1, 0), FERR_OK);
      ASSERT_EQ(c->addOp(FLM_EQ_OP), FERR_OK);
      ASSERT_EQ(c->addValue(FLM_UINT32_VAL, &drn, 0), FERR_OK);
      ASSERT_EQ(c->validate(), FERR_OK) << k;
      if (drn <= 500) wanted.insert(drn);
    }
    EXPECT_EQ(drain(c), Drns(wanted.begin(), wanted.end()));
    Cursor::free(&c);

    // The same union in parentheses, with one more condition.
    Terms terms = {kOpen};
    for (uint32_t drn : wanted) {
      if (terms.size() > 1) terms.push_back(kOr);
      for (const Term& t : {fld({kRecId}), kEq, num(static_cast<int32_t>(drn))}) terms.push_back(t);
    }
    for (const Term& t : {kClose, kAnd, fld({kCount}), kEq, num(3)}) terms.push_back(t);
    Drns narrowed;
    for (uint32_t drn : wanted)
      if (drn % 7 == 3) narrowed.push_back(drn);
    EXPECT_EQ(select(container, terms), narrowed);
  }
}

TEST_F(FlmQueryUnion, RecordNumbersMixedWithOtherTerms) {
  Terms t = {fld({kRecId}), kEq, num(10), kOr, fld({kCount}), kEq, num(6), kOr, fld({kRecId}),
             kEq, num(11)};
  Drns want;
  for (uint32_t i = 1; i <= 500; ++i)
    if (i == 10 || i == 11 || i % 7 == 6) want.push_back(i);
  EXPECT_EQ(both(t), want);
  EXPECT_EQ(both({kOpen, fld({kRecId}), kEq, num(10), kOr, fld({kRecId}), kEq, num(13), kClose,
                  kAnd, fld({kCount}), kEq, num(6)}),
            (Drns{13}));
}

// ---------------------------------------------------------------------------
// Joins over two context sets.

class FlmQueryJoin : public QueryFixture {
 protected:
  void SetUp() override {
    QueryFixture::SetUp();
    ASSERT_EQ(db_->transBegin(), FERR_OK);
    for (int m = 1; m <= 12; ++m) {
      Rec r(kMeaning, "meaning " + std::to_string(m));
      r.text(kGloss, "gloss " + std::to_string(m));
      ASSERT_EQ(add(kMeanings, r), static_cast<uint32_t>(m));
    }
    // Variants: literal -> meaning. "bank" twice for meaning 1; meanings 11
    // and 12 have no variant.
    const std::vector<std::pair<std::string, uint32_t>> variants = {
        {"bank", 1},  {"bank", 1},  {"bank", 2},   {"Bank", 3},  {"river", 2},
        {"shore", 2}, {"money", 1}, {"money", 4},  {"fund", 4},  {"fund", 5},
        {"tree", 6},  {"wood", 6},  {"wood", 7},   {"forest", 7}, {"timber", 8},
        {"log", 8},   {"log", 9},   {"record", 9}, {"record", 10}};
    for (const auto& [w, m] : variants) {
      Rec r(kEntry);
      r.text(kLiteral, w);
      r.pointer(kConcept, m);
      variants_.push_back({w, m});
      addBoth(r);
    }
    // Links between meanings: from, to, relation.
    for (uint32_t from = 1; from <= 10; ++from)
      for (uint32_t rel = 1; rel <= 3; ++rel)
        for (uint32_t to = 1; to <= 12; ++to)
          if ((from * 3 + to * 5 + rel) % 7 == 0) {
            Rec r(kLink);
            r.pointer(kFrom, from);
            r.pointer(kTo, to);
            r.number(kRel, rel);
            add(kLinks, r);
            links_.push_back({from, to, rel});
          }
    ASSERT_EQ(db_->transCommit(), FERR_OK);
  }

  // The sets of a cursor with no database of its own.
  Cursor* joinCursor(uint16_t first, uint32_t mode = FLM_CASE) {
    Cursor* c = nullptr;
    EXPECT_EQ(Cursor::init(nullptr, 0, kData, &c), FERR_OK);
    EXPECT_EQ(c->addContext(1, db_, 0, first), FERR_OK);
    EXPECT_EQ(c->addContext(2, db_, 0, kMeanings), FERR_OK);
    EXPECT_EQ(c->setMode(mode), FERR_OK);
    return c;
  }

  Drns meaningsOf(const std::string& word, uint16_t variants, uint32_t mode = FLM_CASE,
                  bool literalFirst = false) {
    Cursor* c = joinCursor(variants, mode);
    Terms join = {fld({kEntry, kConcept}, 1), kEq, fld({kRecId}, 2)};
    Terms literal = {fld({kEntry, kLiteral}, 1), kEq, str(word)};
    EXPECT_EQ(addTerms(c, literalFirst ? cat({literal, {kAnd}, join}) : cat({join, {kAnd}, literal})),
              FERR_OK);
    EXPECT_EQ(c->validate(), FERR_OK);
    Drns out = drain(c);
    uint32_t n = 0;
    EXPECT_EQ(c->recordCount(&n), FERR_OK);
    EXPECT_EQ(n, out.size());
    Cursor::free(&c);
    return out;
  }

  struct Variant {
    std::string word;
    uint32_t meaning;
  };
  struct Link {
    uint32_t from, to, rel;
  };
  std::vector<Variant> variants_;
  std::vector<Link> links_;
};

TEST_F(FlmQueryJoin, VariantsToMeaningsByLiteral) {
  EXPECT_EQ(meaningsOf("bank", kData), (Drns{1, 2}));  // meaning 1 once
  EXPECT_EQ(meaningsOf("bank", kData, FLM_NOCASE), (Drns{1, 2, 3}));
  EXPECT_EQ(meaningsOf("bank", kPlain, FLM_NOCASE, true), (Drns{1, 2, 3}));
  EXPECT_EQ(meaningsOf("nothing", kData), Drns{});
  // Pointers to meanings that do not exist join nothing; a variant may name
  // several meanings.
  {
    Rec r(kEntry);
    r.text(kLiteral, "ghost");
    r.pointer(kConcept, 99);
    addBoth(r);
  }
  {
    Rec r(kEntry);
    r.text(kLiteral, "many");
    for (uint32_t m : {7, 99, 3, 100, 5, 1}) r.pointer(kConcept, m);
    addBoth(r);
  }
  EXPECT_EQ(meaningsOf("ghost", kData), Drns{});
  EXPECT_EQ(meaningsOf("many", kData), (Drns{1, 3, 5, 7}));
  EXPECT_EQ(meaningsOf("many", kPlain), (Drns{1, 3, 5, 7}));
  // Every literal, through the indexes and not, against the variants list.
  std::set<std::string> seen;
  for (const Variant& v : variants_) {
    if (!seen.insert(v.word).second) continue;
    std::set<uint32_t> want;
    for (const Variant& w : variants_)
      if (w.word == v.word) want.insert(w.meaning);
    SCOPED_TRACE(v.word);
    EXPECT_EQ(meaningsOf(v.word, kData), Drns(want.begin(), want.end()));
    EXPECT_EQ(meaningsOf(v.word, kPlain, FLM_CASE, true), Drns(want.begin(), want.end()));
  }
}

TEST_F(FlmQueryJoin, ReadBindsTheMeaningsContainer) {
  Cursor* c = joinCursor(kData);
  ASSERT_EQ(addTerms(c, {fld({kEntry, kLiteral}, 1), kEq, str("wood"), kAnd,
                         fld({kEntry, kConcept}, 1), kEq, fld({kRecId}, 2)}),
            FERR_OK);
  uint32_t drn = 0;
  ASSERT_EQ(c->moveLast(&drn), FERR_OK);
  EXPECT_EQ(drn, 7u);
  PoolMemoryManager pool;
  poolInit(&pool, 512);
  Node* root = nullptr;
  ASSERT_EQ(c->read(&pool, &root), FERR_OK);
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(root->tag, kMeaning);
  const SourceNode* src = nodeSource(root);
  ASSERT_NE(src, nullptr);
  EXPECT_EQ(src->database, static_cast<void*>(db_));
  EXPECT_EQ(src->store, 0u);
  EXPECT_EQ(src->container, kMeanings);
  EXPECT_EQ(src->drn, 7u);
  EXPECT_EQ(c->resultSource().container, kMeanings);
  poolFree(&pool);
  Cursor::free(&c);
}

TEST_F(FlmQueryJoin, MeaningsNarrowedFirstFindVariantsThroughTheirIndex) {
  // The meaning is fixed, so the variants are found through the index on
  // the concept pointer; a meaning without variants joins nothing.
  for (uint32_t m = 1; m <= 12; ++m) {
    for (uint16_t variants : {kData, kPlain}) {
      Cursor* c = joinCursor(variants);
      ASSERT_EQ(addTerms(c, {fld({kRecId}, 2), kEq, num(static_cast<int32_t>(m)), kAnd,
                             fld({kConcept}, 1), kEq, fld({kRecId}, 2)}),
                FERR_OK);
      bool hasVariant = std::any_of(variants_.begin(), variants_.end(),
                                    [&](const Variant& v) { return v.meaning == m; });
      EXPECT_EQ(drain(c), hasVariant ? Drns{m} : Drns{}) << m;
      Cursor::free(&c);
    }
  }
  // Every meaning that some variant names.
  Cursor* c = joinCursor(kData);
  ASSERT_EQ(addTerms(c, {fld({kConcept}, 1), kEq, fld({kRecId}, 2)}), FERR_OK);
  EXPECT_EQ(drain(c), (Drns{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
  Cursor::free(&c);
}

TEST_F(FlmQueryJoin, JoinsOnValuesTheIndexCannotLookUp) {
  // Meanings 13 to 16 joined by their gloss or count to a variant's literal:
  // an empty text has no key, and a number is not a text key, yet both meet
  // a variant's text.
  struct Extra {
    const char* gloss;
    int64_t count;
  };
  const Extra extra[] = {{"wood", 0}, {"", 0}, {nullptr, 5}, {"Bank", 0}};
  for (const Extra& x : extra) {
    Rec r(kMeaning);
    if (x.gloss) r.text(kGloss, x.gloss);
    if (x.count) r.number(kCount, x.count);
    add(kMeanings, r);
  }
  for (const char* w : {"", "5"}) {
    Rec r(kEntry);
    r.text(kLiteral, w);
    r.pointer(kConcept, 1);
    addBoth(r);
  }
  // A real equal to a record number meets it.
  for (double ratio : {2.0, 4.5}) {
    Rec r(kEntry);
    r.real(kRatio, ratio);
    addBoth(r);
  }
  Cursor* c = joinCursor(kData);
  ASSERT_EQ(addTerms(c, {fld({kRatio}, 1), kEq, fld({kRecId}, 2)}), FERR_OK);
  EXPECT_EQ(drain(c), (Drns{2}));
  Cursor::free(&c);
  for (uint32_t mode : {FLM_CASE, FLM_NOCASE}) {
    for (uint16_t by : {kGloss, kCount}) {
      for (uint32_t m = 1; m <= 16; ++m) {
        SCOPED_TRACE(std::to_string(by) + " of meaning " + std::to_string(m));
        Drns got[2];
        for (uint16_t variants : {kData, kPlain}) {
          Cursor* c = joinCursor(variants, mode);
          // The meaning is fixed first, so the variants are looked up by value.
          ASSERT_EQ(addTerms(c, {fld({kRecId}, 2), kEq, num(static_cast<int32_t>(m)), kAnd,
                                 fld({kEntry, kLiteral}, 1), kEq, fld({by}, 2)}),
                    FERR_OK);
          got[variants == kData ? 0 : 1] = drain(c);
          Cursor::free(&c);
        }
        EXPECT_EQ(got[0], got[1]) << "narrowing changed the result";
        bool meets = (by == kGloss && (m == 13 || m == 14 || m == 16)) || (by == kCount && m == 15);
        EXPECT_EQ(got[0], meets ? Drns{m} : Drns{});
      }
    }
  }
}

TEST_F(FlmQueryJoin, LinksFromOneMeaningByRelation) {
  for (uint32_t from = 1; from <= 10; ++from) {
    for (uint32_t rel = 1; rel <= 3; ++rel) {
      SCOPED_TRACE(std::to_string(from) + "/" + std::to_string(rel));
      std::set<uint32_t> targets;
      bool any = false;
      for (const Link& l : links_)
        if (l.from == from && l.rel == rel) {
          targets.insert(l.to);
          any = true;
        }
      // The meaning itself, when it has such a link.
      Cursor* c = joinCursor(kLinks);
      ASSERT_EQ(addTerms(c, {kOpen, fld({kFrom}, 1), kEq, fld({kRecId}, 2), kClose, kAnd,
                             fld({kFrom}, 1), kEq, num(static_cast<int32_t>(from)), kAnd,
                             fld({kRel}, 1), kEq, num(static_cast<int32_t>(rel))}),
                FERR_OK);
      EXPECT_EQ(drain(c), any ? Drns{from} : Drns{});
      Cursor::free(&c);
      // The meanings it links to.
      c = joinCursor(kLinks);
      ASSERT_EQ(addTerms(c, {fld({kTo}, 1), kEq, fld({kRecId}, 2), kAnd, fld({kFrom}, 1), kEq,
                             num(static_cast<int32_t>(from)), kAnd, fld({kRel}, 1), kEq,
                             num(static_cast<int32_t>(rel))}),
                FERR_OK);
      EXPECT_EQ(drain(c), Drns(targets.begin(), targets.end()));
      Cursor::free(&c);
    }
  }
}

TEST_F(FlmQueryJoin, ContextSetsMustExist) {
  Cursor* c = joinCursor(kData);
  ASSERT_EQ(addTerms(c, {fld({kEntry, kLiteral}, 3), kEq, str("bank")}), FERR_OK);
  EXPECT_NE(c->validate(), FERR_OK);
  uint32_t drn = 0;
  EXPECT_NE(c->moveFirst(&drn), FERR_OK);
  Cursor::free(&c);

  ASSERT_EQ(Cursor::init(nullptr, 0, kData, &c), FERR_OK);
  uint16_t path[] = {kEntry, kLiteral};
  EXPECT_EQ(c->addField(path, 2, 9), FERR_INVALID_PARM);
  EXPECT_EQ(c->addContext(0, db_, 0, kData), FERR_INVALID_PARM);
  EXPECT_EQ(c->addContext(9, db_, 0, kData), FERR_INVALID_PARM);
  EXPECT_EQ(c->addContext(1, db_, 0, 555), FERR_BAD_CONTAINER);
  EXPECT_EQ(c->addContext(1, nullptr, 0, kData), FERR_INVALID_PARM);
  // Without a database nor a context set there is nothing to read.
  EXPECT_NE(c->moveFirst(&drn), FERR_OK);
  // Fields with no set read set 1 of a cursor with no database of its own.
  ASSERT_EQ(c->addContext(1, db_, 0, kData), FERR_OK);
  ASSERT_EQ(addTerms(c, {fld({kEntry, kLiteral}), kEq, str("log")}), FERR_OK);
  EXPECT_EQ(drain(c), (Drns{16, 17}));
  Cursor::free(&c);

  EXPECT_EQ(Cursor::init(db_, 0, 555, &c), FERR_BAD_CONTAINER);
  EXPECT_EQ(c, nullptr);
}

// ---------------------------------------------------------------------------
// Order: by a key component of an index, or by record number.

class FlmQueryOrder : public QueryFixture {
 protected:
  void SetUp() override {
    QueryFixture::SetUp();
    struct Row {
      const char* literal;
      int64_t count;
      uint32_t meaning;
    };
    // 0 means "without that field".
    const Row rows[] = {{"pear", 100, 3},  {"Apple", 20, 0}, {"banana", 3, 1},
                        {nullptr, -7, 2},  {"apple", 0, 5},  {"Ärger", 20, 4},
                        {"zoo", 1000, 0}, {"Banana", -70, 6}};
    for (const Row& row : rows) {
      Rec r(kEntry);
      if (row.literal) r.text(kLiteral, row.literal);
      if (row.count) r.number(kCount, row.count);
      if (row.meaning) r.pointer(kConcept, row.meaning);
      add(kData, r);
    }
  }

  Drns ordered(const Terms& terms, uint16_t index, uint16_t component, bool master,
               uint32_t mode = FLM_CASE) {
    Cursor* c = nullptr;
    EXPECT_EQ(Cursor::init(db_, 0, kData, &c), FERR_OK);
    EXPECT_EQ(c->setMode(mode), FERR_OK);
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
  for (bool master : {true, false}) {
    SCOPED_TRACE(master ? "master index" : "set index");
    EXPECT_EQ(ordered({}, kByLiteral, 1, master), byLiteral);
    EXPECT_EQ(ordered({}, kByLiteral, 0, master), byLiteral);
    EXPECT_EQ(ordered({}, kByLiteral, 2, master), byCount);
    EXPECT_EQ(ordered({}, kByConcept, 1, master), byConcept);
    // With criteria, the same order over the records that meet them.
    Terms all = {fld({kRecId}), kGt, num(0)};
    EXPECT_EQ(ordered(all, kByLiteral, 1, master), byLiteral);
    EXPECT_EQ(ordered(all, kByLiteral, 2, master), byCount);
    EXPECT_EQ(ordered(all, kByConcept, 1, master), byConcept);
    EXPECT_EQ(ordered({fld({kCount}), kGe, num(3)}, kByLiteral, 1, master), (Drns{2, 6, 3, 1, 7}));
    // An equality the index answers alone still orders, and still drops
    // records without a key in the ordering component.
    EXPECT_EQ(ordered({fld({kCount}), kEq, num(20)}, kByLiteral, 1, master), (Drns{2, 6}));
    EXPECT_EQ(ordered({fld({kCount}), kEq, num(20)}, kByConcept, 1, master), (Drns{6}));
    EXPECT_EQ(ordered({fld({kEntry, kLiteral}), kEq, str("Banana"), kOr, fld({kEntry, kLiteral}),
                       kEq, str("apple")},
                      kByLiteral, 2, master),
              (Drns{8}));
    // Record 5 has no count, so ordering by the count leaves it out.
    EXPECT_EQ(ordered({fld({kEntry, kLiteral}), kLt, str("c")}, kByLiteral, 2, master),
              (Drns{8, 3, 2, 6}));
  }
  // Without case, an equal text still orders by the collation's full key.
  EXPECT_EQ(ordered({fld({kEntry, kLiteral}), kEq, str("APPLE")}, kByLiteral, 1, true, FLM_NOCASE),
            (Drns{5, 2}));
  // Without an index: record-number order.
  EXPECT_EQ(select(kData, {fld({kCount}), kNe, num(3)}), (Drns{1, 2, 4, 6, 7, 8}));
  EXPECT_EQ(select(kData, {}).size(), 8u);
}

// An equality with a number puts every result at that key, where the index
// lists them by record number, whatever other keys they have.
TEST_F(FlmQueryOrder, AnEqualKeyListsByRecordNumber) {
  for (std::vector<int64_t> counts : {std::vector<int64_t>{20}, {20, -500}}) {  // 9, 10
    Rec r(kEntry);
    for (int64_t n : counts) r.number(kCount, n);
    add(kData, r);
  }
  for (bool master : {true, false}) {
    EXPECT_EQ(ordered({fld({kCount}), kEq, num(20)}, kByLiteral, 2, master), (Drns{2, 6, 9, 10}));
    EXPECT_EQ(ordered({fld({kCount}), kLe, num(20)}, kByLiteral, 2, master),
              (Drns{10, 8, 4, 3, 2, 6, 9}));
  }
}

TEST_F(FlmQueryOrder, RealAndBinaryKeysOrderWithOrWithoutCriteria) {
  for (double ratio : {2.5, -1.25, 10.0, 0.5}) {  // records 9 to 12
    Rec r(kEntry);
    r.real(kRatio, ratio);
    add(kData, r);
  }
  for (const char* bytes : {"\x02", "\x80\x01", "\x01\xFF"}) {  // records 13 to 15
    Rec r(kEntry);
    r.binary(kBlob, bytes);
    add(kData, r);
  }
  // Bytes unsigned, byte by byte.
  const Drns byBlob = {15, 13, 14};
  for (bool master : {true, false}) {
    EXPECT_EQ(ordered({}, kByBlob, 1, master), byBlob);
    EXPECT_EQ(ordered({fld({kRecId}), kGt, num(0)}, kByBlob, 1, master), byBlob);
  }
  const Drns byRatio = {10, 12, 9, 11};
  for (bool master : {true, false}) {
    EXPECT_EQ(ordered({}, kByRatio, 1, master), byRatio);
    EXPECT_EQ(ordered({fld({kRecId}), kGt, num(0)}, kByRatio, 1, master), byRatio);
    EXPECT_EQ(ordered({fld({kRatio}), kLt, num(5)}, kByRatio, 1, master), (Drns{10, 12, 9}));
  }
}

TEST_F(FlmQueryOrder, MasterIndexIsASettingOfItsOwn) {
  Cursor* c = nullptr;
  ASSERT_EQ(Cursor::init(db_, 0, kData, &c), FERR_OK);
  uint32_t value = 99;
  ASSERT_EQ(c->getConfig(FCURSOR_GET_INDEX, 0, &value), FERR_OK);
  EXPECT_EQ(value, 0u);
  EXPECT_EQ(c->setMasterIndex(77, 1), FERR_BAD_IX);
  ASSERT_EQ(c->setMasterIndex(kByLiteral, 2), FERR_OK);
  ASSERT_EQ(c->config(FCURSOR_SET_INDEX, kByConcept, 1), FERR_OK);
  ASSERT_EQ(c->getConfig(FCURSOR_GET_INDEX, 0, &value), FERR_OK);
  EXPECT_EQ(value, kByLiteral);
  ASSERT_EQ(c->getConfig(FCURSOR_GET_INDEX, 1, &value), FERR_OK);
  EXPECT_EQ(value, kByConcept);
  EXPECT_EQ(drain(c), (Drns{3, 4, 1, 6, 5, 8}));
  // Dropping the chosen index falls back to the master one.
  ASSERT_EQ(c->config(FCURSOR_SET_INDEX, 0, 0), FERR_OK);
  ASSERT_EQ(c->getConfig(FCURSOR_GET_INDEX, 1, &value), FERR_OK);
  EXPECT_EQ(value, kByLiteral);
  EXPECT_EQ(drain(c), (Drns{8, 4, 3, 2, 6, 1, 7}));
  // Criteria added later keep the master index.
  ASSERT_EQ(addTerms(c, {fld({kCount}), kLt, num(10)}), FERR_OK);
  EXPECT_EQ(drain(c), (Drns{8, 4, 3}));
  ASSERT_EQ(c->getConfig(FCURSOR_GET_INDEX, 0, &value), FERR_OK);
  EXPECT_EQ(value, kByLiteral);
  EXPECT_EQ(c->getConfig(12345, 0, &value), FERR_NOT_IMPLEMENTED);
  Cursor::free(&c);
}

// ---------------------------------------------------------------------------
// Moving through results.

class FlmQueryNavigate : public QueryFixture {
 protected:
  void SetUp() override {
    QueryFixture::SetUp();
    for (int i = 1; i <= 6; ++i) {
      Rec r(kEntry);
      r.text(kLiteral, "word " + std::to_string(i));
      r.number(kCount, i % 2);
      add(kData, r);
    }
  }

  Cursor* odd() {
    Cursor* c = nullptr;
    EXPECT_EQ(Cursor::init(db_, 0, kData, &c), FERR_OK);
    EXPECT_EQ(addTerms(c, {fld({kCount}), kEq, num(1)}), FERR_OK);
    return c;
  }
};

TEST_F(FlmQueryNavigate, BothEndsAndBack) {
  Cursor* c = odd();
  uint32_t drn = 0;
  EXPECT_EQ(c->current(&drn), FERR_BOF_HIT);
  ASSERT_EQ(c->moveNext(&drn), FERR_OK);  // first
  EXPECT_EQ(drn, 1u);
  ASSERT_EQ(c->moveNext(&drn), FERR_OK);
  EXPECT_EQ(drn, 3u);
  ASSERT_EQ(c->current(&drn), FERR_OK);
  EXPECT_EQ(drn, 3u);
  ASSERT_EQ(c->moveNext(&drn), FERR_OK);
  EXPECT_EQ(drn, 5u);
  // Running off an end leaves the cursor on the record it was on.
  EXPECT_EQ(c->moveNext(&drn), FERR_EOF_HIT);
  EXPECT_EQ(c->moveNext(&drn), FERR_EOF_HIT);
  ASSERT_EQ(c->current(&drn), FERR_OK);
  EXPECT_EQ(drn, 5u);
  ASSERT_EQ(c->movePrev(&drn), FERR_OK);
  EXPECT_EQ(drn, 3u);
  ASSERT_EQ(c->movePrev(&drn), FERR_OK);
  EXPECT_EQ(drn, 1u);
  EXPECT_EQ(c->movePrev(&drn), FERR_BOF_HIT);
  ASSERT_EQ(c->current(&drn), FERR_OK);
  EXPECT_EQ(drn, 1u);
  ASSERT_EQ(c->moveNext(&drn), FERR_OK);
  EXPECT_EQ(drn, 3u);
  ASSERT_EQ(c->moveLast(&drn), FERR_OK);
  EXPECT_EQ(drn, 5u);
  ASSERT_EQ(c->moveFirst(&drn), FERR_OK);
  EXPECT_EQ(drn, 1u);
  uint32_t n = 0;
  ASSERT_EQ(c->recordCount(&n), FERR_OK);
  EXPECT_EQ(n, 3u);
  ASSERT_EQ(c->current(&drn), FERR_OK);  // counting does not move
  EXPECT_EQ(drn, 1u);
  Cursor::free(&c);

  c = odd();
  ASSERT_EQ(c->movePrev(&drn), FERR_OK);  // an unmoved cursor's prev is its last
  EXPECT_EQ(drn, 5u);
  Cursor::free(&c);
}

TEST_F(FlmQueryNavigate, EmptyResults) {
  Cursor* c = nullptr;
  ASSERT_EQ(Cursor::init(db_, 0, kData, &c), FERR_OK);
  ASSERT_EQ(addTerms(c, {fld({kCount}), kEq, num(7)}), FERR_OK);
  uint32_t drn = 0, n = 99;
  EXPECT_EQ(c->moveFirst(&drn), FERR_EOF_HIT);
  EXPECT_EQ(c->moveLast(&drn), FERR_BOF_HIT);
  EXPECT_EQ(c->moveNext(&drn), FERR_EOF_HIT);
  EXPECT_EQ(c->movePrev(&drn), FERR_BOF_HIT);
  ASSERT_EQ(c->recordCount(&n), FERR_OK);
  EXPECT_EQ(n, 0u);
  PoolMemoryManager pool;
  poolInit(&pool, 256);
  Node dummy{};
  Node* root = &dummy;
  EXPECT_NE(c->read(&pool, &root), FERR_OK);
  EXPECT_EQ(root, nullptr);
  poolFree(&pool);
  Cursor::free(&c);

  ASSERT_EQ(Cursor::init(db_, 0, kData, &c), FERR_OK);
  ASSERT_EQ(addTerms(c, {fld({kCount}), kEq, num(7)}), FERR_OK);
  EXPECT_EQ(c->moveNext(&drn), FERR_EOF_HIT);  // unmoved
  Cursor::free(&c);
  ASSERT_EQ(Cursor::init(db_, 0, kData, &c), FERR_OK);
  ASSERT_EQ(addTerms(c, {fld({kCount}), kEq, num(7)}), FERR_OK);
  EXPECT_EQ(c->movePrev(&drn), FERR_BOF_HIT);  // unmoved
  Cursor::free(&c);

  // A container with no records at all.
  ASSERT_EQ(Cursor::init(db_, 0, kMeanings, &c), FERR_OK);
  ASSERT_EQ(c->recordCount(&n), FERR_OK);
  EXPECT_EQ(n, 0u);
  EXPECT_EQ(c->moveFirst(&drn), FERR_EOF_HIT);
  Cursor::free(&c);
}

TEST_F(FlmQueryNavigate, ReadBindsTheSource) {
  Cursor* c = odd();
  PoolMemoryManager pool;
  poolInit(&pool, 512);
  Node* root = nullptr;
  EXPECT_EQ(c->read(&pool, &root), FERR_BOF_HIT);  // not positioned yet
  uint32_t drn = 0;
  ASSERT_EQ(c->moveNext(&drn), FERR_OK);
  ASSERT_EQ(c->moveNext(&drn), FERR_OK);
  ASSERT_EQ(c->read(&pool, &root), FERR_OK);
  ASSERT_NE(root, nullptr);
  const SourceNode* src = nodeSource(root);
  ASSERT_NE(src, nullptr);
  EXPECT_EQ(src->database, static_cast<void*>(db_));
  EXPECT_EQ(src->store, 0u);
  EXPECT_EQ(src->container, kData);
  EXPECT_EQ(src->drn, 3u);
  Node* literal = nodeFind(GED_TREE, root, kLiteral, 1);
  ASSERT_NE(literal, nullptr);
  uint16_t text[32];
  uint32_t bytes = sizeof text;
  ASSERT_EQ(getUnicode(literal, text, &bytes), FERR_OK);
  EXPECT_EQ(std::u16string(reinterpret_cast<char16_t*>(text), bytes / 2), u"word 3");
  poolFree(&pool);
  Cursor::free(&c);

  // A whole container, counted without criteria.
  ASSERT_EQ(Cursor::init(db_, 0, kData, &c), FERR_OK);
  uint32_t n = 0;
  ASSERT_EQ(c->recordCount(&n), FERR_OK);
  EXPECT_EQ(n, 6u);
  ASSERT_EQ(c->moveLast(&drn), FERR_OK);
  EXPECT_EQ(drn, 6u);
  Cursor::free(&c);
}

// ---------------------------------------------------------------------------
// Criteria that cannot run.

class FlmQueryParse : public QueryFixture {};

TEST_F(FlmQueryParse, MalformedCriteria) {
  const std::vector<Terms> malformed = {
      {kEq, num(5)},
      {fld({kCount}), kEq},
      {kOpen, fld({kCount}), kEq, num(5)},
      {fld({kCount}), kEq, num(5), kClose},
      {kOpen, kClose},
      {fld({kCount}), num(5)},
      {fld({kCount}), kEq, num(5), num(6)},
      {fld({kCount}), kEq, kEq, num(5)},
      {fld({kCount}), kEq, num(5), kAnd},
      {kAnd, fld({kCount}), kEq, num(5)},
      {fld({kCount}), kEq, num(5), fld({kCount}), kEq, num(6)},
      {fld({kCount}), kEq, num(1), kEq, num(1)},          // a truth compared
      {kMinus, kOpen, fld({kCount}), kEq, num(5), kClose},  // minus of a truth
      {kOpen, fld({kCount}), kEq, num(5), kClose, kPlus, num(1)},
      {kNot, fld({kCount}), kEq, num(5)},  // not binds first: (not a) == 5
      {kNot},
  };
  for (size_t i = 0; i < malformed.size(); ++i)
    EXPECT_EQ(validateError(malformed[i]), FERR_CURSOR_SYNTAX) << "criteria " << i;
  Cursor* c = nullptr;
  ASSERT_EQ(Cursor::init(db_, 0, kData, &c), FERR_OK);
  EXPECT_EQ(c->addOp(17), FERR_CURSOR_SYNTAX);
  EXPECT_EQ(c->addOp(38), FERR_CURSOR_SYNTAX);
  EXPECT_EQ(c->addOp(41), FERR_CURSOR_SYNTAX);
  uint16_t zero = 0;
  EXPECT_EQ(c->addField(&zero, 1, 0), FERR_BAD_FIELD_NUM);
  EXPECT_EQ(c->addField(nullptr, 0, 0), FERR_INVALID_PARM);
  EXPECT_EQ(c->addValue(FLM_INT32_VAL, nullptr, 0), FERR_INVALID_PARM);
  Cursor::free(&c);
}

TEST_F(FlmQueryParse, TextMustSpellANumberForNumericFields) {
  EXPECT_EQ(validateError({fld({kCount}), kEq, str("abc")}), FERR_CONV_BAD_DIGIT);
  EXPECT_EQ(validateError({str("12a"), kLt, fld({kCount})}), FERR_CONV_BAD_DIGIT);
  EXPECT_EQ(validateError({fld({kConcept}), kEq, str("x1")}), FERR_CONV_BAD_DIGIT);
  EXPECT_EQ(validateError({fld({kRecId}), kEq, str("seven")}), FERR_CONV_BAD_DIGIT);
  EXPECT_EQ(validateError({fld({kCount}), kEq, str("")}), FERR_CONV_BAD_DIGIT);
  EXPECT_EQ(validateError({fld({kCount}), kEq, str("-")}), FERR_CONV_BAD_DIGIT);
  EXPECT_EQ(validateError({fld({kCount}), kEq, str("-12")}), FERR_OK);
  EXPECT_EQ(validateError({fld({kLiteral}), kEq, str("abc")}), FERR_OK);
  EXPECT_EQ(validateError({fld({kCount}), kEq, str("99999999999999999999")}),
            FERR_CONV_NUM_OVERFLOW);
  EXPECT_EQ(validateError({fld({kCount}), kEq, str("9999999999999999999")}),
            FERR_CONV_NUM_OVERFLOW);
}

TEST_F(FlmQueryParse, NumbersAtTheEdgesOfSixtyFourBits) {
  for (int64_t n : {int64_t{INT64_MAX}, int64_t{INT64_MIN}, int64_t{-1}}) {
    Rec r(kEntry);
    r.number(kCount, n);
    addBoth(r);
  }
  EXPECT_EQ(both({fld({kCount}), kEq, str("9223372036854775807")}), (Drns{1}));
  EXPECT_EQ(both({fld({kCount}), kEq, str("-9223372036854775808")}), (Drns{2}));
  EXPECT_EQ(both({fld({kCount}), kLt, str("-9223372036854775807")}), (Drns{2}));
  EXPECT_EQ(both({fld({kCount}), kGe, str("-1")}), (Drns{1, 3}));
  // Digits past 64 bits in a text field are no number to meet one with.
  Rec r(kEntry);
  r.text(kLiteral, "9999999999999999999");
  uint32_t big = addBoth(r);
  EXPECT_EQ(both({fld({kLiteral}), kEq, num(5)}), Drns{});
  EXPECT_EQ(both({fld({kLiteral}), kEq, str("9999999999999999999")}), (Drns{big}));
}

TEST_F(FlmQueryParse, CriteriaGrowAndValidateAgain) {
  for (int i = 1; i <= 4; ++i) {
    Rec r(kEntry);
    r.number(kCount, i);
    addBoth(r);
  }
  Cursor* c = nullptr;
  ASSERT_EQ(Cursor::init(db_, 0, kData, &c), FERR_OK);
  ASSERT_EQ(addTerms(c, {fld({kCount}), kGt, num(1)}), FERR_OK);
  ASSERT_EQ(c->validate(), FERR_OK);
  EXPECT_EQ(drain(c), (Drns{2, 3, 4}));
  ASSERT_EQ(addTerms(c, {kAnd}), FERR_OK);
  EXPECT_EQ(c->validate(), FERR_CURSOR_SYNTAX);
  ASSERT_EQ(addTerms(c, {fld({kCount}), kLt, num(4)}), FERR_OK);
  ASSERT_EQ(c->validate(), FERR_OK);
  EXPECT_EQ(drain(c), (Drns{2, 3}));
  Cursor::free(&c);
}

}  // namespace

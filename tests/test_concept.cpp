// Word meanings and what hangs from them, on small databases loaded from
// record dumps: the collections' navigation, meanings added and read, their
// variants with usage labels, features and examples, their links and their
// equivalences to the inter-lingual index.
#include <corvid5/corvid5.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "engine/Layout.h"
#include "support/CollectionMoves.h"
#include "support/LoadedDatabase.h"
#include "support/SmallDatabases.h"

namespace {

constexpr uint32_t kStore = 100;
constexpr uint32_t kEmptyStore = 101;
constexpr uint32_t kBadRecordNumber = 0xC00A;
constexpr uint32_t kNotFound = 0xC006;

// Meanings: 1 dog, 2 animal, 3 an instance, 4 without part of speech, 5 run
// (two synonym links), 6 a code past the table, 7 a synonym of a missing
// index record, 42 bare. Definitions are placed so that looking one up in
// the wrong place finds a different name.
const std::string kDump = R"(
STORE 96 CONTAINER 360
0 @1@ USAGE_LABEL_DEFINITION
  1 USAGE_LABEL 3
  1 NAME register
  1 VALUES
    2 VALUE 1
      3 VALUE_TEXT formal
    2 VALUE 2
      3 VALUE_TEXT slang
0 @2@ USAGE_LABEL_DEFINITION
  1 USAGE_LABEL -2
  1 NAME shared minus two
STORE 100 CONTAINER 212
0 @1@ USAGE_LABEL_DEFINITION
  1 USAGE_LABEL -2
  1 NAME dialect
  1 VALUES
    2 VALUE 5
    2 VALUE_TEXT scots
0 @2@ USAGE_LABEL_DEFINITION
  1 USAGE_LABEL 3
  1 NAME local three
STORE 96 CONTAINER 370
0 @1@ FEATURE_DEFINITION
  1 FEATURE 4
  1 NAME countable
0 @2@ FEATURE_DEFINITION
  1 FEATURE 5
  1 NAME plural form
  1 VALUES
    2 TAG_22
0 @3@ FEATURE_DEFINITION
  1 FEATURE 0
  1 NAME shared zero
STORE 100 CONTAINER 213
0 @1@ FEATURE_DEFINITION
  1 FEATURE 0
  1 NAME local zero
0 @2@ FEATURE_DEFINITION
  1 FEATURE 4
  1 NAME local four
STORE 98 CONTAINER 32001
0 @1@ ILI_RECORD
  1 PART_OF_SPEECH 1
  1 WORDNET_OFFSET 2084071
0 @2@ ILI_RECORD
  1 PART_OF_SPEECH 1
0 @3@ ILI_RECORD
  1 PART_OF_SPEECH 2
STORE 100 CONTAINER 200
0 @3@ CONCEPT
  1 TYPE 2
  1 PART_OF_SPEECH 5
0 @4@ CONCEPT
  1 TYPE 1
)" + dumptext::meaning(1, 1) + dumptext::meaning(2, 1) + dumptext::meaning(5, 2) +
    dumptext::meaning(6, 7) + dumptext::meaning(7, 1) + dumptext::meaning(42, 1) + R"(
STORE 100 CONTAINER 32001
0 @101@ VARIANT
  1 CONCEPT @1@
    2 PART_OF_SPEECH 1
  1 LITERAL dog
    2 SENSE 1
  1 DEFINITION a domesticated canid
  1 STATUS checked
  1 EXAMPLES
    2 EXAMPLE the dog barked
    2 EXAMPLE a dog's life
    2 EXAMPLE dogs bark
  1 USAGE_LABELS
    2 USAGE_LABEL 3
      3 VALUE 2
    2 USAGE_LABEL 3
      3 VALUE 0
    2 USAGE_LABEL 3
    2 USAGE_LABEL 3
      3 VALUE 9
    2 USAGE_LABEL -2
      3 VALUE 5
    2 USAGE_LABEL 77
      3 VALUE 1
    2 FEATURE 4
    2 USAGE_LABEL abc
  1 FEATURES
    2 FEATURE 4
    2 FEATURE 5
      3 TAG_22 dogs
    2 FEATURE 5
    2 FEATURE 0
    2 FEATURE 99
    2 USAGE_LABEL 3
    2 FEATURE xyz
0 @102@ VARIANT
  1 CONCEPT @1@
    2 PART_OF_SPEECH 1
  1 LITERAL domestic dog
    2 SENSE 2
0 @103@ VARIANT
  1 CONCEPT @2@
    2 PART_OF_SPEECH 1
  1 LITERAL animal
    2 SENSE 1
0 @104@ VARIANT
  1 LITERAL orphan
0 @105@ VARIANT
  1 CONCEPT @999@
  1 LITERAL lost
0 @106@ VARIANT
  1 CONCEPT @3@
    2 PART_OF_SPEECH 5
  1 LITERAL Rex
STORE 100 CONTAINER 202
0 @201@ CONCEPT_LINK
  1 RELATION 8
  1 SOURCE_CONCEPT @1@
  1 TARGET_CONCEPT @2@
0 @202@ CONCEPT_LINK
  1 RELATION 12
  1 SOURCE_CONCEPT @1@
    2 VARIANT @101@
      3 LITERAL dog
  1 TARGET_CONCEPT @2@
    2 VARIANT @103@
      3 LITERAL animal
  1 CONJUNCTIVE 3
  1 DISJUNCTIVE -4
  1 FACTIVE
  1 NON_FACTIVE
  1 NEGATIVE yes
  1 REVERSED
0 @203@ CONCEPT_LINK
  1 RELATION 10
  1 SOURCE_CONCEPT @1@
  1 TARGET_CONCEPT
    2 LITERAL puppy
  1 NON_FACTIVE
0 @204@ CONCEPT_LINK
  1 RELATION 8
  1 SOURCE_CONCEPT @1@
    2 VARIANT @999@
  1 TARGET_CONCEPT @999@
STORE 100 CONTAINER 204
)" + dumptext::eqLink(301, 1, 1, 1) + dumptext::eqLink(302, 2, 1, 2) +
    dumptext::eqLink(303, 3, 1, 3) + dumptext::eqLink(304, 1, 5, 1) +
    dumptext::eqLink(305, 1, 5, 2) + dumptext::eqLink(306, 1, 7, 4);

using collectionmoves::expectEveryMoveMisses;
using collectionmoves::expectMovesFollowTheWalk;
using collectionmoves::moved;
using Database = testdb::LoadedDatabase;
using testdb::narrow;
using testdb::thrown;
using testdb::Thrown;

// The library makes its objects; a test reaches them through collections
// of its own, opened as the library opens them.
struct Meanings : Concepts {
  Meanings(void* db, uint32_t store, unsigned short container = layout::kMeanings)
      : Concepts(db, container, store) {}
};

// Every equivalence link of a store: a meaning keeps its own to itself.
struct StoredEqLinks : EqLinks {
  StoredEqLinks(void* db, uint32_t store) : EqLinks(db, layout::kEqLinks, store) {}
};

// A meaning that was never read: no database, no store.
struct Unbound : Concept {};
// What an out-argument holds before the call.
struct AnyIliRecord : ILIRecord {};
struct AnyIliRecords : ILIRecords {};

template <class T>
using Owned = std::unique_ptr<T>;

std::u16string text(unsigned short* bstr) {
  std::u16string out = bstr ? std::u16string(bstr, bstr + SysStringLen(bstr)) : u"<null>";
  SysFreeString(bstr);
  return out;
}

VARIANT variant(VARTYPE type, int32_t value) {
  VARIANT v;
  VariantInit(&v);
  v.vt = type;
  if (type == VT_I2)
    v.iVal = static_cast<SHORT>(value);
  else
    v.lVal = value;
  return v;
}

// The record numbers a collection walks with GetNext.
template <class C, class E>
std::vector<uint32_t> walk(C* collection) {
  Owned<C> held(collection);
  std::vector<uint32_t> ids;
  E* next = nullptr;
  while (held->GetNext(&next)) {
    ids.push_back(next->GetID());
    next->Destroy();
  }
  return ids;
}

class MeaningsTest : public ::testing::Test {
 protected:
  Owned<Concept> meaning(uint32_t id) {
    Meanings all(db.handle(), kStore);
    Concept* out = nullptr;
    EXPECT_EQ(all.GetItem(id, &out), 1) << id;
    return Owned<Concept>(out);
  }
  Owned<ConceptVariant> variantOf(uint32_t meaningId, short n) {
    return Owned<ConceptVariant>(meaning(meaningId)->GetConceptVariant(n));
  }

  Database db{kDump};
};

// ---------------------------------------------------------------------------
// Collections

TEST_F(MeaningsTest, NavigationReadsThroughTheCursor) {
  Meanings all(db.handle(), kStore);
  EXPECT_EQ(all.GetCount(), 8);
  // An unpositioned cursor reads its first record on GetNext.
  const std::pair<int (Concepts::*)(Concept**), uint32_t> steps[] = {
      {&Concepts::GetNext, 1},  {&Concepts::GetPrevious, 0}, {&Concepts::GetLast, 42},
      {&Concepts::GetPrevious, 7}, {&Concepts::GetCurrent, 7}, {&Concepts::GetNext, 42},
      {&Concepts::GetNext, 0}};
  for (const auto& [move, id] : steps) EXPECT_EQ((moved<Concept, Concepts>(all, move)), id);

  Meanings none(db.handle(), kEmptyStore);
  expectEveryMoveMisses<Concept, Concepts>(none);
}

// Every collection a meaning hands out, and the equivalence links, move as
// their own walks; those of a bare meaning and of an empty store miss on
// every move.
TEST_F(MeaningsTest, EachCollectionOfAMeaningMovesAsItsWalk) {
  Owned<Concept> dog = meaning(1);
  expectMovesFollowTheWalk<ConceptVariant>(*Owned<ConceptVariants>(dog->GetConceptVariants()));
  expectMovesFollowTheWalk<ConceptLink>(*Owned<ConceptLinks>(dog->GetConceptLinks(0)));
  StoredEqLinks equivalences(db.handle(), kStore);
  expectMovesFollowTheWalk<EqLink>(equivalences);
  ILIRecords* records = nullptr;
  ASSERT_EQ(dog->GetILIRecords(0, &records), 1);
  expectMovesFollowTheWalk<ILIRecord>(*Owned<ILIRecords>(records));

  Owned<Concept> bare = meaning(42);
  expectEveryMoveMisses<ConceptVariant>(*Owned<ConceptVariants>(bare->GetConceptVariants()));
  expectEveryMoveMisses<ConceptLink>(*Owned<ConceptLinks>(bare->GetConceptLinks(0)));
  StoredEqLinks noEquivalences(db.handle(), kEmptyStore);
  expectEveryMoveMisses<EqLink>(noEquivalences);
}

TEST_F(MeaningsTest, ItemsByRecordNumberAndByLiteral) {
  Meanings all(db.handle(), kStore);
  Concept* c = nullptr;
  ASSERT_EQ(all.GetItem(2u, &c), 1);
  EXPECT_EQ(c->GetRecordID(), 2);
  c->Destroy();
  EXPECT_EQ(all.GetItem(77u, &c), 0);
  // The criteria stay: the set is still every meaning.
  EXPECT_EQ(all.GetCount(), 8);

  // Over variant records the literal finds one; the criteria are replaced
  // for good.
  Meanings records(db.handle(), kStore, layout::kData);
  ASSERT_EQ(records.GetItem("animal", &c), 1);
  EXPECT_EQ(c->GetRecordID(), 103);
  c->Destroy();
  EXPECT_EQ(records.GetCount(), 1);
  EXPECT_EQ(records.GetItem("nothing", &c), 0);
  EXPECT_EQ(records.GetFirst(&c), 0);
  EXPECT_EQ(records.GetCount(), 0);

  // Elements outlive their collection.
  auto* owner = new Meanings(db.handle(), kStore);
  ASSERT_EQ(owner->GetFirst(&c), 1);
  owner->Destroy();
  EXPECT_EQ(c->GetRecordID(), 1);
  EXPECT_EQ(text(c->GetPartOfSpeech()), u"n");
  c->Destroy();
}

// ---------------------------------------------------------------------------
// Meanings added and read

TEST_F(MeaningsTest, MeaningsAddedByPartOfSpeech) {
  struct Row {
    const char* input;
    short code;  // 0: refused
    const char16_t* text;
  } rows[] = {{"N", 1, u"n"}, {"pn", 5, u"pn"}, {"P", 5, u"pn"}, {"v", 2, u"v"},
              {"A", 3, u"a"}, {"b", 4, u"b"},   {"R", 4, u"b"},   {"x", 0, nullptr},
              {"", 0, nullptr}, {"nn", 0, nullptr}, {nullptr, 0, nullptr}};
  Meanings all(db.handle(), kStore);
  int32_t count = all.GetCount();
  for (const Row& r : rows) {
    SCOPED_TRACE(r.input ? r.input : "(null)");
    Owned<Concept> added(all.AddMeaning(r.input));
    if (!r.code) {
      EXPECT_EQ(added, nullptr);
      EXPECT_EQ(all.GetCount(), count);
      continue;
    }
    ASSERT_NE(added, nullptr);
    EXPECT_EQ(all.GetCount(), ++count);
    // Read back from the database, not from the record handed out.
    Owned<Concept> stored = meaning(static_cast<uint32_t>(added->GetRecordID()));
    EXPECT_EQ(stored->GetType(), 1);
    EXPECT_EQ(stored->GetPartOfSpeechCode(), r.code);
    EXPECT_EQ(text(stored->GetPartOfSpeech()), r.text);
  }

  Owned<Concept> instance(all.AddInstance());
  ASSERT_NE(instance, nullptr);
  Owned<Concept> stored = meaning(static_cast<uint32_t>(instance->GetRecordID()));
  EXPECT_EQ(stored->GetType(), 2);
  EXPECT_EQ(stored->GetPartOfSpeechCode(), 5);
  EXPECT_EQ(all.GetCount(), ++count);

  // A coordinate is made like its model and left for the caller to store.
  Owned<Concept> model = meaning(3);
  Owned<Concept> coordinate(all.AddCoordinate(*model));
  ASSERT_NE(coordinate, nullptr);
  EXPECT_EQ(coordinate->GetRecordID(), 0);
  EXPECT_EQ(coordinate->GetType(), 2);
  EXPECT_EQ(coordinate->GetPartOfSpeechCode(), 5);
  EXPECT_EQ(coordinate->GetDatabase(), db.handle());
  EXPECT_EQ(all.GetCount(), count);
}

TEST_F(MeaningsTest, PartOfSpeechText) {
  struct Row {
    uint32_t id;
    short size;
    const char* written;
    short length;
    const char16_t* bstr;
  } rows[] = {
      {3, 2, "", 0, u"pn"},  {3, 3, "pn", 2, u"pn"}, {1, 2, "n", 1, u"n"}, {1, 1, "", 0, u"n"},
      {4, 2, "?", 1, u"?"},  {6, 4, "", 0, u""},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(testing::Message() << r.id << " in " << r.size);
    Owned<Concept> c = meaning(r.id);
    char buffer[8] = "XXXXXXX";
    EXPECT_EQ(c->GetPartOfSpeech(buffer, r.size), r.length);
    EXPECT_STREQ(buffer, r.written);
    EXPECT_EQ(text(c->GetPartOfSpeech()), r.bstr);
  }
  char untouched[2] = "X";
  EXPECT_EQ(meaning(1)->GetPartOfSpeech(untouched, 0), 0);
  EXPECT_STREQ(untouched, "X");
}

// ---------------------------------------------------------------------------
// Variants

TEST_F(MeaningsTest, VariantsOfAMeaning) {
  Owned<Concept> dog = meaning(1);
  EXPECT_EQ((walk<ConceptVariants, ConceptVariant>(dog->GetConceptVariants())),
            (std::vector<uint32_t>{101, 102}));
  EXPECT_EQ(dog->GetConceptVariantCount(), 2);
  EXPECT_EQ(Owned<ConceptVariant>(dog->GetConceptVariant(2))->GetID(), 102u);
  for (short n : {0, -1, 3})
    EXPECT_EQ(thrown([&] { delete dog->GetConceptVariant(n); }).error, errInvalidVariantNumber)
        << n;

  Owned<Concept> bare = meaning(42);
  EXPECT_EQ(bare->GetConceptVariantCount(), 0);
  EXPECT_EQ(thrown([&] { delete bare->GetConceptVariant(1); }).error, errInvalidVariantNumber);
}

TEST_F(MeaningsTest, VariantFields) {
  Owned<ConceptVariant> dog = variantOf(1, 1);
  EXPECT_EQ(text(dog->GetLiteral()), u"dog");
  EXPECT_EQ(dog->GetSense(), 1);
  EXPECT_EQ(text(dog->GetDefinition()), u"a domesticated canid");
  EXPECT_EQ(text(dog->GetStatus()), u"checked");
  EXPECT_EQ(dog->GetPartOfSpeechCode(), 1);
  EXPECT_EQ(text(dog->GetPartOfSpeech()), u"n");
  EXPECT_EQ(dog->GetBaseConceptID(), 1);
  EXPECT_EQ(Owned<Concept>(dog->GetBaseConcept())->GetRecordID(), 1);

  // Fields a variant lacks read as nothing.
  Owned<ConceptVariant> rex = variantOf(3, 1);
  EXPECT_EQ(text(rex->GetPartOfSpeech()), u"pn");
  EXPECT_EQ(rex->GetSense(), 0);
  for (unsigned short* missing : {rex->GetDefinition(), rex->GetStatus(), rex->GetUsageLabels(),
                                  rex->GetFeatures()})
    EXPECT_EQ(text(missing), u"<null>");
}

TEST_F(MeaningsTest, VariantsWithoutTheirMeaning) {
  Meanings records(db.handle(), kStore, layout::kData);
  struct Row {
    uint32_t id;
    uint32_t idCode, meaningCode;
  } rows[] = {{104, kBadRecordNumber, kBadRecordNumber}, {105, 0, kNotFound}};
  for (const Row& r : rows) {
    SCOPED_TRACE(r.id);
    Concept* record = nullptr;
    ASSERT_EQ(records.GetItem(r.id, &record), 1);
    // A variant is a record like any other; read it as one.
    Owned<Concept> held(record);
    Owned<ConceptVariant> v = variantOf(1, 1);
    *v = *held;
    if (r.idCode)
      EXPECT_EQ(thrown([&] { v->GetBaseConceptID(); }).flaim, r.idCode);
    else
      EXPECT_EQ(v->GetBaseConceptID(), 999);
    Thrown t = thrown([&] { delete v->GetBaseConcept(); }, true);
    EXPECT_EQ(t.error, errFlaim);
    EXPECT_EQ(t.flaim, r.meaningCode);
    EXPECT_NE(t.message.find("-- ConceptVariant ("), std::string::npos) << t.message;
  }
}

// Every kind of label entry, looked up by the sign of its id: ids below 1
// in the wordnet's own store, the others among the shared ones.
TEST_F(MeaningsTest, UsageLabelsAndFeaturesAsText) {
  Owned<ConceptVariant> dog = variantOf(1, 1);
  EXPECT_EQ(text(dog->GetUsageLabels()),
            u"register = \"slang\"\r\n"
            u"register = <zero value>\r\n"
            u"register = <missing value>\r\n"
            u"register = <unexpected value>\r\n"
            u"dialect = \"scots\"\r\n"
            u"Error! Unknown label\r\n"
            u"Error! Invalid usage label tag\r\n"
            u"Error! Invalid label ID\r\n");
  EXPECT_EQ(text(dog->GetFeatures()),
            u"countable\r\n"
            u"plural form = \"dogs\"\r\n"
            u"plural form = <missing feature value>\r\n"
            u"local zero\r\n"
            u"Error! Unknown feature\r\n"
            u"Error! Invalid feature tag\r\n"
            u"Error! Invalid feature ID\r\n");
}

TEST_F(MeaningsTest, ExamplesByOrdinal) {
  Owned<ConceptVariant> dog = variantOf(1, 1);
  Owned<Examples> examples(dog->GetExamples());
  EXPECT_EQ(examples->GetCount(), 3);
  struct Row {
    VARTYPE type;
    int32_t value;
    const char16_t* item;
  } rows[] = {{VT_I2, 1, u"the dog barked"}, {VT_I4, 2, u"a dog's life"},
              {VT_UI4, 3, u"dogs bark"},     {VT_I4, 0x10003, u"dogs bark"},
              {VT_I2, 0, u"<null>"},         {VT_I4, 4, u"<null>"},
              {VT_I2, -1, u"<null>"}};
  for (const Row& r : rows)
    EXPECT_EQ(text(examples->GetItem(variant(r.type, r.value))), r.item) << r.value;

  for (VARTYPE bad : {VT_BSTR, VT_EMPTY}) {
    VARIANT v = variant(bad, 0);
    v.bstrVal = nullptr;
    EXPECT_EQ(thrown([&] { SysFreeString(examples->GetItem(v)); }).error, errUndefined);
    EXPECT_EQ(thrown([&] { examples->Remove(v); }).error, errUndefined);
  }
}

TEST_F(MeaningsTest, ExamplesWalkedAddedAndRemoved) {
  Owned<ConceptVariant> dog = variantOf(1, 1);
  Owned<Examples> examples(dog->GetExamples());
  unsigned short* out = nullptr;
  auto step = [&](int (Examples::*move)(unsigned short**)) {
    out = nullptr;
    return (examples.get()->*move)(&out) ? text(out) : u"<0>";
  };
  // From the list itself the next example is the first.
  EXPECT_EQ(step(&Examples::GetNext), u"the dog barked");
  EXPECT_EQ(step(&Examples::GetNext), u"a dog's life");
  EXPECT_EQ(step(&Examples::GetNext), u"dogs bark");
  EXPECT_EQ(step(&Examples::GetNext), u"<0>");
  EXPECT_EQ(step(&Examples::GetCurrent), u"dogs bark");
  EXPECT_EQ(step(&Examples::GetPrevious), u"a dog's life");
  EXPECT_EQ(step(&Examples::GetFirst), u"the dog barked");
  EXPECT_EQ(step(&Examples::GetPrevious), u"<0>");
  EXPECT_EQ(step(&Examples::GetLast), u"dogs bark");

  examples->Add("a new one");
  EXPECT_EQ(examples->GetCount(), 4);
  EXPECT_EQ(step(&Examples::GetLast), u"a new one");
  examples->Remove(variant(VT_I2, 1));
  EXPECT_EQ(step(&Examples::GetFirst), u"a dog's life");
  EXPECT_EQ(examples->GetCount(), 3);
  Thrown missing = thrown([&] { examples->Remove(variant(VT_I2, 9)); });
  EXPECT_EQ(missing.error, errFlaim);
  EXPECT_EQ(missing.flaim, kNotFound);
  // The list is a copy: the variant keeps its own examples.
  EXPECT_EQ(Owned<Examples>(dog->GetExamples())->GetCount(), 3);
  EXPECT_EQ(text(Owned<Examples>(dog->GetExamples())->GetItem(variant(VT_I2, 1))),
            u"the dog barked");

  // A variant without examples gives an empty list of its own.
  Owned<Examples> none(variantOf(2, 1)->GetExamples());
  unsigned short sentinel = 0;
  unsigned short* kept = &sentinel;
  EXPECT_EQ(none->GetFirst(&kept), 0);
  EXPECT_EQ(kept, &sentinel);
  none->Add("one");
  EXPECT_EQ(text(none->GetItem(variant(VT_I2, 1))), u"one");
}

// ---------------------------------------------------------------------------
// Links

TEST_F(MeaningsTest, LinksByRelation) {
  Owned<Concept> dog = meaning(1);
  struct Row {
    short relation;
    std::vector<uint32_t> links;
  } rows[] = {{0, {201, 202, 203, 204}}, {8, {201, 204}}, {10, {203}}, {12, {202}}, {5, {}}};
  for (const Row& r : rows)
    EXPECT_EQ((walk<ConceptLinks, ConceptLink>(dog->GetConceptLinks(r.relation))), r.links)
        << r.relation;
  EXPECT_EQ((walk<ConceptLinks, ConceptLink>(meaning(2)->GetConceptLinks(0))),
            std::vector<uint32_t>{});
}

// The join reads the link's source on both sides, so a meaning with such a
// link finds itself, and one without finds nothing.
TEST_F(MeaningsTest, LinkedConceptsAreTheMeaningItself) {
  Owned<Concept> dog = meaning(1);
  using Ids = std::vector<uint32_t>;
  EXPECT_EQ((walk<Concepts, Concept>(dog->GetLinkedConcepts(0))), Ids{1});
  EXPECT_EQ((walk<Concepts, Concept>(dog->GetHyperonyms())), Ids{1});
  EXPECT_EQ((walk<Concepts, Concept>(dog->GetHyponyms())), Ids{1});
  EXPECT_EQ((walk<Concepts, Concept>(dog->GetLinkedConcepts(5))), Ids{});
  EXPECT_EQ((walk<Concepts, Concept>(meaning(2)->GetHyperonyms())), Ids{});
}

TEST_F(MeaningsTest, LinkFields) {
  struct Row {
    uint32_t id;
    short relation;
    int32_t source, target;
    short conjunctive, disjunctive, factivity;
    int negative, reversed;
  } rows[] = {
      {201, 8, 1, 2, 0, 0, 0, 0, 0},
      {202, 12, 1, 2, 3, -4, 1, 1, 1},  // factive and non-factive: factive
      {203, 10, 1, 0, 0, 0, 2, 0, 0},
      {204, 8, 1, 999, 0, 0, 0, 0, 0},
  };
  Owned<ConceptLinks> links(meaning(1)->GetConceptLinks(0));
  ConceptLink* next = nullptr;
  for (const Row& r : rows) {
    SCOPED_TRACE(r.id);
    ASSERT_EQ(links->GetNext(&next), 1);
    Owned<ConceptLink> link(next);
    ASSERT_EQ(link->GetID(), r.id);
    EXPECT_EQ(link->GetRelation(), r.relation);
    EXPECT_EQ(link->GetSourceConceptID(), r.source);
    EXPECT_EQ(link->GetTargetConceptID(), r.target);
    EXPECT_EQ(link->GetConjunctive(), r.conjunctive);
    EXPECT_EQ(link->GetDisjunctive(), r.disjunctive);
    EXPECT_EQ(link->GetFactivity(), r.factivity);
    EXPECT_EQ(link->GetNegative(), r.negative);
    EXPECT_EQ(link->GetReversed(), r.reversed);
  }
}

TEST_F(MeaningsTest, LinkEndsRead) {
  std::vector<Owned<ConceptLink>> links;
  Owned<ConceptLinks> all(meaning(1)->GetConceptLinks(0));
  for (ConceptLink* next = nullptr; all->GetNext(&next);) links.emplace_back(next);
  ASSERT_EQ(links.size(), 4u);
  ConceptLink& plain = *links[0];
  ConceptLink& variants = *links[1];
  ConceptLink& inline_ = *links[2];
  ConceptLink& missing = *links[3];

  EXPECT_EQ(Owned<Concept>(plain.GetSourceConcept())->GetRecordID(), 1);
  EXPECT_EQ(Owned<Concept>(plain.GetTargetConcept())->GetRecordID(), 2);
  EXPECT_EQ(plain.GetSourceVariant(), nullptr);
  EXPECT_EQ(plain.GetTargetVariant(), nullptr);
  EXPECT_EQ(text(Owned<ConceptVariant>(variants.GetSourceVariant())->GetLiteral()), u"dog");
  EXPECT_EQ(text(Owned<ConceptVariant>(variants.GetTargetVariant())->GetLiteral()), u"animal");

  // A target told inline names no meaning; one that names a missing
  // meaning or variant fails with the read's code.
  EXPECT_EQ(thrown([&] { delete inline_.GetTargetConcept(); }).flaim, kBadRecordNumber);
  EXPECT_EQ(inline_.GetTargetVariant(), nullptr);
  Thrown target = thrown([&] { delete missing.GetTargetConcept(); });
  EXPECT_EQ(target.error, errFlaim);
  EXPECT_EQ(target.flaim, kNotFound);
  EXPECT_EQ(missing.GetFlmError().GetError(), kNotFound);
  EXPECT_EQ(thrown([&] { delete missing.GetSourceVariant(); }).flaim, kNotFound);
}

// ---------------------------------------------------------------------------
// Equivalences

TEST_F(MeaningsTest, EquivalenceRelationsAndTheSynonym) {
  struct Row {
    uint32_t meaning, ili;
    short relation;
  } rows[] = {{1, 1, 1}, {1, 2, 2}, {1, 3, 3}, {1, 4, 0}, {5, 2, 1}, {42, 1, 0}};
  for (const Row& r : rows)
    EXPECT_EQ(meaning(r.meaning)->GetEqRelation(r.ili), r.relation) << r.meaning << "/" << r.ili;

  ILIRecord* ili = nullptr;
  ASSERT_EQ(meaning(1)->GetEqSynonym(&ili), 1);
  EXPECT_EQ(ili->GetRecordID(), 1);
  EXPECT_EQ(ili->GetStore(), layout::kIliStore);
  ili->Destroy();
  // Two synonym links, none, or one to a record that is not there: none.
  AnyIliRecord sentinel;
  for (uint32_t id : {5u, 42u, 7u}) {
    ili = &sentinel;
    EXPECT_EQ(meaning(id)->GetEqSynonym(&ili), 0) << id;
    EXPECT_EQ(ili, nullptr) << id;
  }
}

TEST_F(MeaningsTest, IndexRecordsOfAMeaning) {
  using Ids = std::vector<uint32_t>;
  struct Row {
    uint32_t meaning;
    short relation;
    Ids records;  // empty: none
  } rows[] = {{1, 0, {1, 2, 3}}, {1, 2, {2}}, {1, 7, {}}, {5, 1, {1, 2}}, {42, 0, {}}};
  for (const Row& r : rows) {
    SCOPED_TRACE(testing::Message() << r.meaning << "/" << r.relation);
    AnyIliRecords sentinel;
    ILIRecords* records = &sentinel;
    const int found = meaning(r.meaning)->GetILIRecords(r.relation, &records);
    EXPECT_EQ(found, r.records.empty() ? 0 : 1);
    if (!found) {
      EXPECT_EQ(records, nullptr);
      continue;
    }
    EXPECT_EQ(records->GetCount(), static_cast<int32_t>(r.records.size()));
    EXPECT_EQ((walk<ILIRecords, ILIRecord>(records)), r.records);
  }
}

// Criteria that cannot be validated (here: a meaning bound to no database)
// throw the cursor's code, which the meaning keeps as its last error.
TEST(Concept, UnvalidatedCriteriaThrowTheCursorsCode) {
  Unbound nowhere;
  const std::vector<std::function<void()>> calls = {
      [&] { delete nowhere.GetConceptVariants(); },
      [&] { delete nowhere.GetConceptLinks(8); },
      [&] { nowhere.GetConceptVariantCount(); },
      [&] { nowhere.GetEqRelation(1); },
  };
  for (const auto& call : calls) {
    Thrown t = thrown(call, true);
    EXPECT_EQ(t.error, errFlaim);
    EXPECT_NE(t.flaim, 0u);
    EXPECT_EQ(nowhere.GetFlmError().GetError(), t.flaim);
    EXPECT_NE(t.message.find("-- Concept ("), std::string::npos) << t.message;
  }
}

}  // namespace

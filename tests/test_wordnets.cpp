// Language wordnets, their dictionary and the relations table on the English
// database built from WordNet 3.0, the dictionaries of a database built from
// slices of every kind of source, and the road a client takes from a word to
// the top ontology and back, in English and French, on the database built
// with the shared wordnets; LeakSanitizer watches that everything handed out
// is released.
#include <corvid5/corvid5.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "corvid/Library.h"
#include "support/BuiltDatabase.h"
#include "support/CachedDatabases.h"
#include "support/CollectionMoves.h"
#include "support/Slices.h"
#include "support/SmallDatabases.h"
#include "support/TestFiles.h"

namespace {

using collectionmoves::expectMovesFollowTheWalk;
using corvid::forEach;
using corvid::Owned;
using testdb::narrow;

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

enum Walk { kForwards, kBackwards };

// The word forms a walk hands out; the entries are released on the way.
std::vector<std::string> walk(Dictionary& dictionary, Walk direction) {
  std::vector<std::string> out;
  DictionaryEntry* entry = nullptr;
  int more = direction == kForwards ? dictionary.GetFirst(&entry) : dictionary.GetLast(&entry);
  while (more) {
    out.push_back(narrow(Owned<DictionaryEntry>(entry)->GetLiteral()));
    more = direction == kForwards ? dictionary.GetNext(&entry) : dictionary.GetPrevious(&entry);
  }
  return out;
}

class EnglishWordNet : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    const std::string path = testdb::englishDatabase();
    if (path.empty()) return;
    polylex_ = new Polylex;
    polylex_->Open(path.c_str(), nullptr, 1, 0);
    english_ = Owned<LanguageWordNets>(polylex_->GetLanguageWordNets())->GetItem("en");
  }
  static void TearDownTestSuite() {
    if (english_) english_->Destroy();
    english_ = nullptr;
    delete polylex_;
    polylex_ = nullptr;
  }
  void SetUp() override {
    if (!polylex_) GTEST_SKIP() << "no English database: WordNet 3.0 files missing";
  }

  static Owned<Dictionary> dictionary() { return Owned<Dictionary>(english_->GetDictionary()); }

  static Polylex* polylex_;
  static LanguageWordNet* english_;
};

Polylex* EnglishWordNet::polylex_ = nullptr;
LanguageWordNet* EnglishWordNet::english_ = nullptr;

TEST_F(EnglishWordNet, RangesWalkEachWordFormOnceInBothDirections) {
  std::vector<std::string> sensitive;
  for (const int caseSensitive : {1, 0}) {
    SCOPED_TRACE(caseSensitive ? "bank..banl" : "BANK..BANL");
    const char* from = caseSensitive ? "bank" : "BANK";
    const char* to = caseSensitive ? "banl" : "BANL";
    Owned<Dictionary> words = dictionary();
    words->SetFilter(from, to, caseSensitive);
    const std::vector<std::string> forwards = walk(*words, kForwards);
    words->SetFilter(from, to, caseSensitive);
    std::vector<std::string> backwards = walk(*words, kBackwards);
    std::reverse(backwards.begin(), backwards.end());
    EXPECT_EQ(forwards, backwards);
    ASSERT_GT(forwards.size(), 5u);
    EXPECT_EQ(std::set<std::string>(forwards.begin(), forwards.end()).size(), forwards.size());
    // Every record of the range is one of the word forms handed out.
    EXPECT_GT(words->GetCount(), static_cast<int32_t>(forwards.size()));
    // The index orders letters before their case, so "Bankhead" lies
    // between "bank" and "banl" whatever the case switch says.
    for (const std::string& word : forwards)
      EXPECT_TRUE(lower(word) >= "bank" && lower(word) < "banl") << word;
    EXPECT_EQ(std::count(forwards.begin(), forwards.end(), "bank"), 1);
    if (caseSensitive)
      sensitive = forwards;
    else
      EXPECT_EQ(forwards, sensitive) << "no word form of this range differs only in case";
  }

  // An empty upper bound lets nothing through.
  Owned<Dictionary> words = dictionary();
  words->SetFilter(nullptr, "", 1);
  DictionaryEntry* entry = nullptr;
  EXPECT_EQ(words->GetFirst(&entry), 0);
  EXPECT_EQ(words->GetCount(), 0);
}

TEST_F(EnglishWordNet, PatternsFollowTheCaseSwitch) {
  Owned<Dictionary> words = dictionary();
  words->SetFilter("dogw*", 1);
  const std::vector<std::string> sensitive = walk(*words, kForwards);
  EXPECT_NE(std::find(sensitive.begin(), sensitive.end(), "dogwood"), sensitive.end());
  for (const std::string& word : sensitive) EXPECT_EQ(word.rfind("dogw", 0), 0u) << word;
  words->SetFilter("DOGW*", 1);
  EXPECT_TRUE(walk(*words, kForwards).empty());
  words->SetFilter("DOGW*", 0);
  EXPECT_EQ(walk(*words, kForwards), sensitive);
}

TEST_F(EnglishWordNet, LastEntryIsNotHandedOutTwice) {
  Owned<Dictionary> words = dictionary();
  words->SetFilter("dog", "doga", 1);
  DictionaryEntry* entry = nullptr;
  ASSERT_EQ(words->GetFirst(&entry), 1);
  const std::string first = narrow(entry->GetLiteral());
  EXPECT_EQ(entry->HasConcepts(), 1);
  EXPECT_EQ(entry->HasDomains() + entry->HasILIRecords() + entry->HasTopConcepts(), 0);
  entry->Destroy();
  EXPECT_EQ(words->GetFirst(&entry), 0) << "the same word form again";
  ASSERT_EQ(words->GetCurrent(&entry), 1);
  EXPECT_EQ(narrow(Owned<DictionaryEntry>(entry)->GetLiteral()), first);

  // A pattern keeps the last entry; a range forgets it.
  words->SetFilter((first + "*").c_str(), 1);
  EXPECT_EQ(words->GetFirst(&entry), 0);
  words->SetFilter("dog", "doga", 1);
  ASSERT_EQ(words->GetFirst(&entry), 1);
  EXPECT_EQ(narrow(Owned<DictionaryEntry>(entry)->GetLiteral()), first);
}

TEST_F(EnglishWordNet, LookupIgnoresCaseAndReplacesTheFilter) {
  Owned<Dictionary> words = dictionary();
  words->SetFilter("a", "b", 1);
  EXPECT_EQ(narrow(Owned<DictionaryEntry>(words->GetEntry("DoG"))->GetLiteral()), "dog");
  // Only the records of "dog" (any case) are left: eight senses.
  EXPECT_EQ(words->GetCount(), 8);
  try {
    words->GetEntry("qqqxqqq");
    ADD_FAILURE() << "found";
  } catch (const PLXException& e) {
    EXPECT_EQ(e.GetFLAIMError(), 0xC006u);
  }
}

TEST_F(EnglishWordNet, RelationNamesAndIdsTranslateBothWays) {
  Owned<Relations> relations(polylex_->GetRelations());
  ASSERT_GT(relations->GetCount(), 10u);
  std::set<short> ids;
  forEach(*relations, [&](Owned<Relation> relation) {
    const short id = relation->GetRelationID();
    std::string name = narrow(relation->GetName());
    ids.insert(id);
    char buffer[64] = {};
    EXPECT_EQ(relations->GetRelationName(id, buffer, sizeof buffer), 1);
    EXPECT_EQ(buffer, name);
    short found = 0;
    EXPECT_EQ(relations->GetRelationID(name.data(), &found), 1) << name;
    EXPECT_EQ(found, id) << name;
  });
  EXPECT_EQ(ids.size(), relations->GetCount());
  EXPECT_TRUE(ids.count(8) && ids.count(10)) << "hyperonym and hyponym are fixed ids";
}

// ---------------------------------------------------------------------------
// Dictionaries of every kind of source

// The small database built from slices of WordNet and of the OMW sources.
// Each language store also holds the words of the index records and of the
// top concepts; the dictionary lists none of them.
class SlicedWordNets : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    if (!std::filesystem::exists(testfiles::wordnetDir() + "/data.noun")) return;
    dir_ = new testfiles::ScratchDir;
    const std::string path = dir_->file("small.db");
    built_ = new PolylexBuildResult(slices::buildSmallDatabase(path, dir_->path()));
    polylex_ = new Polylex;
    polylex_->Open(path.c_str(), nullptr, 1, 0);
  }
  static void TearDownTestSuite() {
    delete polylex_;
    delete built_;
    delete dir_;
  }
  void SetUp() override {
    if (!polylex_) GTEST_SKIP() << "no small database: WordNet 3.0 files missing";
  }

  struct SourceWords {
    std::set<std::string> forms;
    uint64_t senses = 0;
  };
  static SourceWords countSource(const std::string& source) {
    if (source.ends_with(".tab")) {
      testdb::TabCounts tab = testdb::countTab(source);
      return {std::move(tab.lemmas), tab.senses};
    }
    testdb::WordNetCounts wordnet = testdb::countWordNet(source);
    return {std::move(wordnet.wordForms), wordnet.wordSenses};
  }

  static testfiles::ScratchDir* dir_;
  static PolylexBuildResult* built_;
  static Polylex* polylex_;
};

testfiles::ScratchDir* SlicedWordNets::dir_ = nullptr;
PolylexBuildResult* SlicedWordNets::built_ = nullptr;
Polylex* SlicedWordNets::polylex_ = nullptr;

TEST_F(SlicedWordNets, DictionaryListsEachWordOfTheSourceOnce) {
  ASSERT_EQ(built_->languages.size(), slices::omwSources().size() + 1);
  Owned<LanguageWordNets> wordnets(polylex_->GetLanguageWordNets());
  for (const PolylexLanguageReport& language : built_->languages) {
    SCOPED_TRACE(language.source);
    const SourceWords source = countSource(language.source);
    ASSERT_FALSE(source.forms.empty());
    Owned<LanguageWordNet> wordnet(wordnets->GetItem(language.code.c_str()));
    ASSERT_NE(wordnet, nullptr);
    Owned<Dictionary> words(wordnet->GetDictionary());
    // One record per sense, whether or not a filter was ever set.
    EXPECT_EQ(words->GetCount(), static_cast<int32_t>(source.senses));
    const std::vector<std::string> walked = walk(*words, kForwards);
    EXPECT_EQ(std::set<std::string>(walked.begin(), walked.end()), source.forms);
    EXPECT_EQ(walked.size(), source.forms.size()) << "each word form once";
    words->SetFilter(nullptr, nullptr, 1);
    EXPECT_EQ(words->GetCount(), static_cast<int32_t>(source.senses));
    EXPECT_EQ(walk(*words, kForwards), walked);
  }
}

// ---------------------------------------------------------------------------
// A client's road

int32_t offsetOf(Concept& meaning) {
  ILIRecord* ili = nullptr;
  return meaning.GetEqSynonym(&ili) ? Owned<ILIRecord>(ili)->GetWordNetOffset() : 0;
}

template <class Words>
std::set<std::string> literalsOf(Words* words) {
  std::set<std::string> literals;
  forEach(*Owned<Words>(words), [&](auto word) { literals.insert(narrow(word->GetLiteral())); });
  return literals;
}

// The literals of the meanings' variants.
std::set<std::string> variantsOf(Concepts* meanings) {
  std::set<std::string> literals;
  forEach(*Owned<Concepts>(meanings), [&](Owned<Concept> meaning) {
    literals.merge(literalsOf(meaning->GetConceptVariants()));
  });
  return literals;
}

void roadFromDog(Polylex& polylex) {
  // Languages, named in English.
  Owned<LanguageWordNets> wordnets(polylex.GetLanguageWordNets());
  std::set<std::string> names;
  forEach(*wordnets, [&](Owned<LanguageWordNet> wordnet) {
    names.insert(narrow(Owned<Language>(wordnet->GetLanguage())->GetName("en")));
  });
  EXPECT_EQ(names.size(), testdb::chosenTabFiles().size() + 1);
  EXPECT_TRUE(names.count("English") && names.count("French") && names.count("Danish"));
  Owned<LanguageWordNet> english(wordnets->GetItem("en"));
  Owned<LanguageWordNet> french(wordnets->GetItem("fr"));
  ASSERT_NE(french, nullptr);

  // The first sense of "dog" among its meanings.
  Owned<Concept> dog;
  forEach(*Owned<Concepts>(english->GetConcepts("dog")), [&](Owned<Concept> meaning) {
    if (!dog && offsetOf(*meaning) == 2084071) dog = std::move(meaning);
  });
  ASSERT_NE(dog, nullptr);
  EXPECT_EQ(Owned<ConceptVariants>(english->GetConceptVariants("dog"))->GetCount(), 8);
  const std::set<std::string> literals = literalsOf(dog->GetConceptVariants());
  EXPECT_TRUE(literals.count("dog") && literals.count("Canis familiaris")) << literals.size();

  // GetHyperonyms answers the meaning itself when it has a hyperonym; the
  // hyperonyms proper are the targets of its hyperonym links.
  EXPECT_EQ(Owned<Concepts>(dog->GetHyperonyms())->GetCount(), 1);
  std::set<int32_t> hyperonyms;
  forEach(*Owned<ConceptLinks>(dog->GetConceptLinks(8)), [&](Owned<ConceptLink> link) {
    hyperonyms.insert(offsetOf(*Owned<Concept>(link->GetTargetConcept())));
  });
  EXPECT_EQ(hyperonyms, (std::set<int32_t>{2083346, 1317541}));  // canine, domestic animal

  // From the index record to the top ontology.
  ILIRecord* iliRecord = nullptr;
  ASSERT_EQ(dog->GetEqSynonym(&iliRecord), 1);
  Owned<ILIRecord> ili(iliRecord);
  EXPECT_EQ(narrow(ili->GetPartOfSpeech()), "n");
  TopConcept* top = reinterpret_cast<TopConcept*>(iliRecord);
  ASSERT_EQ(ili->GetTopConcept(&top), 1);
  Owned<TopConcept> lexicographerFile(top);
  EXPECT_EQ(top->GetTopConceptVariantCount(english->GetStoreID()), 1);
  TopConcept* super = nullptr;
  ASSERT_EQ(top->GetSuper(&super), 1);
  Owned<TopConcept> partOfSpeech(super);
  TopConcept* above = nullptr;
  EXPECT_EQ(super->GetSuper(&above), 0) << "a part of speech heads the ontology";
  LinkedTopConcepts* subs = nullptr;
  ASSERT_EQ(super->GetSubs(&subs), 1);
  bool listed = false;
  forEach(*Owned<LinkedTopConcepts>(subs), [&](Owned<TopConcept> sub) {
    listed = listed || sub->GetRecordID() == top->GetRecordID();
  });
  EXPECT_TRUE(listed);

  // And back to the words of the index record, in English and in French.
  const uint32_t record = static_cast<uint32_t>(ili->GetRecordID());
  EXPECT_EQ(literalsOf(english->GetILIVariants(record)), literals);
  expectMovesFollowTheWalk<ILIVariant>(*Owned<ILIVariants>(english->GetILIVariants(record)));
  EXPECT_EQ(french->GetConcepts(record, 99), nullptr);
  Concepts* chiens = french->GetConcepts(record, 0);
  ASSERT_NE(chiens, nullptr);
  EXPECT_EQ(chiens->GetCount(), 1);
  const std::set<std::string> frenchLiterals = variantsOf(chiens);
  EXPECT_TRUE(frenchLiterals.count("chien"));
  EXPECT_EQ(literalsOf(french->GetILIVariants(record)), frenchLiterals);
}

TEST(ClientRoad, FromTheEngineToTheTopOntologyAndBack) {
  const std::string path = testdb::polylexDatabase();
  if (path.empty()) GTEST_SKIP() << "no database: WordNet 3.0 files missing";
  try {
    ASSERT_NE(CorvidEngine::GetInstance(), nullptr);
    Polylex polylex;
    polylex.Open(path.c_str(), nullptr, 1, 0);
    roadFromDog(polylex);
    polylex.Close();
    CorvidEngine::DestroyInstance();
  } catch (const PLXException& e) {
    FAIL() << static_cast<const char*>(e);
  }
}

}  // namespace

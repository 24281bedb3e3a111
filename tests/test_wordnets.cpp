// Language wordnets, their dictionary and the relations table on the English
// database built from WordNet 3.0, opened through Polylex.
#include <corvid5/Concept.h>
#include <corvid5/ConceptVariant.h>
#include <corvid5/CorvidEngine.h>
#include <corvid5/Dictionary.h>
#include <corvid5/EqLink.h>
#include <corvid5/ILIRecord.h>
#include <corvid5/LanguageWordNet.h>
#include <corvid5/PLXException.h>
#include <corvid5/Platform.h>
#include <corvid5/Polylex.h>
#include <corvid5/Relations.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "support/CachedDatabases.h"
#include "support/SmallDatabases.h"

namespace {

using testdb::narrow;

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

class EnglishWordNet : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    const std::string path = testdb::englishDatabase();
    if (path.empty()) return;
    polylex_ = new Polylex;
    polylex_->Open(path.c_str(), nullptr, 1, 0);
    LanguageWordNets* wordnets = polylex_->GetLanguageWordNets();
    english_ = wordnets->GetItem("en");
    wordnets->Destroy();
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

  enum Walk { kForwards, kBackwards };
  // The word forms a walk hands out; the entries are released on the way.
  static std::vector<std::string> walk(Dictionary& dictionary, Walk direction) {
    std::vector<std::string> out;
    DictionaryEntry* entry = nullptr;
    int more = direction == kForwards ? dictionary.GetFirst(&entry) : dictionary.GetLast(&entry);
    while (more) {
      out.push_back(narrow(entry->GetLiteral()));
      entry->Destroy();
      more = direction == kForwards ? dictionary.GetNext(&entry) : dictionary.GetPrevious(&entry);
    }
    return out;
  }

  static Polylex* polylex_;
  static LanguageWordNet* english_;
};

Polylex* EnglishWordNet::polylex_ = nullptr;
LanguageWordNet* EnglishWordNet::english_ = nullptr;

TEST_F(EnglishWordNet, RangesWalkEachWordFormOnceInBothDirections) {
  struct Case {
    const char* from;
    const char* to;
    int caseSensitive;
  } const cases[] = {{"bank", "banl", 1}, {"BANK", "BANL", 0}};
  std::vector<std::string> sensitive;
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.from) + ".." + c.to + (c.caseSensitive ? " sensitive" : ""));
    Dictionary* dictionary = english_->GetDictionary();
    dictionary->SetFilter(c.from, c.to, c.caseSensitive);
    const std::vector<std::string> forwards = walk(*dictionary, kForwards);
    dictionary->SetFilter(c.from, c.to, c.caseSensitive);
    std::vector<std::string> backwards = walk(*dictionary, kBackwards);
    std::reverse(backwards.begin(), backwards.end());
    EXPECT_EQ(forwards, backwards);
    ASSERT_GT(forwards.size(), 5u);
    EXPECT_EQ(std::set<std::string>(forwards.begin(), forwards.end()).size(), forwards.size());
    // Every record of the range is one of the word forms handed out.
    EXPECT_GT(dictionary->GetCount(), static_cast<int32_t>(forwards.size()));
    // The index orders letters before their case, so "Bankhead" lies
    // between "bank" and "banl" whatever the case switch says.
    for (const std::string& word : forwards)
      EXPECT_TRUE(lower(word) >= lower(c.from) && lower(word) < lower(c.to)) << word;
    EXPECT_EQ(std::count(forwards.begin(), forwards.end(), "bank"), 1);
    if (c.caseSensitive)
      sensitive = forwards;
    else
      EXPECT_EQ(forwards, sensitive) << "no word form of this range differs only in case";
    dictionary->Destroy();
  }

  // An empty upper bound lets nothing through.
  Dictionary* dictionary = english_->GetDictionary();
  dictionary->SetFilter(nullptr, "", 1);
  DictionaryEntry* entry = nullptr;
  EXPECT_EQ(dictionary->GetFirst(&entry), 0);
  EXPECT_EQ(dictionary->GetCount(), 0);
  dictionary->Destroy();
}

TEST_F(EnglishWordNet, PatternsFollowTheCaseSwitch) {
  Dictionary* dictionary = english_->GetDictionary();
  dictionary->SetFilter("dogw*", 1);
  const std::vector<std::string> sensitive = walk(*dictionary, kForwards);
  EXPECT_NE(std::find(sensitive.begin(), sensitive.end(), "dogwood"), sensitive.end());
  for (const std::string& word : sensitive) EXPECT_EQ(word.rfind("dogw", 0), 0u) << word;
  dictionary->SetFilter("DOGW*", 1);
  EXPECT_TRUE(walk(*dictionary, kForwards).empty());
  dictionary->SetFilter("DOGW*", 0);
  EXPECT_EQ(walk(*dictionary, kForwards), sensitive);
  dictionary->Destroy();
}

TEST_F(EnglishWordNet, LastEntryIsNotHandedOutTwice) {
  Dictionary* dictionary = english_->GetDictionary();
  dictionary->SetFilter("dog", "doga", 1);
  DictionaryEntry* entry = nullptr;
  ASSERT_EQ(dictionary->GetFirst(&entry), 1);
  const std::string first = narrow(entry->GetLiteral());
  EXPECT_EQ(entry->HasConcepts(), 1);
  EXPECT_EQ(entry->HasDomains() + entry->HasILIRecords() + entry->HasTopConcepts(), 0);
  entry->Destroy();
  EXPECT_EQ(dictionary->GetFirst(&entry), 0) << "the same word form again";
  ASSERT_EQ(dictionary->GetCurrent(&entry), 1);
  EXPECT_EQ(narrow(entry->GetLiteral()), first);
  entry->Destroy();

  // A pattern keeps the last entry; a range forgets it.
  dictionary->SetFilter((first + "*").c_str(), 1);
  EXPECT_EQ(dictionary->GetFirst(&entry), 0);
  dictionary->SetFilter("dog", "doga", 1);
  ASSERT_EQ(dictionary->GetFirst(&entry), 1);
  EXPECT_EQ(narrow(entry->GetLiteral()), first);
  entry->Destroy();
  dictionary->Destroy();
}

TEST_F(EnglishWordNet, LookupIgnoresCaseAndReplacesTheFilter) {
  Dictionary* dictionary = english_->GetDictionary();
  dictionary->SetFilter("a", "b", 1);
  DictionaryEntry* dog = dictionary->GetEntry("DoG");
  EXPECT_EQ(narrow(dog->GetLiteral()), "dog");
  dog->Destroy();
  // Only the records of "dog" (any case) are left: eight senses.
  EXPECT_EQ(dictionary->GetCount(), 8);
  try {
    dictionary->GetEntry("qqqxqqq");
    ADD_FAILURE() << "found";
  } catch (const PLXException& e) {
    EXPECT_EQ(e.GetFLAIMError(), 0xC006u);
  }
  dictionary->Destroy();
}

TEST_F(EnglishWordNet, MeaningsByWordFormAndByIndexRecord) {
  Concepts* dogs = english_->GetConcepts("dog");
  ConceptVariants* variants = english_->GetConceptVariants("dog");
  EXPECT_EQ(dogs->GetCount(), 8);  // seven nouns and a verb
  EXPECT_EQ(variants->GetCount(), 8);
  variants->Destroy();
  Concepts* none = english_->GetConcepts("");
  EXPECT_EQ(none->GetCount(), 0);
  none->Destroy();

  Concept* dog = nullptr;
  ASSERT_EQ(dogs->GetFirst(&dog), 1);
  ILIRecord* ili = nullptr;
  ASSERT_EQ(dog->GetEqSynonym(&ili), 1);
  Concepts* same = english_->GetConcepts(static_cast<uint32_t>(ili->GetRecordID()), 0);
  ASSERT_NE(same, nullptr);
  Concept* back = nullptr;
  ASSERT_EQ(same->GetFirst(&back), 1);
  EXPECT_EQ(back->GetRecordID(), dog->GetRecordID());
  back->Destroy();
  same->Destroy();
  EXPECT_EQ(english_->GetConcepts(static_cast<uint32_t>(ili->GetRecordID()), 99), nullptr);
  ili->Destroy();

  unsigned short* text = nullptr;
  ASSERT_EQ(english_->ExportConcept(dog, &text), 1);
  EXPECT_NE(narrow(text).find("dog"), std::string::npos);
  dog->Destroy();
  dogs->Destroy();
}

TEST_F(EnglishWordNet, RelationNamesAndIdsTranslateBothWays) {
  Relations* relations = polylex_->GetRelations();
  ASSERT_GT(relations->GetCount(), 10u);
  Relation* relation = nullptr;
  std::set<short> ids;
  for (int more = relations->GetFirst(&relation); more; more = relations->GetNext(&relation)) {
    const short id = relation->GetRelationID();
    std::string name = narrow(relation->GetName());
    relation->Destroy();
    ids.insert(id);
    char buffer[64] = {};
    EXPECT_EQ(relations->GetRelationName(id, buffer, sizeof buffer), 1);
    EXPECT_EQ(buffer, name);
    short found = 0;
    EXPECT_EQ(relations->GetRelationID(name.data(), &found), 1) << name;
    EXPECT_EQ(found, id) << name;
  }
  EXPECT_EQ(ids.size(), relations->GetCount());
  EXPECT_TRUE(ids.count(8) && ids.count(10)) << "hyperonym and hyponym are fixed ids";
  relations->Destroy();
}

}  // namespace

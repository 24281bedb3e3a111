// The road a client program takes through the library, from the engine to
// the top ontology and back to words, in English and in French, on the
// database built from WordNet 3.0 and the shared wordnets; LeakSanitizer
// watches that everything handed out is released.
#include <corvid5/corvid5.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "support/CachedDatabases.h"
#include "support/SmallDatabases.h"

namespace {

using testdb::narrow;

constexpr int32_t kDogOffset = 2084071;  // dog, noun sense 1
constexpr int32_t kCanineOffset = 2083346;
constexpr int32_t kDomesticAnimalOffset = 1317541;

int32_t offsetOf(Concept& meaning) {
  ILIRecord* ili = nullptr;
  if (!meaning.GetEqSynonym(&ili)) return 0;
  const int32_t offset = ili->GetWordNetOffset();
  ili->Destroy();
  return offset;
}

std::set<std::string> literalsOf(ConceptVariants* variants) {
  std::set<std::string> literals;
  ConceptVariant* variant = nullptr;
  for (int more = variants->GetFirst(&variant); more; more = variants->GetNext(&variant)) {
    literals.insert(narrow(variant->GetLiteral()));
    variant->Destroy();
  }
  variants->Destroy();
  return literals;
}

// The literals of the meanings' variants.
std::set<std::string> literalsOf(Concepts* meanings) {
  std::set<std::string> literals;
  Concept* meaning = nullptr;
  for (int more = meanings->GetFirst(&meaning); more; more = meanings->GetNext(&meaning)) {
    literals.merge(literalsOf(meaning->GetConceptVariants()));
    meaning->Destroy();
  }
  meanings->Destroy();
  return literals;
}

std::set<std::string> literalsOf(ILIVariants* words) {
  std::set<std::string> named;
  ILIVariant* word = nullptr;
  for (int more = words->GetFirst(&word); more; more = words->GetNext(&word)) {
    named.insert(narrow(word->GetLiteral()));
    word->Destroy();
  }
  words->Destroy();
  return named;
}

void walk();

TEST(ClientRoad, FromTheEngineToTheTopOntologyAndBack) {
  try {
    walk();
  } catch (const PLXException& e) {
    FAIL() << static_cast<const char*>(e);
  }
}

void walk() {
  const std::string path = testdb::polylexDatabase();
  if (path.empty()) GTEST_SKIP() << "no database: WordNet 3.0 files missing";

  ASSERT_NE(CorvidEngine::GetInstance(), nullptr);
  Polylex polylex;
  polylex.Open(path.c_str(), nullptr, 1, 0);

  // Languages, named in English.
  LanguageWordNets* wordnets = polylex.GetLanguageWordNets();
  std::set<std::string> names;
  LanguageWordNet* wordnet = nullptr;
  for (int more = wordnets->GetFirst(&wordnet); more; more = wordnets->GetNext(&wordnet)) {
    Language* language = wordnet->GetLanguage();
    names.insert(narrow(language->GetName("en")));
    language->Destroy();
    wordnet->Destroy();
  }
  EXPECT_EQ(names.size(), testdb::chosenTabFiles().size() + 1);
  EXPECT_TRUE(names.count("English") && names.count("French") && names.count("Danish"));
  LanguageWordNet* english = wordnets->GetItem("en");
  LanguageWordNet* french = wordnets->GetItem("fr");
  wordnets->Destroy();
  ASSERT_NE(french, nullptr);

  // The first sense of "dog" among its meanings.
  Concepts* dogs = english->GetConcepts("dog");
  Concept* dog = nullptr;
  Concept* meaning = nullptr;
  for (int more = dogs->GetFirst(&meaning); more; more = dogs->GetNext(&meaning)) {
    if (!dog && offsetOf(*meaning) == kDogOffset)
      dog = meaning;
    else
      meaning->Destroy();
  }
  dogs->Destroy();
  ASSERT_NE(dog, nullptr);

  const std::set<std::string> literals = literalsOf(dog->GetConceptVariants());
  EXPECT_TRUE(literals.count("dog") && literals.count("Canis familiaris")) << literals.size();

  // GetHyperonyms answers the meaning itself when it has a hyperonym; the
  // hyperonyms proper are the targets of its hyperonym links.
  Concepts* up = dog->GetHyperonyms();
  ASSERT_EQ(up->GetCount(), 1);
  up->Destroy();
  std::set<int32_t> hyperonyms;
  ConceptLinks* links = dog->GetConceptLinks(8);
  ConceptLink* link = nullptr;
  for (int more = links->GetFirst(&link); more; more = links->GetNext(&link)) {
    Concept* target = link->GetTargetConcept();
    hyperonyms.insert(offsetOf(*target));
    target->Destroy();
    link->Destroy();
  }
  links->Destroy();
  EXPECT_EQ(hyperonyms, (std::set<int32_t>{kCanineOffset, kDomesticAnimalOffset}));

  // From the index record to the top ontology.
  ILIRecord* ili = nullptr;
  ASSERT_EQ(dog->GetEqSynonym(&ili), 1);
  EXPECT_EQ(narrow(ili->GetPartOfSpeech()), "n");
  TopConcept* top = reinterpret_cast<TopConcept*>(ili);
  ASSERT_EQ(ili->GetTopConcept(&top), 1);
  EXPECT_EQ(top->GetTopConceptVariantCount(english->GetStoreID()), 1);
  TopConcept* super = nullptr;
  ASSERT_EQ(top->GetSuper(&super), 1);
  TopConcept* above = nullptr;
  EXPECT_EQ(super->GetSuper(&above), 0) << "a part of speech heads the ontology";
  LinkedTopConcepts* subs = nullptr;
  ASSERT_EQ(super->GetSubs(&subs), 1);
  bool listed = false;
  TopConcept* sub = nullptr;
  for (int more = subs->GetFirst(&sub); more; more = subs->GetNext(&sub)) {
    listed = listed || sub->GetRecordID() == top->GetRecordID();
    sub->Destroy();
  }
  EXPECT_TRUE(listed);
  subs->Destroy();
  super->Destroy();
  top->Destroy();

  // And back to the words of the index record, in English and in French.
  const uint32_t record = static_cast<uint32_t>(ili->GetRecordID());
  EXPECT_EQ(literalsOf(english->GetILIVariants(record)), literals);
  Concepts* chiens = french->GetConcepts(record, 0);
  ASSERT_NE(chiens, nullptr);
  EXPECT_EQ(chiens->GetCount(), 1);
  const std::set<std::string> frenchLiterals = literalsOf(chiens);
  EXPECT_TRUE(frenchLiterals.count("chien"));
  EXPECT_EQ(literalsOf(french->GetILIVariants(record)), frenchLiterals);
  ili->Destroy();

  dog->Destroy();
  french->Destroy();
  english->Destroy();
  polylex.Close();
  CorvidEngine::DestroyInstance();
}

}  // namespace

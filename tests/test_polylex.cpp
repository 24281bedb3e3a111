// The multilingual database object on small databases loaded from record
// dumps: which files it opens, what it reads from the fixed records, its
// languages, the relations table, the inter-lingual index and the top
// ontology.
#include <corvid5/corvid5.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "corvid/Library.h"
#include "engine/Layout.h"
#include "flm/ErrorCodes.h"
#include "support/CollectionMoves.h"
#include "support/LoadedDatabase.h"
#include "support/SmallDatabases.h"
#include "support/TestFiles.h"

namespace {

using collectionmoves::expectEveryMoveMisses;
using collectionmoves::expectMovesFollowTheWalk;
using corvid::Owned;
using testdb::thrown;

using dumptext::fixedRecords;
using testdb::narrow;

// Relations 8 and 10 are the ones the library follows; one stored at record
// 40000 reads negative. Language zz has no store.
const std::string kTables =
    dumptext::languages() + dumptext::systemTables() + dumptext::group(96, 32001) +
    "0 @40000@ RELATION_DEFINITION\n  1 RELATION 1\n  1 NAME far_away\n" +
    dumptext::group(96, 300) + "0 @102@ TAG_301\n  1 CODE zz\n";

// Made with the storage engine, closed, and left for Polylex to open.
std::string makeDatabase(const testfiles::ScratchDir& dir, const std::string& dump,
                         const flm::Dictionary& dictionary = layout::polylexDictionary()) {
  const std::string path = dir.file("polylex.db");
  testdb::makeDatabase(path, dump, dictionary);
  return path;
}

class PolylexTest : public ::testing::Test {
 protected:
  // A Polylex's destructor may throw, a test's may not; the fixture's own
  // database is never closed through a copy, so closing it cannot fail.
  ~PolylexTest() noexcept override = default;
  void open(const std::string& dump) {
    path_ = makeDatabase(dir_, dump);
    polylex_.Open(path_.c_str(), nullptr, 1, 0);
  }
  testfiles::ScratchDir dir_;
  std::string path_;
  Polylex polylex_;
};

TEST_F(PolylexTest, RefusesOlderOrIncompleteLayoutsAndStaysOpen) {
  struct Case {
    const char* version;
    bool database, site, opens;
  } const cases[] = {
      {"1.3", true, true, true},   {"2.0", true, true, true},    {"1.2x", true, true, false},
      {"1", true, true, false},    {"1.3", false, true, false}, {"1.3", true, false, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.version) + (c.database ? "" : " without 28") +
                 (c.site ? "" : " without 61"));
    testfiles::ScratchDir dir;
    const std::string path = makeDatabase(dir, fixedRecords(c.version, c.database, c.site));
    Polylex polylex;
    EXPECT_EQ(thrown([&] { polylex.Open(path.c_str(), nullptr, 1, 0); }).error,
              c.opens ? -1 : errIncompatibleDatabase);
    EXPECT_EQ(polylex.IsOpen(), 1);
    polylex.Close();
    EXPECT_EQ(polylex.IsOpen(), 0);
  }
}

TEST_F(PolylexTest, FilesThatAreNoDatabaseGiveTheEnginesCode) {
  const std::string good = makeDatabase(dir_, fixedRecords());
  const std::string foreign = dir_.file("foreign.db");
  testfiles::writeFile(foreign, std::string(8192, 'x'));
  const std::string truncated = dir_.file("truncated.db");
  std::string bytes = testfiles::readFile(good);
  ASSERT_GT(bytes.size(), 64u);
  testfiles::writeFile(truncated, bytes.substr(0, bytes.size() / 2));
  // Neither is opened: the FIFO has no writer, the device is not touched.
  const std::string fifo = dir_.file("fifo.db"), device = dir_.file("null.db");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  std::filesystem::create_symlink("/dev/null", device);
  struct Case {
    std::string path;
    uint32_t code;
  } const cases[] = {
      {dir_.file("missing.db"), flm::FERR_IO_PATH_NOT_FOUND},
      {foreign, flm::FERR_NOT_FLAIM},
      {truncated, flm::FERR_DATA_ERROR},
      {fifo, flm::FERR_IO_OPEN_ERR},
      {device, flm::FERR_IO_OPEN_ERR},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    Polylex polylex;
    testdb::Thrown t;
    EXPECT_TRUE(testfiles::returnsWithoutAWriter(
        fifo, [&] { t = thrown([&] { polylex.Open(c.path.c_str(), nullptr, 1, 0); }, true); }));
    EXPECT_EQ(t.error, errFlaim);
    EXPECT_EQ(t.flaim, c.code) << t.message;
    EXPECT_EQ(polylex.IsOpen(), 0);
    EXPECT_EQ(static_cast<uint32_t>(polylex.GetFlmError()), c.code);
  }
}

// Packed: no padding between the last error, the handle, the create
// options, the path and the flags.
static_assert(sizeof(Polylex) ==
              sizeof(void*) + sizeof(FlmError) + sizeof(void*) + sizeof(Create_Options) + 240 + 1);

TEST_F(PolylexTest, FixedRecordsAndVersions) {
  open(fixedRecords());
  EXPECT_EQ(polylex_.GetDataVersion(), 12595);
  EXPECT_EQ(polylex_.GetCodeVersion(), 2481);
  EXPECT_EQ(narrow(polylex_.GetPath()), path_);
  Site* site = polylex_.GetSite();
  EXPECT_EQ(narrow(site->GetName()), "Corvid test site");
  EXPECT_EQ(narrow(site->GetLanguageCode()), "en");
  site->Destroy();
  polylex_.Close();
  EXPECT_EQ(polylex_.IsOpen(), 0);
  EXPECT_NO_THROW(polylex_.Close());
}

// A copy shares the database: closing it leaves the source holding a handle
// the engine has closed, and the source's destructor, closing that, throws.
TEST_F(PolylexTest, DestructorPassesOnAFailedClose) {
  const std::string path = makeDatabase(dir_, fixedRecords());
  auto* source = new Polylex;
  source->Open(path.c_str(), nullptr, 1, 0);
  Polylex copy(*source);
  copy.Close();
  EXPECT_EQ(copy.IsOpen(), 0);
  EXPECT_EQ(source->IsOpen(), 1);
  const testdb::Thrown t = thrown([&] { delete source; });
  EXPECT_EQ(t.error, errFlaim);
  EXPECT_EQ(t.flaim, uint32_t{flm::FERR_BAD_HDL});
}

TEST_F(PolylexTest, LanguagesAreNamedInEachOther) {
  open(fixedRecords() + kTables);
  LanguageWordNets* wordnets = polylex_.GetLanguageWordNets();
  EXPECT_EQ(wordnets->GetCount(), 3);
  LanguageWordNet* english = wordnets->GetItem("en");
  EXPECT_EQ(english->GetStoreID(), 100u);
  Language* language = english->GetLanguage();
  struct Case {
    const char* code;
    const char* name;
  } const cases[] = {{nullptr, "English"}, {"EN", "English"}, {"fr", "anglais"},
                     {"Fr", "anglais"},    {"de", "<null>"},  {"e", "<null>"}};
  for (const Case& c : cases)
    EXPECT_EQ(narrow(language->GetName(c.code)), c.name) << (c.code ? c.code : "null");
  EXPECT_EQ(narrow(language->GetCode()), "en");
  language->Destroy();
  english->Destroy();

  // A descriptor without a store is refused when asked for by its code.
  EXPECT_EQ(thrown([&] { wordnets->GetItem("zz"); }).flaim, 0xC083u);
  EXPECT_NE(thrown([&] { wordnets->GetItem("de"); }).error, -1);
  LanguageWordNet* french = wordnets->GetItem(101u);
  EXPECT_EQ(french->GetStoreID(), 101u);
  french->Destroy();
  wordnets->Destroy();

  // Walking reads each descriptor once and makes nothing on a miss.
  wordnets = polylex_.GetLanguageWordNets();
  std::string codes;
  LanguageWordNet* wordnet = nullptr;
  for (int more = wordnets->GetFirst(&wordnet); more; more = wordnets->GetNext(&wordnet)) {
    Language* l = wordnet->GetLanguage();
    codes += narrow(l->GetCode()) + ",";
    l->Destroy();
    wordnet->Destroy();
  }
  EXPECT_EQ(codes, "en,fr,zz,");
  EXPECT_EQ(wordnet, nullptr);
  wordnets->Destroy();
}

// A damaged file whose dictionary lacks a container the exporter reads: a
// wordnet read from the collection throws while it loads, and is released
// rather than handed out half made.
TEST_F(PolylexTest, WordNetThatCannotLoadIsNotHandedOut) {
  flm::Dictionary damaged = layout::polylexDictionary();
  std::erase_if(damaged.containers, [](const flm::ContainerDef& c) {
    return c.number == layout::kLocalUsageLabels;
  });
  std::erase_if(damaged.indexes, [](const flm::IndexDef& ix) {
    return ix.container == layout::kLocalUsageLabels;
  });
  path_ = makeDatabase(dir_, fixedRecords() + kTables, damaged);
  polylex_.Open(path_.c_str(), nullptr, 1, 0);
  LanguageWordNets* wordnets = polylex_.GetLanguageWordNets();
  LanguageWordNet* index = polylex_.GetILILanguageWordNet();
  LanguageWordNet* wordnet = index;
  EXPECT_THROW(wordnets->GetFirst(&wordnet), FlmError);
  EXPECT_EQ(wordnet, nullptr);
  index->Destroy();
  wordnets->Destroy();
}

TEST_F(PolylexTest, IndexWordNetIsMadeWithoutAStoredDescriptor) {
  open(fixedRecords());
  LanguageWordNet* ili = polylex_.GetILILanguageWordNet();
  EXPECT_EQ(ili->GetStoreID(), 99u);
  Language* language = ili->GetLanguage();
  EXPECT_EQ(narrow(language->GetCode()), "xx");
  EXPECT_EQ(narrow(language->GetName(nullptr)), "ili_v");
  language->Destroy();
  unsigned short* text = reinterpret_cast<unsigned short*>(1);
  EXPECT_EQ(ili->ExportConcept(nullptr, &text), 0);
  EXPECT_EQ(text, nullptr);
  ili->Destroy();
}

TEST_F(PolylexTest, RelationsTranslateIdsAndNames) {
  open(fixedRecords() + kTables);
  Relations* relations = polylex_.GetRelations();
  EXPECT_EQ(relations->GetCount(), 5u);

  char name[32];
  EXPECT_EQ(relations->GetRelationName(8, name, sizeof name), 1);
  EXPECT_STREQ(name, "hyperonym");
  std::strcpy(name, "untouched");
  EXPECT_EQ(relations->GetRelationName(9, name, sizeof name), 0);
  EXPECT_EQ(relations->GetRelationName(static_cast<short>(40000), name, sizeof name), 0);
  EXPECT_STREQ(name, "untouched");
  // A buffer shorter than the name keeps what fitted, unterminated.
  std::strcpy(name, "untouched");
  EXPECT_EQ(relations->GetRelationName(8, name, 4), 0);
  EXPECT_EQ(std::string(name, 10), std::string("hypeuched\0", 10));

  // The id of a name, or what the call answered with the id left alone.
  auto idOf = [&](std::string name) {
    short id = 77;
    return relations->GetRelationID(name.data(), &id) ? id : -id;
  };
  EXPECT_EQ(idOf("hyponym"), 10);
  EXPECT_EQ(idOf("far_away"), static_cast<short>(40000));
  EXPECT_EQ(idOf("nothing"), -77);

  Relation* relation = relations->GetItem(10);
  EXPECT_EQ(narrow(relation->GetName()), "hyponym");
  relation->Destroy();
  EXPECT_EQ(thrown([&] { relations->GetItem(9); }).error, errInvalidRelation);
  // The walk ends at the last one.
  ASSERT_EQ(relations->GetLast(&relation), 1);
  relation->Destroy();
  EXPECT_EQ(relations->GetNext(&relation), 0);
  relations->Destroy();
}

// Top concept 1 has subs 2, 3 and 4; 2 sits under 1, is opposite to 3 and
// classifies index record 1; 3 names a super outside any links group; 4 has a
// super that does not exist and a hole among its similars.
const char* const kOntology = R"(
STORE 98 CONTAINER 32001
0 @1@ ILI_RECORD
  1 PART_OF_SPEECH 1
  1 WORDNET_OFFSET 2084071
  1 GLOSS a member of the genus Canis
0 @2@ ILI_RECORD
  1 WORDNET_OFFSET 70000
0 @3@ ILI_RECORD
  1 PART_OF_SPEECH 6
0 @4@ ILI_RECORD
  1 PART_OF_SPEECH 5
STORE 98 CONTAINER 310
0 @1@ TOP_CONCEPT
  1 GLOSS entity
  1 ONTOLOGY_LINKS
    2 SUB_CONCEPT @2@
    2 SUB_CONCEPT @3@
    2 SUB_CONCEPT @4@
0 @2@ TOP_CONCEPT
  1 GLOSS animal
  1 ONTOLOGY_LINKS
    2 SUPER_CONCEPT @1@
    2 OPPOSITE_CONCEPT @3@
    2 TARGET_ILI @1@
0 @3@ TOP_CONCEPT
  1 GLOSS plant
  1 SUPER_CONCEPT @1@
0 @4@ TOP_CONCEPT
  1 ONTOLOGY_LINKS
    2 SUPER_CONCEPT @99@
    2 SIMILAR_CONCEPT @2@
    2 SIMILAR_CONCEPT @0@
    2 TARGET_ILI @4@
STORE 100 CONTAINER 32001
0 @1@ TOP_CONCEPT_VARIANT
  1 TARGET_TOP_CONCEPT @2@
  1 LITERAL animal
  1 SENSE 1
  1 STATUS new
0 @2@ TOP_CONCEPT_VARIANT
  1 TARGET_TOP_CONCEPT @2@
  1 LITERAL beast
  1 SENSE 2
0 @3@ ILI_VARIANT
  1 TARGET_ILI @1@
  1 LITERAL dog
  1 SENSE 3
  1 STATUS checked
)";

class OntologyTest : public PolylexTest {
 protected:
  void SetUp() override { open(fixedRecords() + kTables + kOntology); }
  // Item `id` read through the collection of all of them.
  template <class Items, class Item>
  static Item* item(Items* all, uint32_t id) {
    Item* found = nullptr;
    for (int more = all->GetFirst(&found); more; more = all->GetNext(&found)) {
      if (found->GetRecordID() == static_cast<int32_t>(id)) break;
      found->Destroy();
    }
    all->Destroy();
    return found;
  }
  TopConcept* topConcept(uint32_t id) {
    return item<TopConcepts, TopConcept>(polylex_.GetTopConcepts(), id);
  }
  ILIRecord* iliRecord(uint32_t id) {
    return item<ILIRecords, ILIRecord>(polylex_.GetILIRecords(), id);
  }
  // The ids a list walks to with GetFirst and GetNext.
  static std::string ids(LinkedTopConcepts* list) {
    std::string out;
    TopConcept* c = nullptr;
    for (int more = list->GetFirst(&c); more; more = list->GetNext(&c)) {
      out += std::to_string(c->GetRecordID()) + ",";
      c->Destroy();
    }
    return out;
  }
};

TEST_F(OntologyTest, IndexRecordsReadTheirFields) {
  struct Case {
    uint32_t id;
    const char* pos;
    int32_t offset;
    const char* gloss;
  } const cases[] = {{1, "n", 2084071, "a member of the genus Canis"},
                     {2, "?", 70000, "<null>"},
                     {3, "<null>", 0, "<null>"},
                     {4, "pn", 0, "<null>"}};
  for (const Case& c : cases) {
    ILIRecord* record = iliRecord(c.id);
    ASSERT_NE(record, nullptr) << c.id;
    EXPECT_EQ(narrow(record->GetPartOfSpeech()), c.pos) << c.id;
    EXPECT_EQ(record->GetWordNetOffset(), c.offset) << c.id;
    EXPECT_EQ(narrow(record->GetGloss()), c.gloss) << c.id;
    EXPECT_EQ(record->GetDomain(nullptr), 0);
    record->Destroy();
  }
  ILIRecords* records = polylex_.GetILIRecords();
  EXPECT_EQ(records->GetCount(), 4);
  records->Destroy();
}

TEST_F(OntologyTest, TopConceptOfAnIndexRecordIsKeyedByTheObjectPassedIn) {
  ILIRecord* dog = iliRecord(1);
  TopConcept* top = reinterpret_cast<TopConcept*>(dog);
  ASSERT_EQ(dog->GetTopConcept(&top), 1);
  EXPECT_EQ(top->GetRecordID(), 2);
  EXPECT_EQ(narrow(top->GetGloss()), "animal");

  // The key comes from the object passed in, not from the record asked.
  TopConcept* four = topConcept(4);
  TopConcept* keyed = four;
  ASSERT_EQ(dog->GetTopConcept(&keyed), 1);
  EXPECT_EQ(keyed->GetRecordID(), 4) << "top concept 4 lists index record 4";
  keyed->Destroy();
  four->Destroy();

  ILIRecord* unclassified = iliRecord(2);
  TopConcept* same = reinterpret_cast<TopConcept*>(unclassified);
  EXPECT_EQ(unclassified->GetTopConcept(&same), 0);
  EXPECT_EQ(same, reinterpret_cast<TopConcept*>(unclassified));
  TopConcept* none = nullptr;
  EXPECT_EQ(dog->GetTopConcept(&none), 0);
  unclassified->Destroy();
  top->Destroy();
  dog->Destroy();
}

TEST_F(OntologyTest, LinksCountOnlyInsideTheLinksGroup) {
  TopConcepts* all = polylex_.GetTopConcepts();
  EXPECT_EQ(all->GetCount(), 4);
  all->Destroy();
  struct Case {
    uint32_t id;
    int32_t super;  // 0: none
    const char* subs;
    const char* similars;
    const char* opposites;
  } const cases[] = {{1, 0, "2,3,4,", "", ""},
                     {2, 1, "", "", "3,"},
                     {3, 0, "", "", ""},
                     {4, 0, "", "", ""}};  // similars refused: a zero pointer among them
  for (const Case& c : cases) {
    SCOPED_TRACE(c.id);
    TopConcept* concept_ = topConcept(c.id);
    ASSERT_NE(concept_, nullptr);
    TopConcept* super = nullptr;
    EXPECT_EQ(concept_->GetSuper(&super), c.super ? 1 : 0);
    if (c.super) {
      EXPECT_EQ(super->GetRecordID(), c.super);
      super->Destroy();
    }
    using Getter = int (TopConcept::*)(LinkedTopConcepts**);
    const std::pair<Getter, const char*> lists[] = {{&TopConcept::GetSubs, c.subs},
                                                    {&TopConcept::GetSimilars, c.similars},
                                                    {&TopConcept::GetOpposites, c.opposites}};
    for (const auto& [get, expected] : lists) {
      LinkedTopConcepts* list = nullptr;
      const int found = (concept_->*get)(&list);
      EXPECT_EQ(found, *expected ? 1 : 0) << expected;
      if (found) {
        EXPECT_EQ(ids(list), expected);
        list->Destroy();
      }
    }
    concept_->Destroy();
  }
}

TEST_F(OntologyTest, LinkedListWalksByPositionAndCopiesShareIt) {
  TopConcept* root = topConcept(1);
  LinkedTopConcepts* subs = nullptr;
  ASSERT_EQ(root->GetSubs(&subs), 1);
  EXPECT_EQ(subs->GetCount(), 3);
  TopConcept* c = nullptr;
  EXPECT_EQ(subs->GetCurrent(&c), 0);
  ASSERT_EQ(subs->GetFirst(&c), 1);
  c->Destroy();
  EXPECT_EQ(subs->GetPrevious(&c), 0);
  EXPECT_EQ(c, nullptr);
  ASSERT_EQ(subs->GetLast(&c), 1);
  c->Destroy();
  EXPECT_EQ(subs->GetNext(&c), 0);
  ASSERT_EQ(subs->GetPrevious(&c), 1);
  EXPECT_EQ(c->GetRecordID(), 3);
  c->Destroy();

  // The copy outlives the original and walks on its own.
  LinkedTopConcepts copy(*subs);
  subs->Destroy();
  LinkedTopConcepts assigned(copy);
  assigned = copy;
  EXPECT_EQ(ids(&copy), "2,3,4,");
  ASSERT_EQ(assigned.GetCurrent(&c), 1);
  EXPECT_EQ(c->GetRecordID(), 3);
  c->Destroy();
  root->Destroy();
}

// The cursor collections of the index, the ontology and the relations move
// as their own walks; sets with nothing in them miss on every move.
TEST_F(OntologyTest, CursorCollectionsMoveAsTheirWalks) {
  expectMovesFollowTheWalk<TopConcept>(*Owned<TopConcepts>(polylex_.GetTopConcepts()));
  expectMovesFollowTheWalk<ILIRecord>(*Owned<ILIRecords>(polylex_.GetILIRecords()));
  expectMovesFollowTheWalk<Relation>(*Owned<Relations>(polylex_.GetRelations()));
  Owned<TopConcept> animal(topConcept(2));
  Owned<TopConceptVariants> names(animal->GetTopConceptVariants(100));
  expectMovesFollowTheWalk<TopConceptVariant>(*names);

  expectEveryMoveMisses<TopConceptVariant>(
      *Owned<TopConceptVariants>(animal->GetTopConceptVariants(101)));
  Owned<LanguageWordNets> wordnets(polylex_.GetLanguageWordNets());
  Owned<LanguageWordNet> english(wordnets->GetItem("en"));
  expectEveryMoveMisses<ILIVariant>(*Owned<ILIVariants>(english->GetILIVariants(2)));
}

TEST_F(OntologyTest, VariantsNameTopConceptsAndIndexRecords) {
  TopConcept* animal = topConcept(2);
  EXPECT_EQ(animal->GetTopConceptVariantCount(100), 2);
  EXPECT_EQ(animal->GetTopConceptVariantCount(101), 0);
  TopConceptVariant* second = animal->GetTopConceptVariant(100, 2);
  EXPECT_EQ(narrow(second->GetLiteral()), "beast");
  EXPECT_EQ(second->GetSense(), 2);
  EXPECT_EQ(narrow(second->GetStatus()), "<null>");
  second->Destroy();
  for (short n : {0, 3, -1})
    EXPECT_EQ(thrown([&] { animal->GetTopConceptVariant(100, n); }).error, errInvalidVariantNumber)
        << n;
  TopConceptVariants* variants = animal->GetTopConceptVariants(100);
  std::string literals;
  TopConceptVariant* v = nullptr;
  for (int more = variants->GetFirst(&v); more; more = variants->GetNext(&v)) {
    literals += narrow(v->GetLiteral()) + ",";
    v->Destroy();
  }
  EXPECT_EQ(literals, "animal,beast,");
  variants->Destroy();
  animal->Destroy();

  LanguageWordNets* wordnets = polylex_.GetLanguageWordNets();
  LanguageWordNet* english = wordnets->GetItem("en");
  wordnets->Destroy();
  variants = english->GetTopConceptVariants(2);
  EXPECT_EQ(variants->GetCount(), 2);
  variants->Destroy();
  ILIVariants* dogs = english->GetILIVariants(1);
  ILIVariant* dog = nullptr;
  ASSERT_EQ(dogs->GetFirst(&dog), 1);
  EXPECT_EQ(narrow(dog->GetLiteral()), "dog");
  EXPECT_EQ(dog->GetSense(), 3);
  EXPECT_EQ(narrow(dog->GetStatus()), "checked");
  dog->Destroy();
  EXPECT_EQ(dogs->GetNext(&dog), 0);
  dogs->Destroy();
  ILIVariants* noVariants = english->GetILIVariants(2);
  EXPECT_EQ(noVariants->GetCount(), 0);
  noVariants->Destroy();
  english->Destroy();
}

class EditableRecord : public OntologyRecord {
 public:
  EditableRecord(int allowOpposites) : OntologyRecord(layout::kTopConcept, allowOpposites) {}
};

TEST_F(OntologyTest, EditsStayInMemory) {
  TopConcept* plant = topConcept(3);
  plant->PutGloss("flora");
  EXPECT_EQ(narrow(plant->GetGloss()), "flora");
  plant->Destroy();
  plant = topConcept(3);
  EXPECT_EQ(narrow(plant->GetGloss()), "plant");
  plant->Destroy();

  EditableRecord record(0);
  unsigned short* gloss = reinterpret_cast<unsigned short*>(1);
  EXPECT_EQ(record.GetGloss(&gloss), 0);
  EXPECT_EQ(gloss, reinterpret_cast<unsigned short*>(1));
  EXPECT_EQ(record.PutGloss("new gloss"), 1);
  ASSERT_EQ(record.GetGloss(&gloss), 1);
  EXPECT_EQ(narrow(gloss), "new gloss");
  EXPECT_EQ(record.Link(olOpposite, 2), 0);
  EXPECT_EQ(record.FindField(layout::kOntologyLinks, 1, fsRoot, faSubtree), 0)
      << "an opposite link is not allowed here";
  EXPECT_EQ(record.Link(olSub, 2), 0);
  EXPECT_EQ(record.FindField(layout::kOntologyLinks, 1, fsRoot, faSubtree), 1);
  EditableRecord permitted(1);
  EXPECT_EQ(permitted.Link(olOpposite, 2), 0);
  EXPECT_EQ(permitted.FindField(layout::kOntologyLinks, 1, fsRoot, faSubtree), 1);
}

}  // namespace

// English and the inter-lingual index built from WordNet 3.0, checked against
// WordNet's own files; the fixed records and tables; the corvid command; and
// builds that must fail without leaving a database behind.
#include <corvid5/PolylexBuilder.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "engine/Layout.h"
#include "engine/build/Gloss.h"
#include "support/BuiltDatabase.h"
#include "support/Slices.h"
#include "support/SmallDatabases.h"
#include "support/TestFiles.h"

namespace {

using namespace layout;
using testdb::Record;
using testdb::StoredDatabase;
namespace fs = std::filesystem;

constexpr uint32_t kEnglishStore = 100;
constexpr uint32_t kDanishStore = 101;

// The line of a WordNet file that starts with `key` and a space.
std::string wordNetLine(const std::string& file, const std::string& key) {
  std::ifstream in(testfiles::wordnetDir() + "/" + file);
  std::string line;
  while (std::getline(in, line))
    if (line.starts_with(key + " ")) return line;
  return {};
}

std::vector<std::string> words(const std::string& line) {
  std::istringstream in(line);
  std::vector<std::string> w;
  for (std::string s; in >> s;) w.push_back(s);
  return w;
}

std::vector<std::string> dirEntries(const std::string& dir) {
  std::vector<std::string> names;
  for (const auto& e : fs::directory_iterator(dir)) names.push_back(e.path().filename().string());
  return names;
}

// One build for the whole suite: English, with Danish riding along with its
// projected links switched off, so that switch is seen without a second
// build of English, and a record dump loaded after both.
class EnglishBuild : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir_ = new testfiles::ScratchDir;
    omw_ = new testfiles::ScratchDir;
    fs::create_symlink(testfiles::sharedDir() + "/data/omw/dan/wn-data-dan.tab",
                       omw_->file("wn-data-dan.tab"));
    PolylexBuildOptions options;
    options.output = dir_->file("en.db");
    options.wordnetDir = testfiles::wordnetDir();
    options.omwDirs = {omw_->path()};
    options.projectedRelations = false;
    testfiles::writeFile(omw_->file("labels.txt"),
                         "# a usage label for every language\n"
                         "STORE 96 CONTAINER 360\n"
                         "0 USAGE_LABEL_DEFINITION\n"
                         "  1 USAGE_LABEL 1\n"
                         "  1 NAME register\n");
    options.recordFiles = {omw_->file("labels.txt")};
    result_ = new PolylexBuildResult(PolylexBuilder::Build(options));
    db_ = new StoredDatabase(options.output);
  }
  static void TearDownTestSuite() {
    delete db_;
    delete result_;
    delete omw_;
    delete dir_;
  }
  void SetUp() override {
    ASSERT_TRUE(result_->ok) << result_->error;
    ASSERT_NE(db_->db(), nullptr);
  }

  static const StoredDatabase& db() { return *db_; }

  // The meaning of a word's sense in one part of speech; 0 when none.
  static uint32_t meaningOf(const std::string& word, uint16_t pos, int sense) {
    for (uint32_t drn : db().find(kByLiteral, kEnglishStore, 1, word)) {
      Record v(db(), kEnglishStore, kData, drn);
      if (v.number(kPos) == pos && v.number(kSense) == sense)
        return static_cast<uint32_t>(v.number(kConcept));
    }
    return 0;
  }
  static uint32_t iliOf(uint32_t store, uint32_t meaning) {
    std::vector<uint32_t> links = db().find(kEqLinksByConcept, store, 1, int64_t{meaning});
    if (links.size() != 1) return 0;
    return static_cast<uint32_t>(Record(db(), store, kEqLinks, links[0]).number(kTargetIli));
  }
  static int64_t offsetOf(uint32_t ili) {
    return Record(db(), kIliStore, kData, ili).number(kWordNetOffset);
  }

  // The checks, each of one part of what the build made.
  static void countsFollowTheDataFiles();
  static void everySynsetSitsUnderOneLexicographerFile();
  static void dogIsBuiltFieldByField();
  static void senseNumbersFollowTheIndexFile();
  static void linksBetweenWordsNameTheirVariants();
  static void adjectiveMarkersBecomeFeatures();
  static void fixedRecordsAndTables();
  static void languagesAreDescribedInEachOther();
  static void projectedRelationsCanBeLeftOut();
  static void recordDumpsAreLoaded();
  static void corvidInfoShowsSiteVersionAndStores();

  static testfiles::ScratchDir* dir_;
  static testfiles::ScratchDir* omw_;
  static PolylexBuildResult* result_;
  static StoredDatabase* db_;
};

testfiles::ScratchDir* EnglishBuild::dir_ = nullptr;
testfiles::ScratchDir* EnglishBuild::omw_ = nullptr;
PolylexBuildResult* EnglishBuild::result_ = nullptr;
StoredDatabase* EnglishBuild::db_ = nullptr;

void EnglishBuild::countsFollowTheDataFiles() {
  testdb::WordNetCounts wn = testdb::countWordNet(testfiles::wordnetDir());
  ASSERT_EQ(wn.synsets, 117659u);  // WordNet 3.0, as published
  EXPECT_EQ(db().count(kIliStore, kData), wn.synsets);
  EXPECT_EQ(db().count(kEnglishStore, kMeanings), wn.synsets);
  EXPECT_EQ(db().count(kEnglishStore, kEqLinks), wn.synsets);
  EXPECT_EQ(db().indexed(kVariantsByConcept, kEnglishStore, 1).size(), wn.wordSenses);
  EXPECT_EQ(db().indexed(kIliVariantsByRecord, kEnglishStore, 1).size(), wn.wordSenses);
  EXPECT_EQ(db().count(kEnglishStore, kConceptLinks), wn.pointers);

  const PolylexLanguageReport& en = result_->languages.at(0);
  EXPECT_EQ(en.code, "en");
  EXPECT_EQ(en.store, kEnglishStore);
  EXPECT_EQ(en.meanings, wn.synsets);
  EXPECT_EQ(en.variants, wn.wordSenses);
  EXPECT_EQ(en.links, wn.pointers);
}

void EnglishBuild::everySynsetSitsUnderOneLexicographerFile() {
  uint32_t topConcepts = db().count(kIliStore, kTopConcepts);
  ASSERT_EQ(topConcepts, 4u + 45u);
  uint64_t classified = 0;
  for (uint32_t drn = 1; drn <= topConcepts; ++drn) {
    Record top(db(), kIliStore, kTopConcepts, drn);
    ASSERT_NE(top.root(), nullptr) << drn;
    EXPECT_FALSE(top.text(kGloss).empty()) << drn;
    classified += top.fields(kTargetIli).size();
    // Each is named in English by a variant of its own.
    EXPECT_EQ(db().find(kTopConceptVariantsByConcept, kEnglishStore, 1, int64_t{drn}).size(), 1u)
        << drn;
  }
  EXPECT_EQ(classified, db().count(kIliStore, kData));

  // Dog is an animal, and animals are nouns.
  uint32_t dog = iliOf(kEnglishStore, meaningOf("dog", kNoun, 1));
  auto nameOf = [](int64_t top) {
    std::vector<uint32_t> names = db().find(kTopConceptVariantsByConcept, kEnglishStore, 1, top);
    return names.size() == 1 ? Record(db(), kEnglishStore, kData, names[0]).text(kLiteral) : "";
  };
  size_t listed = 0;
  for (uint32_t drn = 1; drn <= topConcepts; ++drn) {
    Record top(db(), kIliStore, kTopConcepts, drn);
    for (const flm::Node* ili : top.fields(kTargetIli))
      if (testdb::numberOf(ili) == dog) {
        ++listed;
        EXPECT_EQ(nameOf(drn), "noun.animal");
        EXPECT_EQ(nameOf(top.number(kSuperConcept)), "noun");
      }
  }
  EXPECT_EQ(listed, 1u);
}

void EnglishBuild::dogIsBuiltFieldByField() {
  std::vector<std::string> data = words(wordNetLine("data.noun", "02084071"));
  ASSERT_GT(data.size(), 12u);
  uint32_t dog = meaningOf("dog", kNoun, 1);
  ASSERT_NE(dog, 0u);
  Record meaning(db(), kEnglishStore, kMeanings, dog);
  EXPECT_EQ(meaning.number(kType), 1);
  EXPECT_EQ(meaning.number(kPos), kNoun);

  uint32_t ili = iliOf(kEnglishStore, dog);
  Record iliRecord(db(), kIliStore, kData, ili);
  EXPECT_EQ(iliRecord.number(kWordNetOffset), 2084071);
  EXPECT_EQ(iliRecord.number(kPos), kNoun);
  std::string line = wordNetLine("data.noun", "02084071");
  std::string gloss = line.substr(line.find(" | ") + 3);
  EXPECT_EQ(iliRecord.text(kGloss), gloss.substr(0, gloss.find_last_not_of(' ') + 1));

  std::map<std::string, int64_t> senses;
  for (uint32_t drn : db().find(kVariantsByConcept, kEnglishStore, 1, int64_t{dog})) {
    Record v(db(), kEnglishStore, kData, drn);
    senses[v.text(kLiteral)] = v.number(kSense);
    EXPECT_EQ(v.text(kDefinition),
              "a member of the genus Canis (probably descended from the common wolf) that has been "
              "domesticated by man since prehistoric times; occurs in many breeds");
    ASSERT_EQ(v.fields(kExample).size(), 1u);
    EXPECT_EQ(testdb::textOf(v.fields(kExample)[0]), "the dog barked all night");
  }
  EXPECT_EQ(senses, (std::map<std::string, int64_t>{
                        {"Canis familiaris", 1}, {"dog", 1}, {"domestic dog", 1}}));

  std::set<int64_t> hyperonyms;
  size_t links = 0;
  for (uint32_t drn : db().find(kLinksBySource, kEnglishStore, 1, int64_t{dog})) {
    Record link(db(), kEnglishStore, kConceptLinks, drn);
    ++links;
    EXPECT_NE(
        Record(db(), kSystemStore, kData, static_cast<uint32_t>(link.number(kRelation))).root(),
        nullptr);
    if (link.number(kRelation) == kHyperonym)
      hyperonyms.insert(
          offsetOf(iliOf(kEnglishStore, static_cast<uint32_t>(link.number(kTargetConcept)))));
  }
  EXPECT_EQ(links, std::stoul(data[10]));  // the pointer count, after three words and their ids
  EXPECT_EQ(hyperonyms, (std::set<int64_t>{2083346, 1317541}));  // canine, domestic animal

  // A language finds its words for an index record through the root-61 records.
  std::set<std::string> named;
  for (uint32_t drn : db().find(kIliVariantsByRecord, kEnglishStore, 1, int64_t{ili}))
    named.insert(Record(db(), kEnglishStore, kData, drn).text(kLiteral));
  EXPECT_EQ(named, (std::set<std::string>{"Canis familiaris", "dog", "domestic dog"}));
}

void EnglishBuild::senseNumbersFollowTheIndexFile() {
  std::vector<std::string> index = words(wordNetLine("index.noun", "dog"));
  ASSERT_GT(index.size(), 7u);
  std::vector<std::string> offsets(index.end() - std::stoi(index[2]), index.end());
  size_t checked = 0;
  for (uint32_t drn : db().find(kByLiteral, kEnglishStore, 1, "dog")) {
    Record v(db(), kEnglishStore, kData, drn);
    if (v.number(kPos) != kNoun) continue;
    int64_t offset = offsetOf(iliOf(kEnglishStore, static_cast<uint32_t>(v.number(kConcept))));
    auto at = std::find_if(offsets.begin(), offsets.end(),
                           [&](const std::string& o) { return std::stol(o) == offset; });
    ASSERT_NE(at, offsets.end()) << offset;
    EXPECT_EQ(v.number(kSense), at - offsets.begin() + 1) << offset;
    ++checked;
  }
  EXPECT_EQ(checked, offsets.size());
}

void EnglishBuild::linksBetweenWordsNameTheirVariants() {
  uint32_t good = meaningOf("good", kAdjective, 1);
  ASSERT_NE(good, 0u);
  bool antonym = false;
  for (uint32_t drn : db().find(kLinksBySource, kEnglishStore, 1, int64_t{good})) {
    Record link(db(), kEnglishStore, kConceptLinks, drn);
    if (link.number(kRelation) != 1) continue;  // antonym
    const flm::Node* source = link.field(kVariant, link.field(kSourceConcept));
    const flm::Node* target = link.field(kVariant, link.field(kTargetConcept));
    ASSERT_NE(source, nullptr);
    ASSERT_NE(target, nullptr);
    EXPECT_EQ(link.text(kLiteral, source), "good");
    EXPECT_EQ(Record(db(), kEnglishStore, kData, static_cast<uint32_t>(testdb::numberOf(source)))
                  .text(kLiteral),
              "good");
    EXPECT_EQ(Record(db(), kEnglishStore, kData, static_cast<uint32_t>(testdb::numberOf(target)))
                  .text(kLiteral),
              link.text(kLiteral, target));
    antonym = link.text(kLiteral, target) == "bad";
  }
  EXPECT_TRUE(antonym);
}

void EnglishBuild::adjectiveMarkersBecomeFeatures() {
  EXPECT_TRUE(db().find(kByLiteral, kEnglishStore, 1, "ready to hand(p)").empty());
  std::vector<uint32_t> found = db().find(kByLiteral, kEnglishStore, 1, "ready to hand");
  ASSERT_EQ(found.size(), 1u);
  Record v(db(), kEnglishStore, kData, found[0]);
  const flm::Node* feature = v.field(kFeature, v.field(kFeatures));
  ASSERT_NE(feature, nullptr);
  EXPECT_EQ(testdb::numberOf(feature), 1);
  EXPECT_EQ(v.text(kFeatureValue, feature), "p");
  Record definition(db(), kSystemStore, kSharedFeatures, 1);
  EXPECT_EQ(definition.number(kFeature), 1);
  EXPECT_EQ(definition.fields(kValueText).size(), 3u);
  EXPECT_EQ(Record(db(), kEnglishStore, kData, db().find(kByLiteral, kEnglishStore, 1, "dog")[0])
                .field(kFeatures),
            nullptr);
}

void EnglishBuild::fixedRecordsAndTables() {
  EXPECT_EQ(Record(db(), kDatabaseStore, kData, kVersionRecord).text(kPos), "1.3");
  EXPECT_NE(Record(db(), kDatabaseStore, kData, kDatabaseRecord).root(), nullptr);
  Record site(db(), kDatabaseStore, kData, kSiteRecord);
  EXPECT_EQ(site.text(kSiteName), "Corvid5");
  EXPECT_EQ(site.text(kSiteLanguage), "en");

  EXPECT_EQ(Record(db(), kSystemStore, kData, kHyperonym).text(kName), "hyperonym");
  EXPECT_EQ(Record(db(), kSystemStore, kData, kHyponym).text(kName), "hyponym");
  for (uint32_t drn = 1; drn <= db().count(kSystemStore, kData); ++drn) {
    Record relation(db(), kSystemStore, kData, drn);
    EXPECT_EQ(relation.number(kRelation), int64_t{drn});
    EXPECT_FALSE(relation.text(kCode).empty()) << drn;
  }
  EXPECT_EQ(db().indexed(kRelationsByCode, kSystemStore, 1).size(),
            db().count(kSystemStore, kData));
  EXPECT_EQ(Record(db(), kSystemStore, kPartsOfSpeech, kAdverb).text(kName), "adverb");
  Record eq(db(), kSystemStore, kEqRelations, 1);
  EXPECT_EQ(eq.number(kEqRelation), 1);
  EXPECT_EQ(eq.text(kCode), "eq_synonym");
}

void EnglishBuild::languagesAreDescribedInEachOther() {
  Record en(db(), kSystemStore, kDescriptors, kEnglishStore);
  Record da(db(), kSystemStore, kDescriptors, kDanishStore);
  EXPECT_EQ(en.text(kCode), "en");
  EXPECT_EQ(en.number(kStoreId), int64_t{kEnglishStore});
  EXPECT_EQ(da.text(kCode), "da");
  EXPECT_EQ(da.number(kStoreId), int64_t{kDanishStore});
  EXPECT_EQ(da.text(kName), "dansk");
  std::vector<std::string> names;
  for (const flm::Node* n = flm::nodeChild(da.field(kName)); n; n = flm::nodeNextSibling(n))
    names.push_back(testdb::textOf(n));
  EXPECT_EQ(names, (std::vector<std::string>{"en Danish", "da dansk"}));
}

void EnglishBuild::projectedRelationsCanBeLeftOut() {
  ASSERT_EQ(result_->languages.size(), 2u);
  EXPECT_GT(db().count(kDanishStore, kMeanings), 0u);
  EXPECT_EQ(db().count(kDanishStore, kConceptLinks), 0u);
  EXPECT_EQ(result_->languages[1].links, 0u);
}

void EnglishBuild::recordDumpsAreLoaded() {
  ASSERT_EQ(db().count(kSystemStore, kSharedUsageLabels), 1u);
  Record label(db(), kSystemStore, kSharedUsageLabels, 1);
  EXPECT_EQ(label.number(kUsageLabel), 1);
  EXPECT_EQ(label.text(kName), "register");
}

// One test for everything the build holds: ctest runs each test in a process
// of its own, which would build the database again for each.
TEST_F(EnglishBuild, HoldsWordNetFieldByField) {
  using Check = void (*)();
  for (const auto& [name, check] : std::initializer_list<std::pair<const char*, Check>>{
           {"counts", countsFollowTheDataFiles},
           {"lexicographer files", everySynsetSitsUnderOneLexicographerFile},
           {"dog", dogIsBuiltFieldByField},
           {"sense numbers", senseNumbersFollowTheIndexFile},
           {"links between words", linksBetweenWordsNameTheirVariants},
           {"adjective markers", adjectiveMarkersBecomeFeatures},
           {"fixed records", fixedRecordsAndTables},
           {"languages", languagesAreDescribedInEachOther},
           {"projected relations", projectedRelationsCanBeLeftOut},
           {"record dumps", recordDumpsAreLoaded},
           {"corvid info", corvidInfoShowsSiteVersionAndStores}}) {
    SCOPED_TRACE(name);
    check();
  }
}

TEST(Gloss, DefinitionAndExamplesComeApart) {
  build::SplitGloss g = build::splitGloss(
      "a person who rules; the head of state; \"the king reigned\"; \"all hail\" - Shakespeare");
  EXPECT_EQ(g.definition, "a person who rules; the head of state");
  EXPECT_EQ(g.examples, (std::vector<std::string>{"the king reigned", "all hail"}));

  g = build::splitGloss("the letter \"a\" in a word");  // quotes, but no example
  EXPECT_EQ(g.definition, "the letter \"a\" in a word");
  EXPECT_TRUE(g.examples.empty());

  g = build::splitGloss("\"only an example; with a semicolon\"");
  EXPECT_EQ(g.definition, "");
  EXPECT_EQ(g.examples, (std::vector<std::string>{"only an example; with a semicolon"}));

  g = build::splitGloss("cut short; \"an example that never closes; \"and one that does\"");
  EXPECT_EQ(g.examples,
            (std::vector<std::string>{"an example that never closes", "and one that does"}));
}

void EnglishBuild::corvidInfoShowsSiteVersionAndStores() {
  testdb::CommandRun info = testdb::corvid({"info", "--db", dir_->file("en.db")});
  ASSERT_EQ(info.status, 0) << info.err;
  EXPECT_NE(info.out.find("site: Corvid5 (en)\n"), std::string::npos);
  EXPECT_NE(info.out.find("data version: 1.3\n"), std::string::npos);
  EXPECT_NE(info.out.find("store 100 en English\n"), std::string::npos);
  EXPECT_NE(info.out.find("store 101 da dansk\n"), std::string::npos);
  // The container lines of store 100 follow its heading.
  std::string english = info.out.substr(info.out.find("store 100 "));
  std::istringstream line(english.substr(english.find("MEANINGS")));
  std::string name;
  uint32_t records = 0;
  line >> name >> records;
  EXPECT_EQ(records, db().count(kEnglishStore, kMeanings));
}

// Bad input: one line naming what is wrong, and nothing left where the
// database was to go.
class BuildInput : public ::testing::Test {
 protected:
  PolylexBuildResult build(const std::string& wordnetDir, bool force = false) {
    return PolylexBuilder::Build(options(wordnetDir, force));
  }
  PolylexBuildOptions options(const std::string& wordnetDir, bool force = false) {
    PolylexBuildOptions options;
    options.output = out_.file("out.db");
    options.wordnetDir = wordnetDir;
    options.force = force;
    options.progress = progress_;
    return options;
  }
  // A few WordNet synsets, which build in a moment; `synsets` as in
  // slices::wordnetSlice.
  std::string smallWordNet(const slices::SynsetIds& synsets = {}) {
    const std::string dir = in_.file("wordnet"), wordnet = testfiles::wordnetDir();
    slices::writeWordNet(dir, synsets.empty() ? slices::wordnetSlice(wordnet)
                                              : slices::wordnetSlice(wordnet, synsets));
    return dir;
  }
  void expectOneLine(const PolylexBuildResult& r, const std::string& start) {
    EXPECT_FALSE(r.ok);
    EXPECT_TRUE(r.error.starts_with(start)) << r.error;
    EXPECT_EQ(r.error.find('\n'), std::string::npos) << r.error;
  }

  testfiles::ScratchDir out_, in_;
  std::function<bool(const std::string&, uint64_t, uint64_t)> progress_;
};

TEST_F(BuildInput, MissingWordNetDirectoryOrRecordDumpFailsBeforeAnyWork) {
  expectOneLine(build(in_.file("nowhere")), in_.file("nowhere") + ": no such WordNet directory");
  PolylexBuildOptions options;
  options.output = out_.file("out.db");
  options.recordFiles = {in_.file("nothing.txt")};
  expectOneLine(PolylexBuilder::Build(options),
                in_.file("nothing.txt") + ": no such record dump file");
  EXPECT_TRUE(dirEntries(out_.path()).empty());
}

// data.noun cut short: first inside the words of line 41, then after its
// first synset (line 30), whose pointers then lead nowhere.
TEST_F(BuildInput, BrokenDataFileIsNamedWithTheLine) {
  for (const char* name :
       {"index.noun", "index.verb", "index.adj", "index.adv", "data.verb", "data.adj", "data.adv"})
    fs::create_symlink(testfiles::wordnetDir() + "/" + name, in_.file(name));
  std::ifstream in(testfiles::wordnetDir() + "/data.noun");
  std::string head, line;
  for (int n = 1; n < 41 && std::getline(in, line); ++n) head += line + "\n";
  std::getline(in, line);
  std::string throughEntity = head.substr(0, head.find("\n00001930 ") + 1);

  testfiles::writeFile(in_.file("data.noun"), head + line.substr(0, 30));
  expectOneLine(build(in_.path()), in_.file("data.noun") + ":41: ");
  testfiles::writeFile(in_.file("data.noun"), throughEntity);
  expectOneLine(build(in_.path()),
                in_.file("data.noun") + ":30: pointer to a synset that is not there: 1930 n");
  testfiles::writeFile(in_.file("data.noun"), head + throughEntity.substr(throughEntity.rfind("00001740 ")));
  expectOneLine(build(in_.path()), in_.file("data.noun") + ":41: synset at offset 1740 does not follow");
  EXPECT_TRUE(dirEntries(out_.path()).empty());
}

TEST_F(BuildInput, ExistingOutputIsKeptUnlessForcedAndComplete) {
  testfiles::writeFile(out_.file("out.db"), "old");
  expectOneLine(build(testfiles::wordnetDir()), out_.file("out.db") + ": already exists");
  // Forced, a build that fails still leaves the old file as it was.
  expectOneLine(build(in_.file("nowhere"), true), in_.file("nowhere"));
  EXPECT_EQ(testfiles::readFile(out_.file("out.db")), "old");
}

// A data file cut to nothing, or a folder in its place, would make a database
// without nouns.
TEST_F(BuildInput, EmptyDataFileOrFolderIsAnError) {
  // Verbs, adjectives and adverbs with no pointer to a noun: data.noun keeps
  // only its licence line, and builds as a part of speech left out.
  const std::string dir = smallWordNet(
      {{'v', 1047763}, {'v', 1047969}, {'a', 1740}, {'a', 2098}, {'r', 4394}, {'r', 4567}});
  const std::string noun = dir + "/data.noun", index = dir + "/index.noun";
  const std::string licenceOnly = testfiles::readFile(noun);
  ASSERT_EQ(std::count(licenceOnly.begin(), licenceOnly.end(), '\n'), 1);
  const PolylexBuildResult withoutNouns = build(dir);
  ASSERT_TRUE(withoutNouns.ok) << withoutNouns.error;
  fs::remove(out_.file("out.db"));
  const struct {
    const char* what;
    std::function<void()> make;
    std::string error;
  } cases[] = {
      {"empty", [&] { testfiles::writeFile(noun, ""); }, noun + ": an empty data file"},
      {"data file a folder",
       [&] {
         fs::remove(noun);
         fs::create_directory(noun);
       },
       noun + ": a folder, not a file"},
      {"index file a folder",
       [&] {
         fs::remove(index);
         fs::create_directory(index);
       },
       index + ": a folder, not a file"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    c.make();
    const PolylexBuildResult r = build(dir);
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.error, c.error);
    EXPECT_TRUE(dirEntries(out_.path()).empty());
  }
}

// Forced, a build replaces a regular file and nothing else: not a device,
// not a FIFO, not a link, and not one of its own inputs under whatever name.
TEST_F(BuildInput, ForcedBuildReplacesOnlyARegularFileThatIsNoInput) {
  const std::string dir = smallWordNet();
  const std::string dump = in_.file("records.txt"), dataNoun = dir + "/data.noun";
  testfiles::writeFile(dump, "# no records\n");
  const std::string fifo = out_.file("fifo.db"), device = out_.file("null.db"),
                    alias = out_.file("alias.db");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  fs::create_symlink("/dev/null", device);
  fs::create_hard_link(dataNoun, alias);
  const std::string nouns = testfiles::readFile(dataNoun);
  const struct {
    std::string output, error;
  } cases[] = {
      {fifo, fifo + ": not a regular file; the build replaces nothing else"},
      {device, device + ": not a regular file; the build replaces nothing else"},
      {dataNoun, dataNoun + ": one of the build's inputs (" + dataNoun + "); not replaced"},
      {alias, alias + ": one of the build's inputs (" + dataNoun + "); not replaced"},
      {dump, dump + ": one of the build's inputs (" + dump + "); not replaced"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.output);
    PolylexBuildOptions o = options(dir, true);
    o.output = c.output;
    o.recordFiles = {dump};
    const PolylexBuildResult r = PolylexBuilder::Build(o);
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.error, c.error);
  }
  EXPECT_TRUE(fs::is_fifo(fifo));
  EXPECT_EQ(fs::read_symlink(device), "/dev/null");
  EXPECT_EQ(testfiles::readFile(dataNoun), nouns);
  EXPECT_EQ(testfiles::readFile(alias), nouns);
  EXPECT_EQ(testfiles::readFile(dump), "# no records\n");
  EXPECT_EQ(dirEntries(out_.path()).size(), 3u) << "no temporary database left";
}

// What appears at the output while the build runs is looked at again before
// the database goes there: unforced, nothing that appeared is replaced.
TEST_F(BuildInput, OutputThatAppearsDuringTheBuildIsKept) {
  const std::string dir = smallWordNet(), out = out_.file("out.db");
  const struct {
    bool force;
    std::function<void()> make;
    std::string error;
  } cases[] = {
      {false, [&] { testfiles::writeFile(out, "theirs"); },
       out + ": made by something else during the build; not replaced"},
      {true, [&] { ASSERT_EQ(mkfifo(out.c_str(), 0600), 0); },
       out + ": not a regular file; the build replaces nothing else"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.force);
    fs::remove(out);
    // The last stage: everything has been read and written by then.
    progress_ = [&](const std::string& stage, uint64_t, uint64_t) {
      if (stage == "records" && !fs::exists(fs::symlink_status(out))) c.make();
      return true;
    };
    const PolylexBuildResult r = build(dir, c.force);
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.error, c.error);
    EXPECT_EQ(dirEntries(out_.path()), std::vector<std::string>{"out.db"});
    if (!c.force) {
      EXPECT_TRUE(testfiles::readFile(out) == "theirs") << "what appeared was replaced";
    }
  }
  EXPECT_TRUE(fs::is_fifo(out));
}

TEST_F(BuildInput, StoppedBuildRemovesItsTemporaryDatabase) {
  bool sawTemporary = false;
  progress_ = [&](const std::string& stage, uint64_t, uint64_t) {
    if (stage != "index records") return true;
    for (const std::string& name : dirEntries(out_.path()))
      sawTemporary |= name.starts_with("out.db.tmp-");
    return false;
  };
  expectOneLine(build(testfiles::wordnetDir()), "stopped by the caller");
  EXPECT_TRUE(sawTemporary);
  EXPECT_TRUE(dirEntries(out_.path()).empty());
}

}  // namespace

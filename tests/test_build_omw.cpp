// Languages from the Open Multilingual Wordnet: each checked against its own
// tab file, reached from English through the inter-lingual index, and linked
// as English links the same synsets.
//
// The tab files built are those of testdb::chosenTabFiles().
#include <corvid5/PolylexBuilder.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "engine/Layout.h"
#include "engine/build/WordNetReader.h"
#include "support/BuiltDatabase.h"
#include "support/CachedDatabases.h"
#include "support/TestFiles.h"

namespace {

using namespace layout;
using testdb::Record;
using testdb::StoredDatabase;
namespace fs = std::filesystem;

constexpr uint32_t kEnglishStore = 100;

// What one tab file holds, counted plainly. Synsets are keyed
// "<offset><data file letter>" as the file gives them.
struct TabFile {
  uint64_t synsets = 0;  // named by a lemma
  uint64_t pairs = 0;    // distinct (synset, lemma)
  uint64_t lemmas = 0;   // distinct lemmas
  // Named by any line at an offset where the WordNet files read have no
  // synset, and the (synset, lemma) pairs of those.
  uint64_t elsewhere = 0, pairsElsewhere = 0;
  std::map<std::string, int64_t> senses;           // "<synset>\t<lemma>" -> its sense number
  std::map<std::string, std::string> definitions;  // synset -> its definitions, "; "-joined
  std::map<std::string, size_t> examples;          // synset -> how many examples
};

TabFile readTab(const std::string& path, const std::set<std::pair<char, uint32_t>>& wordnet) {
  std::ifstream in(path);
  std::string line;
  std::getline(in, line);
  std::string language = line.substr(line.find('\t') + 1);
  language = language.substr(0, language.find('\t'));
  std::set<std::string> synsets, elsewhere, lemmas;
  std::map<std::string, int64_t> sensesSoFar;  // "<lemma>\t<file>" -> senses numbered
  std::map<std::string, std::vector<std::pair<int, std::string>>> definitions;
  TabFile tab;
  while (std::getline(in, line)) {
    std::vector<std::string> f;
    std::istringstream fields(line);
    for (std::string piece; std::getline(fields, piece, '\t');) f.push_back(piece);
    std::string kind = f[1].starts_with(language + ":") ? f[1].substr(language.size() + 1) : f[1];
    if (kind != "lemma" && kind != "def" && kind != "exe") continue;
    if (kind == "lemma" && f[2] == "GAP!") continue;  // a meaning without a word
    char file = f[0].back() == 's' ? 'a' : f[0].back();
    std::string synset = f[0].substr(0, 8) + file;
    bool atWordNetOffset =
        wordnet.count({file, static_cast<uint32_t>(std::stoul(f[0].substr(0, 8)))});
    if (!atWordNetOffset) elsewhere.insert(synset);
    if (kind == "def") {
      definitions[synset].push_back({std::stoi(f[2]), f[3]});
    } else if (kind == "exe") {
      ++tab.examples[synset];
    } else if (!tab.senses.count(synset + "\t" + f[2])) {
      tab.senses[synset + "\t" + f[2]] = ++sensesSoFar[f[2] + "\t" + file];
      synsets.insert(synset);
      lemmas.insert(f[2]);
      tab.pairsElsewhere += !atWordNetOffset;
    }
  }
  for (auto& [synset, numbered] : definitions) {
    std::stable_sort(numbered.begin(), numbered.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    for (const auto& [n, text] : numbered)
      tab.definitions[synset] += (tab.definitions[synset].empty() ? "" : "; ") + text;
  }
  tab.synsets = synsets.size();
  tab.pairs = tab.senses.size();
  tab.lemmas = lemmas.size();
  tab.elsewhere = elsewhere.size();
  return tab;
}

class OmwBuild : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir_ = new testfiles::ScratchDir;
    fs::create_directory(dir_->file("omw"));
    for (const std::string& tab : testdb::chosenTabFiles())
      fs::create_symlink(tab, dir_->file("omw/") + fs::path(tab).filename().string());
    PolylexBuildOptions options;
    options.output = dir_->file("all.db");
    options.wordnetDir = testfiles::wordnetDir();
    options.omwDirs = {dir_->file("omw")};
    result_ = new PolylexBuildResult(PolylexBuilder::Build(options));
    db_ = new StoredDatabase(options.output);
  }
  static void TearDownTestSuite() {
    delete db_;
    delete result_;
    delete dir_;
  }
  void SetUp() override {
    ASSERT_TRUE(result_->ok) << result_->error;
    ASSERT_NE(db_->db(), nullptr);
  }

  static const StoredDatabase& db() { return *db_; }

  static const PolylexLanguageReport* language(const std::string& code) {
    for (const PolylexLanguageReport& r : result_->languages)
      if (r.code == code) return &r;
    return nullptr;
  }
  static uint32_t iliOf(uint32_t store, uint32_t meaning) {
    std::vector<uint32_t> links = db().find(kEqLinksByConcept, store, 1, int64_t{meaning});
    return links.size() == 1
               ? static_cast<uint32_t>(Record(db(), store, kEqLinks, links[0]).number(kTargetIli))
               : 0;
  }
  static std::string synsetKey(uint32_t ili) {
    Record record(db(), kIliStore, kData, ili);
    char offset[16];
    std::snprintf(offset, sizeof offset, "%08lld",
                  static_cast<long long>(record.number(kWordNetOffset)));
    return offset + std::string(1, " nvar"[record.number(kPos)]);
  }
  // The one meaning of a store tied to an index record; 0 when none.
  static uint32_t meaningOf(uint32_t store, uint32_t ili) {
    std::vector<uint32_t> links = db().find(kEqLinksByIli, store, 1, int64_t{ili});
    return links.size() == 1
               ? static_cast<uint32_t>(Record(db(), store, kEqLinks, links[0]).number(kConcept))
               : 0;
  }
  static std::set<std::string> literalsOf(uint32_t store, uint32_t meaning) {
    std::set<std::string> literals;
    for (uint32_t drn : db().find(kVariantsByConcept, store, 1, int64_t{meaning}))
      literals.insert(Record(db(), store, kData, drn).text(kLiteral));
    return literals;
  }

  // The checks, each of one part of what the build made.
  static void eachLanguageHoldsWhatItsFileHolds();
  static void dogReachesChienThroughTheIndex();
  static void shiftedSynsetsKeepTheirWords();
  static void projectedLinksFollowEnglish();

  static testfiles::ScratchDir* dir_;
  static PolylexBuildResult* result_;
  static StoredDatabase* db_;
};

testfiles::ScratchDir* OmwBuild::dir_ = nullptr;
PolylexBuildResult* OmwBuild::result_ = nullptr;
StoredDatabase* OmwBuild::db_ = nullptr;

void OmwBuild::eachLanguageHoldsWhatItsFileHolds() {
  ASSERT_FALSE(testdb::chosenTabFiles().empty()) << "no wn-data-*.tab under " << testfiles::sharedDir();
  ASSERT_EQ(result_->languages.size(), testdb::chosenTabFiles().size() + 1);
  testdb::WordNetCounts wn = testdb::countWordNet(testfiles::wordnetDir());
  for (size_t i = 1; i < result_->languages.size(); ++i) {
    const PolylexLanguageReport& r = result_->languages[i];
    SCOPED_TRACE(r.source);
    TabFile tab = readTab(r.source, wn.synsetIds);
    EXPECT_EQ(r.store, kEnglishStore + i);
    EXPECT_EQ(r.meanings, tab.synsets);
    EXPECT_EQ(r.variants, tab.pairs);
    // Debian's WordNet files moved some verb and adjective records by a few
    // bytes; every synset of the tab files is still found.
    EXPECT_EQ(r.skippedSynsets, 0u);
    EXPECT_EQ(r.shiftedSynsets, tab.elsewhere);
    EXPECT_EQ(db().count(r.store, kMeanings), tab.synsets);
    EXPECT_EQ(db().count(r.store, kEqLinks), tab.synsets);
    EXPECT_EQ(db().count(r.store, kConceptLinks), r.links);
    EXPECT_EQ(db().indexed(kIliVariantsByRecord, r.store, 1).size(), tab.pairs);
    std::vector<uint32_t> variants = db().indexed(kVariantsByConcept, r.store, 1);
    EXPECT_EQ(variants.size(), tab.pairs);
    std::set<std::string> lemmas;
    std::map<int64_t, std::string> synsetOf;  // meaning -> its synset key
    size_t wrong = 0, shifted = 0;
    for (uint32_t drn : variants) {
      Record v(db(), r.store, kData, drn);
      lemmas.insert(v.text(kLiteral));
      std::string& synset = synsetOf[v.number(kConcept)];
      if (synset.empty())
        synset = synsetKey(iliOf(r.store, static_cast<uint32_t>(v.number(kConcept))));
      // A moved synset's offset is not the file's: checked by its words below.
      if (!tab.senses.count(synset + "\t" + v.text(kLiteral))) {
        ++shifted;
        continue;
      }
      bool right = v.number(kSense) == tab.senses[synset + "\t" + v.text(kLiteral)] &&
                   v.text(kDefinition) == tab.definitions[synset] &&
                   v.fields(kExample).size() == tab.examples[synset];
      if (!right && wrong++ == 0)
        ADD_FAILURE() << "variant @" << drn << "@ " << v.text(kLiteral) << " of " << synset;
    }
    EXPECT_EQ(wrong, 0u);
    EXPECT_EQ(shifted, tab.pairsElsewhere);
    EXPECT_EQ(lemmas.size(), tab.lemmas);
    EXPECT_FALSE(lemmas.count("GAP!"));

    Record descriptor(db(), kSystemStore, kDescriptors, r.store);
    EXPECT_EQ(descriptor.text(kCode), r.code);
    EXPECT_EQ(r.code.size(), 2u);
    EXPECT_EQ(descriptor.number(kStoreId), int64_t{r.store});
    EXPECT_EQ(testdb::textOf(flm::nodeChild(descriptor.field(kName))), "en " + r.name);
  }
}

void OmwBuild::dogReachesChienThroughTheIndex() {
  const PolylexLanguageReport* fr = language("fr");
  ASSERT_NE(fr, nullptr) << "French is not among the languages built";
  uint32_t dog = 0;
  for (uint32_t drn : db().find(kByLiteral, kEnglishStore, 1, "dog")) {
    Record v(db(), kEnglishStore, kData, drn);
    if (v.number(kPos) == kNoun && v.number(kSense) == 1)
      dog = static_cast<uint32_t>(v.number(kConcept));
  }
  uint32_t ili = iliOf(kEnglishStore, dog);
  ASSERT_EQ(Record(db(), kIliStore, kData, ili).number(kWordNetOffset), 2084071);

  uint32_t chien = meaningOf(fr->store, ili);
  ASSERT_NE(chien, 0u);
  EXPECT_TRUE(literalsOf(fr->store, chien).count("chien"));
  std::set<std::string> named;
  for (uint32_t drn : db().find(kIliVariantsByRecord, fr->store, 1, int64_t{ili}))
    named.insert(Record(db(), fr->store, kData, drn).text(kLiteral));
  EXPECT_EQ(named, literalsOf(fr->store, chien));
}

// French words of synsets whose records Debian's files moved reach the
// English words of the same synsets: Princeton's 00613018-v (forget, leave)
// lies at 00613036 here, its 01698610-s (bald) at 01698611.
void OmwBuild::shiftedSynsetsKeepTheirWords() {
  const PolylexLanguageReport* fr = language("fr");
  ASSERT_NE(fr, nullptr);
  for (const auto& [french, english] : {std::pair{"oublier", "forget"}, {"chauve", "bald"}}) {
    std::set<std::string> reached;
    for (uint32_t drn : db().find(kByLiteral, fr->store, 1, french)) {
      uint32_t meaning = static_cast<uint32_t>(Record(db(), fr->store, kData, drn).number(kConcept));
      std::set<std::string> words =
          literalsOf(kEnglishStore, meaningOf(kEnglishStore, iliOf(fr->store, meaning)));
      reached.insert(words.begin(), words.end());
    }
    EXPECT_TRUE(reached.count(english)) << french;
  }
}

// Between whole synsets, each English link whose two ends the language has
// is the language's link too; links between English words are not carried.
void OmwBuild::projectedLinksFollowEnglish() {
  const PolylexLanguageReport* fr = language("fr");
  ASSERT_NE(fr, nullptr);
  uint32_t checked = 0;
  for (uint32_t meaning = 1; meaning <= 400; ++meaning) {
    uint32_t english = meaningOf(kEnglishStore, iliOf(fr->store, meaning));
    ASSERT_NE(english, 0u) << meaning;
    std::multiset<std::pair<int64_t, uint32_t>> expected, found;
    for (uint32_t drn : db().find(kLinksBySource, kEnglishStore, 1, int64_t{english})) {
      Record link(db(), kEnglishStore, kConceptLinks, drn);
      if (link.field(kVariant)) continue;
      uint32_t target = meaningOf(
          fr->store, iliOf(kEnglishStore, static_cast<uint32_t>(link.number(kTargetConcept))));
      if (target) expected.insert({link.number(kRelation), target});
    }
    for (uint32_t drn : db().find(kLinksBySource, fr->store, 1, int64_t{meaning})) {
      Record link(db(), fr->store, kConceptLinks, drn);
      EXPECT_EQ(link.field(kVariant), nullptr);
      found.insert({link.number(kRelation), static_cast<uint32_t>(link.number(kTargetConcept))});
    }
    EXPECT_EQ(found, expected) << meaning;
    checked += static_cast<uint32_t>(found.size());
  }
  EXPECT_GT(checked, 0u);
}

// One test for everything the build holds: ctest runs each test in a process
// of its own, which would build the database again for each.
TEST_F(OmwBuild, HoldsEachLanguage) {
  for (const auto& [name, check] :
       {std::pair{"EachLanguageHoldsWhatItsFileHolds",
                  &OmwBuild::eachLanguageHoldsWhatItsFileHolds},
        std::pair{"DogReachesChienThroughTheIndex", &OmwBuild::dogReachesChienThroughTheIndex},
        std::pair{"ShiftedSynsetsKeepTheirWords", &OmwBuild::shiftedSynsetsKeepTheirWords},
        std::pair{"ProjectedLinksFollowEnglish", &OmwBuild::projectedLinksFollowEnglish}}) {
    SCOPED_TRACE(name);
    check();
  }
}

// Dog's record starts at 02084071 and runs for hundreds of bytes; no noun
// record is shorter than 59 bytes.
TEST(WordNetOffsets, NearestReachesOnlyAFewBytes) {
  build::Progress quiet(nullptr);
  build::WordNet wn = build::readWordNet(testfiles::wordnetDir(), quiet);
  std::optional<uint32_t> dog = wn.find('n', 2084071);
  ASSERT_TRUE(dog);
  EXPECT_EQ(wn.nearest('n', 2084071), dog);
  EXPECT_EQ(wn.nearest('n', 2084071 - 18), dog);
  EXPECT_EQ(wn.nearest('n', 2084071 + 1), dog);
  EXPECT_FALSE(wn.nearest('n', 2084071 + 40));
  EXPECT_FALSE(wn.nearest('x', 2084071));
  EXPECT_EQ(wn.nearest('v', 613018), wn.find('v', 613036));
}

TEST(OmwInput, MalformedTabLineIsNamed) {
  // The header and two good lines of a real file, then a bad line 4.
  std::string head;
  std::ifstream real(testfiles::sharedDir() + "/data/omw/fra/wn-data-fra.tab");
  std::string line;
  for (int n = 0; n < 3 && std::getline(real, line); ++n) head += line + "\n";
  ASSERT_EQ(std::count(head.begin(), head.end(), '\n'), 3);
  for (const char* bad : {"02084071-n\tfra:lemma", "2084071-n\tfra:lemma\tchien",
                          "02084071-n\tfra:def\tx\tun chien"}) {
    testfiles::ScratchDir in, out;
    testfiles::writeFile(in.file("wn-data-fra.tab"), head + bad + "\n");
    PolylexBuildOptions options;
    options.output = out.file("out.db");
    options.wordnetDir = testfiles::wordnetDir();
    options.omwDirs = {in.path()};
    PolylexBuildResult r = PolylexBuilder::Build(options);
    EXPECT_FALSE(r.ok) << bad;
    EXPECT_TRUE(
        r.error.starts_with(fs::weakly_canonical(in.file("wn-data-fra.tab")).string() + ":4: "))
        << r.error;
    EXPECT_EQ(r.error.find('\n'), std::string::npos);
    EXPECT_TRUE(fs::is_empty(out.path()));
  }
}

}  // namespace

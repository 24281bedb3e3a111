// Faults from outside the library: a build killed at any moment, a disk that
// fills in the middle of writing, and readers that must leave the file as
// they found it.
//
// The builds here take English from the WordNet 3.0 synsets that the Danish
// wordnet names (with the pointers among them) and Danish from its own tab
// file, so that one build takes a second or two instead of a minute.
#include <corvid5/corvid5.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <thread>
#include <vector>

#include "engine/Layout.h"
#include "flm/Database.h"
#include "flm/ErrorCodes.h"
#include "support/BuiltDatabase.h"
#include "support/LoadedDatabase.h"
#include "support/SmallDatabases.h"
#include "support/TestFiles.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

using testdb::narrow;

// ---------------------------------------------------------------------------
// A small WordNet made from WordNet 3.0's own files

// Synsets by data file letter (n, v, a, r) and offset.
using SynsetKeys = std::set<std::pair<char, uint32_t>>;

char dataFileLetter(char pos) { return pos == 's' ? 'a' : pos; }

SynsetKeys synsetsNamedIn(const std::string& tab) {
  SynsetKeys keys;
  std::ifstream in(tab);
  for (std::string line; std::getline(in, line);) {
    const std::string id = line.substr(0, line.find('\t'));
    if (id.size() == 10 && id[8] == '-')
      keys.insert({dataFileLetter(id[9]), static_cast<uint32_t>(std::stoul(id.substr(0, 8)))});
  }
  return keys;
}

std::vector<std::string> spaceSeparated(const std::string& text) {
  std::vector<std::string> words;
  std::istringstream in(text);
  for (std::string w; in >> w;) words.push_back(w);
  return words;
}

// A data file line without the pointers that lead out of `kept`; the words,
// frames and gloss stay as they are.
std::string withPointersAmong(const std::string& line, const SynsetKeys& kept) {
  const size_t bar = line.find(" | ");
  std::vector<std::string> f = spaceSeparated(line.substr(0, bar));
  const size_t countAt = 4 + 2 * std::stoul(f[3], nullptr, 16);
  const size_t pointers = std::stoul(f[countAt]);
  std::vector<std::string> out(f.begin(), f.begin() + static_cast<long>(countAt));
  std::vector<std::string> keptPointers;
  for (size_t p = 0; p < pointers; ++p) {
    const size_t at = countAt + 1 + 4 * p;
    if (kept.count({dataFileLetter(f[at + 2][0]), static_cast<uint32_t>(std::stoul(f[at + 1]))}))
      keptPointers.insert(keptPointers.end(), f.begin() + static_cast<long>(at),
                          f.begin() + static_cast<long>(at + 4));
  }
  // WordNet writes the count in three digits.
  std::string count = std::to_string(keptPointers.size() / 4);
  out.push_back(std::string(3 - std::min<size_t>(count.size(), 3), '0') + count);
  out.insert(out.end(), keptPointers.begin(), keptPointers.end());
  out.insert(out.end(), f.begin() + static_cast<long>(countAt + 1 + 4 * pointers), f.end());
  std::string joined;
  for (const std::string& w : out) joined += w + " ";
  joined.pop_back();
  return joined + line.substr(bar);
}

void writeSmallWordNet(const std::string& from, const std::string& to, const SynsetKeys& kept) {
  fs::create_directories(to);
  for (const char* name : {"noun", "verb", "adj", "adv"}) {
    const char letter = std::string(name) == "adj" ? 'a' : std::string(name) == "adv" ? 'r' : name[0];
    fs::create_symlink(from + "/index." + name, to + "/index." + name);
    std::ifstream in(from + "/data." + name);
    std::ofstream out(to + "/data." + name);
    for (std::string line; std::getline(in, line);) {
      if (line.empty() || line[0] == ' ') continue;  // the licence
      if (kept.count({letter, static_cast<uint32_t>(std::stoul(line.substr(0, 8)))}))
        out << withPointersAmong(line, kept) << "\n";
    }
  }
}

// ---------------------------------------------------------------------------
// Running the corvid command

pid_t startCorvid(const std::vector<std::string>& args) {
  std::vector<char*> argv{const_cast<char*>(CORVID5_CORVID_BINARY)};
  for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t quiet;
  posix_spawn_file_actions_init(&quiet);
  posix_spawn_file_actions_addopen(&quiet, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&quiet, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t pid = -1;
  if (posix_spawn(&pid, argv[0], &quiet, nullptr, argv.data(), environ) != 0) pid = -1;
  posix_spawn_file_actions_destroy(&quiet);
  return pid;
}

int waitFor(pid_t pid) {
  int status = 0;
  waitpid(pid, &status, 0);
  return status;
}

// The small build's sources, and one database built from them, made once
// for the whole test program.
class SmallBuild {
 public:
  static const SmallBuild& get() {
    static SmallBuild build;
    return build;
  }

  bool ready() const { return ok_; }
  const std::string& database() const { return database_; }
  Clock::duration buildTime() const { return buildTime_; }
  std::vector<std::string> arguments(const std::string& output) const {
    return {"build", output, "--wordnet", dir_.file("wordnet"), "--omw", dir_.file("omw"), "--force"};
  }

 private:
  SmallBuild() {
    const std::string tab = testfiles::sharedDir() + "/data/omw/dan/wn-data-dan.tab";
    if (!fs::exists(tab) || !fs::exists(testfiles::wordnetDir() + "/data.noun")) return;
    writeSmallWordNet(testfiles::wordnetDir(), dir_.file("wordnet"), synsetsNamedIn(tab));
    fs::create_directory(dir_.file("omw"));
    fs::create_symlink(tab, dir_.file("omw/wn-data-dan.tab"));
    database_ = dir_.file("small.db");
    const Clock::time_point start = Clock::now();
    const int status = waitFor(startCorvid(arguments(database_)));
    buildTime_ = Clock::now() - start;
    ok_ = WIFEXITED(status) && WEXITSTATUS(status) == 0;
  }

  testfiles::ScratchDir dir_;
  std::string database_;
  Clock::duration buildTime_{};
  bool ok_ = false;
};

// ---------------------------------------------------------------------------
// Reading a database through the public object model

template <class T>
struct Destroyer {
  void operator()(T* object) const { object->Destroy(); }
};
template <class T>
using Held = std::unique_ptr<T, Destroyer<T>>;

// Walks a collection front to back, handing each element to `visit`, which
// keeps nothing past the call; answers how many there were.
template <class Collection, class Element, class Visit>
size_t walk(Collection* collection, Visit visit) {
  if (!collection) return 0;
  Held<Collection> held(collection);
  size_t n = 0;
  Element* e = nullptr;
  for (int more = held->GetFirst(&e); more; more = held->GetNext(&e), ++n) {
    Held<Element> element(e);
    visit(*element);
  }
  return n;
}

// How much of each kind a full walk met.
struct Tally {
  std::map<std::string, size_t> meanings;  // by language code
  size_t languages = 0, variants = 0, examples = 0, links = 0, linkTargets = 0, eqLinks = 0,
         exports = 0, dictionaryEntries = 0, iliRecords = 0, iliVariants = 0, topConcepts = 0,
         topVariants = 0, iliTopConcepts = 0, ontologyLinks = 0, relations = 0, texts = 0;
};

class EverythingWalk {
 public:
  EverythingWalk(Polylex& polylex, Tally* tally) : polylex_(polylex), t_(*tally) {}

  void run() {
    Held<Site> site(polylex_.GetSite());
    text(site->GetName());
    text(site->GetLanguageCode());
    t_.texts += polylex_.GetDataVersion() != 0;
    t_.relations = walk<Relations, Relation>(polylex_.GetRelations(), [&](Relation& r) {
      text(r.GetName());
    });
    Held<LanguageWordNets> all(polylex_.GetLanguageWordNets());
    std::vector<Held<LanguageWordNet>> languages;
    LanguageWordNet* w = nullptr;
    for (int more = all->GetFirst(&w); more; more = all->GetNext(&w)) {
      languages.emplace_back(w);
      wordnet(*w);
      wordnets_.push_back(w);
    }
    t_.languages = languages.size();
    Held<LanguageWordNet> index(polylex_.GetILILanguageWordNet());
    wordnets_.push_back(index.get());
    t_.iliRecords = walk<ILIRecords, ILIRecord>(polylex_.GetILIRecords(),
                                                [&](ILIRecord& r) { iliRecord(r); });
    wordnets_.clear();
    Held<TopConcepts> tops(polylex_.GetTopConcepts());
    TopConcept* top = nullptr;
    for (int more = tops->GetFirst(&top); more; more = tops->GetNext(&top)) {
      Held<TopConcept> held(top);
      topConcept(*held);
    }
  }

 private:
  void text(unsigned short* s) { t_.texts += s && !narrow(s).empty(); }

  void wordnet(LanguageWordNet& w) {
    Held<Language> language(w.GetLanguage());
    const std::string code = narrow(language->GetCode());
    text(language->GetName("en"));
    stores_.push_back(w.GetStoreID());
    t_.meanings[code] = walk<Concepts, Concept>(w.GetConcepts(), [&](Concept& c) { meaning(w, c); });
    t_.dictionaryEntries += walk<Dictionary, DictionaryEntry>(w.GetDictionary(), [&](DictionaryEntry& e) {
      text(e.GetLiteral());
      t_.texts += e.HasConcepts() + e.HasILIRecords() + e.HasTopConcepts();
    });
  }

  void meaning(LanguageWordNet& w, Concept& c) {
    text(c.GetPartOfSpeech());
    t_.variants += walk<ConceptVariants, ConceptVariant>(c.GetConceptVariants(), [&](ConceptVariant& v) {
      text(v.GetLiteral());
      text(v.GetDefinition());
      text(v.GetUsageLabels());
      text(v.GetFeatures());
      Held<Examples> examples(v.GetExamples());
      unsigned short* example = nullptr;
      for (int more = examples->GetFirst(&example); more; more = examples->GetNext(&example)) {
        ++t_.examples;
        SysFreeString(example);
      }
    });
    t_.links += walk<ConceptLinks, ConceptLink>(c.GetConceptLinks(0), [&](ConceptLink& l) {
      Held<Concept> target(l.GetTargetConcept());
      t_.linkTargets += target != nullptr;
    });
    ILIRecords* equivalents = nullptr;
    if (c.GetILIRecords(0, &equivalents))
      t_.eqLinks += walk<ILIRecords, ILIRecord>(equivalents, [](ILIRecord&) {});
    unsigned short* exported = nullptr;
    if (w.ExportConcept(&c, &exported)) t_.exports += !narrow(exported).empty();
  }

  // Its words in every wordnet, the index's own included.
  void iliRecord(ILIRecord& r) {
    text(r.GetGloss());
    text(r.GetPartOfSpeech());
    for (LanguageWordNet* w : wordnets_)
      t_.iliVariants += walk<ILIVariants, ILIVariant>(
          w->GetILIVariants(static_cast<uint32_t>(r.GetRecordID())),
          [&](ILIVariant& v) { text(v.GetLiteral()); });
    // The record names itself as the one whose top concept is wanted.
    TopConcept* top = reinterpret_cast<TopConcept*>(&r);
    if (r.GetTopConcept(&top)) {
      Held<TopConcept> held(top);
      ++t_.iliTopConcepts;
    }
  }

  void topConcept(TopConcept& top) {
    ++t_.topConcepts;
    text(top.GetGloss());
    TopConcept* super = nullptr;
    if (top.GetSuper(&super)) {
      Held<TopConcept> held(super);
      ++t_.ontologyLinks;
    }
    for (auto linked : {&TopConcept::GetSubs, &TopConcept::GetSimilars, &TopConcept::GetOpposites}) {
      LinkedTopConcepts* list = nullptr;
      if (!(top.*linked)(&list)) continue;
      Held<LinkedTopConcepts> held(list);
      TopConcept* other = nullptr;
      for (int more = held->GetFirst(&other); more; more = held->GetNext(&other)) {
        Held<TopConcept> each(other);
        ++t_.ontologyLinks;
      }
    }
    for (uint32_t store : stores_)
      t_.topVariants += walk<TopConceptVariants, TopConceptVariant>(
          top.GetTopConceptVariants(store), [&](TopConceptVariant& v) { text(v.GetLiteral()); });
  }

  Polylex& polylex_;
  Tally& t_;
  std::vector<uint32_t> stores_;
  std::vector<LanguageWordNet*> wordnets_;
};

Tally walkEverything(const std::string& path) {
  CorvidEngine::GetInstance();
  Polylex polylex;
  polylex.Open(path.c_str(), nullptr, 1, 0);
  Tally tally;
  EverythingWalk(polylex, &tally).run();
  polylex.Close();
  return tally;
}

// Languages and their meanings: a database that opens has them all or was
// not made at all.
std::map<std::string, int32_t> meaningsByLanguage(const std::string& path) {
  CorvidEngine::GetInstance();
  Polylex polylex;
  polylex.Open(path.c_str(), nullptr, 1, 0);
  std::map<std::string, int32_t> meanings;
  walk<LanguageWordNets, LanguageWordNet>(polylex.GetLanguageWordNets(), [&](LanguageWordNet& w) {
    Held<Language> language(w.GetLanguage());
    Held<Concepts> all(w.GetConcepts());
    meanings[narrow(language->GetCode())] = all->GetCount();
  });
  return meanings;
}

std::string openFailure(const std::string& path) {
  try {
    meaningsByLanguage(path);
  } catch (const PLXException& e) {
    return static_cast<const char*>(e);
  }
  return "";
}

size_t temporaryFilesBeside(const std::string& path) {
  size_t n = 0;
  const std::string prefix = fs::path(path).filename().string() + ".tmp-";
  for (const auto& entry : fs::directory_iterator(fs::path(path).parent_path()))
    n += entry.path().filename().string().starts_with(prefix);
  return n;
}

// ---------------------------------------------------------------------------
// A build killed with SIGKILL

class KilledBuild : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!SmallBuild::get().ready()) GTEST_SKIP() << "no WordNet 3.0 files or no Danish tab file";
    complete_ = meaningsByLanguage(SmallBuild::get().database());
  }

  // Starts a build over `target` and kills it `after` its start; false when
  // the build finished first.
  bool killedAfter(Clock::duration after, const std::string& target) {
    const pid_t pid = startCorvid(SmallBuild::get().arguments(target));
    EXPECT_GT(pid, 0);
    killed_ = pid;
    std::this_thread::sleep_for(after);
    kill(pid, SIGKILL);
    const int status = waitFor(pid);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
  }

  void expectCompleteOrAbsent(const std::string& target, bool hadOne) {
    if (!fs::exists(target)) {
      EXPECT_FALSE(hadOne) << "the complete database there was removed";
      return;
    }
    EXPECT_EQ(openFailure(target), "");
    EXPECT_EQ(meaningsByLanguage(target), complete_);
  }

  testfiles::ScratchDir dir_;
  std::map<std::string, int32_t> complete_;
  pid_t killed_ = 0;
};

TEST_F(KilledBuild, TenMomentsLeaveACompleteDatabaseOrNoneAndALaterBuildSucceeds) {
  ASSERT_EQ(complete_.size(), 2u);
  ASSERT_GT(complete_["da"], 1000);
  const std::string target = dir_.file("out.db");
  // Moments spread over the build, up to five sixths of a whole one; a
  // build that finishes before its moment teaches a shorter whole.
  Clock::duration whole = SmallBuild::get().buildTime();
  int kills = 0, writing = 0, finished = 0;
  while (kills < 10 && finished < 5) {
    // Every other build replaces a complete database, the rest make a new one.
    const bool hadOne = kills % 2 == 1;
    std::error_code ignored;
    fs::remove(target, ignored);
    if (hadOne) fs::copy_file(SmallBuild::get().database(), target);
    const Clock::time_point start = Clock::now();
    if (!killedAfter(whole * (kills + 1) / 12, target)) {
      whole = Clock::now() - start;
      ++finished;
      continue;
    }
    SCOPED_TRACE("kill " + std::to_string(kills + 1));
    expectCompleteOrAbsent(target, hadOne);
    writing += fs::exists(target + ".tmp-" + std::to_string(killed_));
    ++kills;
  }
  EXPECT_EQ(kills, 10) << finished << " builds finished before their moment";
  EXPECT_GT(writing, 0) << "no kill came while the database was being written";

  // A killed build leaves its temporary files behind; the next build removes them.
  const int status = waitFor(startCorvid(SmallBuild::get().arguments(target)));
  ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_EQ(meaningsByLanguage(target), complete_);
  EXPECT_EQ(temporaryFilesBeside(target), 0u);
}

// ---------------------------------------------------------------------------
// A disk that fills while records are written

constexpr uint32_t kStore = layout::kFirstLanguageStore;
constexpr uint16_t kVariants = layout::kData;
constexpr uint32_t kFirstVariant = 1000;

// One meaning for the variants to belong to.
const char* const kOneMeaning = R"(
STORE 100 CONTAINER 200
0 @1@ CONCEPT
  1 TYPE 1
  1 PART_OF_SPEECH 1
)";

std::string literalOf(uint32_t n) { return "word " + std::to_string(n); }

// A definition long enough that a few records fill a page.
std::string definitionOf(uint32_t n) { return std::string(300, static_cast<char>('a' + n % 26)); }

// Adds variant `n` of meaning 1; 1 or 0 as FlmRecord::Add answers, with the
// record's error in `error`.
int addVariant(void* db, uint32_t n, FlmError* error) {
  FlmRecord variant(layout::kVariant, 512);
  const int built = variant.AddField(layout::kLiteral, 32767, fsRoot, gmChild) &&
                    variant.Put(literalOf(n).c_str()) &&
                    variant.AddField(layout::kDefinition, 32767, fsRoot, gmChild) &&
                    variant.Put(definitionOf(n).c_str());
  EXPECT_TRUE(built);
  const int added = variant.Add(db, kStore, kVariants, n);
  *error = variant.GetFlmError();
  return added;
}

flm::Database* engineDatabase(void* handle) { return flm::Database::fromHandle(handle); }

int64_t pragma(flm::Database* db, const std::string& sql) {
  sqlite3_stmt* stmt = nullptr;
  sqlite3_prepare_v2(db->sql(), sql.c_str(), -1, &stmt, nullptr);
  const int64_t value = sqlite3_step(stmt) == SQLITE_ROW ? sqlite3_column_int64(stmt, 0) : -1;
  sqlite3_finalize(stmt);
  return value;
}

// SQLite's page limit stands in for the disk: a few pages past what the
// file already holds.
void leaveRoomForFewPages(flm::Database* db) {
  const int64_t pages = pragma(db, "PRAGMA page_count");
  ASSERT_GT(pages, 0);
  EXPECT_EQ(pragma(db, "PRAGMA max_page_count = " + std::to_string(pages + 6)), pages + 6);
}

// Adds variants until the disk is full; answers how many went in.
uint32_t fillTheDisk(void* db, FlmError* refusal) {
  uint32_t n = kFirstVariant;
  while (n < kFirstVariant + 5000 && addVariant(db, n, refusal)) ++n;
  return n - kFirstVariant;
}

// Every variant added before the refusal, as it was written, and nothing of
// the refused one: neither its record nor its index key.
void expectVariantsThrough(const std::string& path, uint32_t added) {
  testdb::StoredDatabase db(path);
  ASSERT_NE(db.db(), nullptr);
  EXPECT_EQ(db.count(kStore, kVariants), added);
  for (uint32_t n = kFirstVariant; n < kFirstVariant + added; ++n) {
    testdb::Record variant(db, kStore, kVariants, n);
    ASSERT_NE(variant.root(), nullptr) << n;
    EXPECT_EQ(variant.text(layout::kLiteral), literalOf(n));
    EXPECT_EQ(variant.text(layout::kDefinition), definitionOf(n));
    EXPECT_EQ(db.find(layout::kByLiteral, kStore, 1, literalOf(n)), std::vector<uint32_t>{n});
  }
  const uint32_t refused = kFirstVariant + added;
  EXPECT_EQ(testdb::Record(db, kStore, kVariants, refused).root(), nullptr);
  EXPECT_TRUE(db.find(layout::kByLiteral, kStore, 1, literalOf(refused)).empty());
}

std::string integrity(const std::string& path) {
  testdb::StoredDatabase db(path);
  sqlite3_stmt* stmt = nullptr;
  sqlite3_prepare_v2(db.db()->sql(), "PRAGMA integrity_check", -1, &stmt, nullptr);
  std::string answer = sqlite3_step(stmt) == SQLITE_ROW
                           ? reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0))
                           : "no answer";
  sqlite3_finalize(stmt);
  return answer;
}

TEST(FullDisk, AWriteRefusedMidwayReportsDiskFullAndKeepsEverythingBefore) {
  testdb::LoadedDatabase loaded(kOneMeaning);
  flm::Database* db = engineDatabase(loaded.handle());
  const std::string path = db->path();
  leaveRoomForFewPages(db);

  FlmError refusal;
  const uint32_t added = fillTheDisk(loaded.handle(), &refusal);
  EXPECT_GT(added, 3u) << "the page limit left no room at all";
  ASSERT_LT(added, 5000u) << "the page limit was never reached";
  EXPECT_EQ(refusal.GetError(), flm::FERR_IO_DISK_FULL);
  EXPECT_STREQ(static_cast<const char*>(refusal), "IO_DISK_FULL");
  // Thrown, the record's error names the same code.
  FlmRecord next(layout::kVariant, 256);
  ASSERT_TRUE(next.AddField(layout::kLiteral, 32767, fsRoot, gmChild) &&
              next.Put(definitionOf(0).c_str()));
  ASSERT_EQ(next.Add(loaded.handle(), kStore, kVariants, kFirstVariant + added), 0);
  try {
    next.ThrowError();
    ADD_FAILURE() << "nothing thrown";
  } catch (const FlmError& e) {
    EXPECT_EQ(static_cast<unsigned long>(e), flm::FERR_IO_DISK_FULL);
  }
  loaded.close();
  expectVariantsThrough(path, added);
  EXPECT_EQ(integrity(path), "ok");
}

// SQLite ends the whole transaction when a write that keeps no statement
// journal (a record's single row) meets the limit; the engine must then say
// so rather than go on as if the earlier writes of it were still to come.
TEST(FullDisk, RefusalInsideATransactionEndsItWholeAndItCanBeDoneAgainWithRoom) {
  testdb::LoadedDatabase loaded(kOneMeaning);
  flm::Database* db = engineDatabase(loaded.handle());
  const std::string path = db->path();
  leaveRoomForFewPages(db);

  ASSERT_EQ(db->transBegin(), flm::FERR_OK);
  FlmError refusal;
  const uint32_t added = fillTheDisk(loaded.handle(), &refusal);
  ASSERT_LT(added, 5000u);
  EXPECT_EQ(refusal.GetError(), flm::FERR_IO_DISK_FULL);
  EXPECT_FALSE(db->transActive());
  EXPECT_EQ(db->transCommit(), flm::FERR_NO_TRANS_ACTIVE);
  for (uint32_t n : {kFirstVariant, kFirstVariant + added - 1}) {
    bool found = true;
    EXPECT_EQ(db->exists(kStore, kVariants, n, &found), flm::FERR_OK);
    EXPECT_FALSE(found) << n << " outlived its transaction";
  }
  bool meaning = false;
  EXPECT_EQ(db->exists(kStore, layout::kMeanings, 1, &meaning), flm::FERR_OK);
  EXPECT_TRUE(meaning) << "a record written before the transaction was lost";

  // With room the same transaction goes through, the refused record too.
  EXPECT_GT(pragma(db, "PRAGMA max_page_count = 1000000"), 1000);
  ASSERT_EQ(db->transBegin(), flm::FERR_OK);
  for (uint32_t n = kFirstVariant; n <= kFirstVariant + added; ++n) {
    FlmError error;
    ASSERT_EQ(addVariant(loaded.handle(), n, &error), 1) << static_cast<const char*>(error);
  }
  EXPECT_EQ(db->transCommit(), flm::FERR_OK);
  loaded.close();
  expectVariantsThrough(path, added + 1);
  EXPECT_EQ(integrity(path), "ok");
}

// ---------------------------------------------------------------------------
// Readers leave the file as they found it

uint64_t checksum(const std::string& bytes) {
  uint64_t h = 14695981039346656037ull;  // FNV-1a
  for (unsigned char c : bytes) h = (h ^ c) * 1099511628211ull;
  return h;
}

struct FileState {
  uint64_t sum;
  uintmax_t size;
  fs::file_time_type written;
  bool operator==(const FileState&) const = default;
};

FileState stateOf(const std::string& path) {
  return {checksum(testfiles::readFile(path)), fs::file_size(path), fs::last_write_time(path)};
}

TEST(ReadOnlyOpen, WalkingEveryCollectionChangesNoByte) {
  if (!SmallBuild::get().ready()) GTEST_SKIP() << "no WordNet 3.0 files or no Danish tab file";
  testfiles::ScratchDir dir;
  const std::string path = dir.file("walked.db");
  fs::copy_file(SmallBuild::get().database(), path);
  const FileState before = stateOf(path);

  Tally t;
  try {
    t = walkEverything(path);
  } catch (const PLXException& e) {
    FAIL() << static_cast<const char*>(e);
  }
  EXPECT_TRUE(stateOf(path) == before) << "the file changed under a read-only walk";
  EXPECT_EQ(std::vector<fs::path>(fs::directory_iterator(dir.path()), {}),
            std::vector<fs::path>{path})
      << "a reader left a journal or another file beside the database";

  // The walk did reach every collection.
  EXPECT_EQ(t.languages, 2u);
  std::map<std::string, size_t> counted;
  for (const auto& [code, n] : meaningsByLanguage(path)) counted[code] = static_cast<size_t>(n);
  EXPECT_EQ(t.meanings, counted);
  EXPECT_GT(t.variants, t.meanings["en"]);
  EXPECT_GT(t.examples, 0u);
  EXPECT_GT(t.links, 0u);
  EXPECT_EQ(t.linkTargets, t.links);
  EXPECT_EQ(t.eqLinks, t.meanings["en"] + t.meanings["da"]);
  EXPECT_EQ(t.exports, t.meanings["en"] + t.meanings["da"]);
  EXPECT_GT(t.dictionaryEntries, 0u);
  EXPECT_EQ(t.iliRecords, t.meanings["en"]);
  EXPECT_GT(t.iliVariants, 0u);
  EXPECT_EQ(t.iliTopConcepts, t.iliRecords);
  EXPECT_GT(t.topConcepts, 0u);
  EXPECT_GT(t.topVariants, 0u);
  EXPECT_GT(t.ontologyLinks, 0u);
  EXPECT_GT(t.relations, 0u);
  EXPECT_GT(t.texts, 0u);
}

}  // namespace

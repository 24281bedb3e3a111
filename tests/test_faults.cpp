// Faults from outside the library: a build killed at any moment, a disk that
// fills in the middle of writing, a writer killed in the middle of its
// transactions, a damaged file, and readers that must leave the file as they
// found it.
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

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <random>
#include <thread>
#include <vector>

#include "corvid/Library.h"
#include "engine/Layout.h"
#include "flm/Database.h"
#include "flm/ErrorCodes.h"
#include "flm/Session.h"
#include "support/BuiltDatabase.h"
#include "support/LoadedDatabase.h"
#include "support/Slices.h"
#include "support/SmallDatabases.h"
#include "support/TestFiles.h"
#include "support/Walk.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

using testdb::narrow;

// ---------------------------------------------------------------------------
// A small WordNet made from WordNet 3.0's own files

// The WordNet 3.0 synsets a tab file names.
slices::SynsetIds synsetsNamedIn(const std::string& tab) {
  slices::SynsetIds keys;
  std::ifstream in(tab);
  for (std::string line; std::getline(in, line);) {
    const std::string id = line.substr(0, line.find('\t'));
    if (id.size() == 10 && id[8] == '-')
      keys.insert({id[9] == 's' ? 'a' : id[9], static_cast<uint32_t>(std::stoul(id.substr(0, 8)))});
  }
  return keys;
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
    return {"build",  output, "--wordnet", dir_.file("wordnet"), "--omw", dir_.file("omw"),
            "--force"};
  }

 private:
  SmallBuild() {
    const std::string tab = testfiles::sharedDir() + "/data/omw/dan/wn-data-dan.tab";
    if (!fs::exists(tab) || !fs::exists(testfiles::wordnetDir() + "/data.noun")) return;
    slices::writeWordNet(dir_.file("wordnet"),
                         slices::wordnetSlice(testfiles::wordnetDir(), synsetsNamedIn(tab)));
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

// Languages and their meanings: a database that opens has them all or was
// not made at all.
std::map<std::string, int32_t> meaningsByLanguage(const std::string& path) {
  CorvidEngine::GetInstance();
  Polylex polylex;
  polylex.Open(path.c_str(), nullptr, 1, 0);
  std::map<std::string, int32_t> meanings;
  corvid::Owned<LanguageWordNets> all(polylex.GetLanguageWordNets());
  corvid::forEach(*all, [&](corvid::Owned<LanguageWordNet> w) {
    corvid::Owned<Language> language(w->GetLanguage());
    meanings[narrow(language->GetCode())] = corvid::Owned<Concepts>(w->GetConcepts())->GetCount();
  });
  return meanings;
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
    try {
      EXPECT_EQ(meaningsByLanguage(target), complete_);
    } catch (const PLXException& e) {
      ADD_FAILURE() << static_cast<const char*>(e);
    }
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

// What a statement answers first, as text; "no answer" for nothing.
std::string answer(flm::Database* db, const std::string& sql) {
  sqlite3_stmt* stmt = nullptr;
  sqlite3_prepare_v2(db->sql(), sql.c_str(), -1, &stmt, nullptr);
  const std::string text = sqlite3_step(stmt) == SQLITE_ROW
                               ? reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0))
                               : "no answer";
  sqlite3_finalize(stmt);
  return text;
}

int64_t pragma(flm::Database* db, const std::string& sql) {
  const std::string text = answer(db, sql);
  return text == "no answer" ? -1 : std::stoll(text);
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
  return answer(testdb::StoredDatabase(path).db(), "PRAGMA integrity_check");
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
// A writer killed while it adds records

constexpr uint32_t kPerTransaction = 20;

// The child's part: from transaction `first` on, adds transaction after
// transaction of variants, the n-th transaction numbers n, and after each
// commit writes the number to `report`. It runs until it is killed.
[[noreturn]] void writeUntilKilled(const std::string& path, uint32_t first, int report) {
  flm::Session* session = nullptr;
  flm::Database* db = nullptr;
  if (flm::Session::create(1024, 0, &session) ||
      session->openDatabase(path.c_str(), nullptr, 0, &db))
    _exit(2);
  for (uint32_t t = first;; ++t) {
    if (db->transBegin()) _exit(3);
    FlmError error;
    for (uint32_t n = (t - 1) * kPerTransaction + 1; n <= t * kPerTransaction; ++n)
      if (!addVariant(db, n, &error)) _exit(4);
    if (db->transCommit()) _exit(5);
    if (write(report, &t, sizeof t) != static_cast<ssize_t>(sizeof t)) _exit(6);
  }
}

// The last transaction number the child reported, or `none`.
uint32_t lastReported(int report, uint32_t none) {
  uint32_t last = none, t = 0;
  while (read(report, &t, sizeof t) == static_cast<ssize_t>(sizeof t)) last = t;
  return last;
}

// How many whole transactions a read-only open sees, checking that it sees
// each whole or not at all; 0 with a failure when it cannot open.
uint32_t transactionsSeen(const std::string& path) {
  flm::Session* session = nullptr;
  EXPECT_EQ(flm::Session::create(1024, 0, &session), flm::FERR_OK);
  flm::Database* db = nullptr;
  const flm::RCODE rc = session->openDatabase(path.c_str(), nullptr, flm::FO_READ_ONLY, &db);
  EXPECT_EQ(rc, flm::FERR_OK) << "a read-only open was refused: " << flm::errorName(rc);
  uint32_t count = 0;
  if (db) {
    EXPECT_EQ(db->recordCount(kStore, kVariants, &count), flm::FERR_OK);
  }
  flm::Session::close(&session);
  EXPECT_EQ(count % kPerTransaction, 0u) << "a transaction was seen in part";
  if (count == 0) return 0;
  testdb::StoredDatabase stored(path);
  testdb::Record last(stored, kStore, kVariants, count);
  EXPECT_EQ(last.text(layout::kLiteral), literalOf(count));
  EXPECT_EQ(stored.find(layout::kByLiteral, kStore, 1, literalOf(count)),
            std::vector<uint32_t>{count});
  return count / kPerTransaction;
}

TEST(KilledWriter, ReadOnlyOpensSeeEveryCommitAndNothingUncommitted) {
  testdb::LoadedDatabase loaded(kOneMeaning);
  const std::string path = engineDatabase(loaded.handle())->path();
  loaded.close();
  std::mt19937 random(20261123);
  const Clock::time_point end = Clock::now() + std::chrono::seconds(4);
  // The first writer is killed after its first commit, which sets the pace:
  // the others die at random moments up to three commits in, however fast
  // the build runs.
  Clock::duration pace{};
  uint32_t committed = 0;
  int kills = 0, journals = 0;
  while (kills < 100 && Clock::now() < end) {
    SCOPED_TRACE("kill " + std::to_string(kills + 1));
    int report[2];
    ASSERT_EQ(pipe(report), 0);
    const Clock::time_point start = Clock::now();
    const pid_t writer = fork();
    ASSERT_GE(writer, 0);
    if (writer == 0) {
      close(report[0]);
      writeUntilKilled(path, committed + 1, report[1]);
    }
    close(report[1]);
    uint32_t first = committed;
    if (kills == 0) {
      ASSERT_EQ(read(report[0], &first, sizeof first), static_cast<ssize_t>(sizeof first));
      pace = Clock::now() - start;
    } else {
      const auto range = std::chrono::duration_cast<std::chrono::microseconds>(3 * pace).count();
      std::this_thread::sleep_for(std::chrono::microseconds(random() % (range + 1)));
    }
    kill(writer, SIGKILL);
    const int status = waitFor(writer);
    ASSERT_TRUE(WIFSIGNALED(status)) << "the writer stopped by itself: " << WEXITSTATUS(status);
    const uint32_t reported = lastReported(report[0], first);
    close(report[0]);
    journals += fs::exists(path + "-journal");
    // A commit may have finished just before the kill, with its report unsent.
    const uint32_t seen = transactionsSeen(path);
    EXPECT_TRUE(seen == reported || seen == reported + 1)
        << seen << " transactions seen, " << reported << " reported committed";
    if (::testing::Test::HasFailure()) break;
    committed = seen;
    ++kills;
  }
  EXPECT_GE(kills, 10);
  EXPECT_GT(journals, 0) << "no kill came inside a transaction";
}

// ---------------------------------------------------------------------------
// A damaged copy of a built database

// Every command that prints data, with arguments that find something in the
// small build.
std::vector<std::vector<std::string>> dataCommands(const std::string& word) {
  return {{"langs"},
          {"lookup", word},
          {"translate", word, "--from", "en"},
          {"related", word, "--lang", "en"},
          {"export", word, "--lang", "en"},
          {"dict", "--lang", "en"},
          {"dict", "--lang", "fr"},
          {"relations"},
          {"ontology"},
          {"dump", "--store", std::to_string(kStore), "--container", std::to_string(kVariants),
           "--criteria", "LITERAL == " + word}};
}

testdb::CommandRun corvidOn(const std::string& db, std::vector<std::string> args) {
  args.insert(args.begin(), {"--db", db});
  return testdb::corvid(args);
}

// The first line where two outputs part, for a message that fits a screen.
std::string firstDifference(const std::string& a, const std::string& b) {
  size_t at = 0;
  while (at < a.size() && at < b.size() && a[at] == b[at]) ++at;
  const size_t start = a.rfind('\n', at) == std::string::npos ? 0 : a.rfind('\n', at) + 1;
  return "at byte " + std::to_string(at) + ": \"" + a.substr(start, 80) + "\" became \"" +
         b.substr(start, 80) + "\"";
}

TEST(DamagedDatabase, EveryDataCommandPrintsWhatTheIntactCopyPrintsOrFailsInOneLine) {
  if (!fs::exists(testfiles::wordnetDir() + "/data.noun")) GTEST_SKIP() << "no WordNet 3.0 files";
  testfiles::ScratchDir dir;
  const std::string intact = dir.file("intact.db");
  slices::buildSmallDatabase(intact, dir.file("sources"));
  const auto commands = dataCommands("dog");
  std::vector<std::string> expected;
  for (const auto& command : commands) {
    const testdb::CommandRun run = corvidOn(intact, command);
    ASSERT_EQ(run.status, 0) << command[0] << ": " << run.err;
    ASSERT_FALSE(run.out.empty()) << command[0];
    expected.push_back(run.out);
  }
  const std::string bytes = testfiles::readFile(intact);
  constexpr size_t kDamage = 1024;
  constexpr size_t kPlaces = 32;
  const size_t stride = bytes.size() / kPlaces;
  ASSERT_GT(stride, 2 * kDamage);
  const std::string copy = dir.file("damaged.db");
  std::mt19937 random(20261123);
  size_t failedRuns = 0;
  for (size_t place = 0; place < kPlaces; ++place) {
    // Random bytes and zeros by turns, somewhere in each stretch of the file.
    const size_t offset = place * stride + random() % (stride - kDamage);
    const bool zeros = place % 2 == 1;
    std::string damaged = bytes;
    for (size_t i = offset; i < offset + kDamage; ++i)
      damaged[i] = zeros ? '\0' : static_cast<char>(random());
    testfiles::writeFile(copy, damaged);
    for (size_t c = 0; c < commands.size(); ++c) {
      SCOPED_TRACE(commands[c][0] + " with " + (zeros ? "zeros" : "random bytes") + " at " +
                   std::to_string(offset));
      const testdb::CommandRun run = corvidOn(copy, commands[c]);
      if (run.status == 0) {
        EXPECT_TRUE(run.out == expected[c]) << firstDifference(expected[c], run.out);
        continue;
      }
      ++failedRuns;
      EXPECT_EQ(run.status, 1) << "crashed or exited oddly";
      EXPECT_TRUE(run.err.starts_with("corvid: ")) << run.err;
      EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    }
  }
  EXPECT_GT(failedRuns, kPlaces) << "the damage met too little of what the commands read";
}

// ---------------------------------------------------------------------------
// A damaged copy, through the object model

using corvid::Owned;

// The first element of a walk, or null at the end; a walk that failed
// throws, as corvid does.
template <class C>
Owned<corvid::ElementOf<C>> firstOf(C& collection) {
  corvid::ElementOf<C>* element = nullptr;
  if (collection.GetFirst(&element)) return Owned<corvid::ElementOf<C>>(element);
  corvid::expectEnd(collection);
  return nullptr;
}

template <class C>
std::string idsOf(C* collection) {
  std::string ids;
  corvid::forEach(*Owned<C>(collection),
                  [&](auto element) { ids += std::to_string(element->GetRecordID()) + " "; });
  return ids;
}

// A call's answer, or how it failed. The exporter has formatted the
// message of what it throws already, and a second formatting would leave the
// first text unfreed: only the codes are read.
std::string answer(const std::function<std::string()>& call) {
  try {
    return call();
  } catch (const PLXException& e) {
    return "threw " + (e.GetError() == errFlaim ? FlmError(e.GetFLAIMError()).GetMessage()
                                                 : std::to_string(e.GetError()));
  } catch (const FlmError& e) {
    return "threw " + e.GetMessage();
  } catch (const corvid::Failure& f) {
    return "threw " + f.message;
  }
}

Owned<LanguageWordNet> english(Polylex& p) {
  return Owned<LanguageWordNet>(Owned<LanguageWordNets>(p.GetLanguageWordNets())->GetItem("en"));
}

// The first meaning of "dog"; "none" when there is none, which no copy of
// the database should answer.
Owned<Concept> dog(Polylex& p) {
  Owned<Concepts> meanings(english(p)->GetConcepts("dog"));
  Owned<Concept> first = firstOf(*meanings);
  if (!first) throw corvid::Failure{"none"};
  return first;
}

Owned<ILIRecord> indexRecordOfDog(Polylex& p) {
  ILIRecord* record = nullptr;
  if (!dog(p)->GetEqSynonym(&record)) throw corvid::Failure{"none"};
  return Owned<ILIRecord>(record);
}

// What the library tells a client about "dog", call by call: the calls that
// look something up, and walks that follow from them.
std::map<std::string, std::string> answersAboutDog(const std::string& path) {
  const std::map<std::string, std::function<std::string(Polylex&)>> calls = {
      {"site", [](Polylex& p) { return narrow(Owned<Site>(p.GetSite())->GetName()); }},
      {"relation name",
       [](Polylex& p) {
         char name[64] = "";
         return Owned<Relations>(p.GetRelations())->GetRelationName(8, name, sizeof name)
                    ? std::string(name)
                    : "none";
       }},
      {"relation id",
       [](Polylex& p) {
         Owned<Relations> relations(p.GetRelations());
         std::string name = narrow(Owned<Relation>(relations->GetItem(8))->GetName());
         short id = 0;
         return relations->GetRelationID(name.data(), &id) ? std::to_string(id) : "none";
       }},
      {"meanings", [](Polylex& p) { return idsOf(english(p)->GetConcepts("dog")); }},
      {"first variant",
       [](Polylex& p) {
         return narrow(Owned<ConceptVariant>(dog(p)->GetConceptVariant(1))->GetLiteral());
       }},
      {"base concept",
       [](Polylex& p) {
         Owned<ConceptVariant> variant(dog(p)->GetConceptVariant(1));
         return std::to_string(Owned<Concept>(variant->GetBaseConcept())->GetRecordID());
       }},
      {"index record",
       [](Polylex& p) { return std::to_string(indexRecordOfDog(p)->GetWordNetOffset()); }},
      {"index records",
       [](Polylex& p) {
         ILIRecords* records = nullptr;
         return dog(p)->GetILIRecords(0, &records) ? idsOf(records) : "none";
       }},
      {"equivalence",
       [](Polylex& p) {
         return std::to_string(dog(p)->GetEqRelation(indexRecordOfDog(p)->GetRecordID()));
       }},
      {"meanings of the index record",
       [](Polylex& p) {
         Concepts* meanings = english(p)->GetConcepts(indexRecordOfDog(p)->GetRecordID(), 0);
         return meanings ? idsOf(meanings) : "none";
       }},
      {"export",
       [](Polylex& p) {
         std::string text(1 << 16, '\0');
         dog(p)->Export(text.data(), static_cast<int>(text.size()), 0);
         return std::string(text.c_str());
       }},
      {"composed export",
       [](Polylex& p) {
         unsigned short* text = nullptr;
         Owned<Concept> meaning = dog(p);
         return english(p)->ExportConcept(meaning.get(), &text) ? narrow(text) : "none";
       }},
      {"dictionary entry",
       [](Polylex& p) {
         Owned<Dictionary> dictionary(english(p)->GetDictionary());
         return narrow(Owned<DictionaryEntry>(dictionary->GetEntry("dog"))->GetLiteral());
       }},
      {"top concept",
       [](Polylex& p) {
         Owned<ILIRecord> record = indexRecordOfDog(p);
         TopConcept* top = reinterpret_cast<TopConcept*>(record.get());
         if (!record->GetTopConcept(&top)) return std::string("none");
         Owned<TopConcept> held(top);
         TopConcept* super = nullptr;
         if (!top->GetSuper(&super)) return std::string("no super");
         return std::to_string(top->GetRecordID()) + " under " +
                std::to_string(Owned<TopConcept>(super)->GetRecordID());
       }},
  };
  CorvidEngine::GetInstance();
  Polylex polylex;
  const std::string opened = answer([&] {
    polylex.Open(path.c_str(), nullptr, 1, 0);
    return std::string("opened");
  });
  std::map<std::string, std::string> answers;
  for (const auto& [name, call] : calls)
    answers[name] = opened == "opened" ? answer([&] { return call(polylex); }) : opened;
  return answers;
}

TEST(DamagedDatabase, LookupsAnswerAsOnTheIntactCopyOrThrowTheChecksumFailure) {
  if (!fs::exists(testfiles::wordnetDir() + "/data.noun")) GTEST_SKIP() << "no WordNet 3.0 files";
  testfiles::ScratchDir dir;
  const std::string intact = dir.file("intact.db");
  slices::buildSmallDatabase(intact, dir.file("sources"));
  const std::map<std::string, std::string> expected = answersAboutDog(intact);
  for (const auto& [name, text] : expected) {
    ASSERT_FALSE(text.starts_with("threw") || text == "none") << name << ": " << text;
  }
  const std::string bytes = testfiles::readFile(intact);
  const size_t pageSize = (static_cast<unsigned char>(bytes[16]) << 8) |
                          static_cast<unsigned char>(bytes[17]);
  const std::string copy = dir.file("damaged.db");
  size_t failures = 0;
  for (size_t page = 0; page < bytes.size() / pageSize; ++page) {
    std::string damaged = bytes;
    damaged[page * pageSize + pageSize / 2] ^= 0x10;
    testfiles::writeFile(copy, damaged);
    for (const auto& [name, text] : answersAboutDog(copy)) {
      if (text == expected.at(name)) continue;
      ++failures;
      EXPECT_TRUE(text.starts_with("threw") && text.find("0xC04F") != std::string::npos)
          << name << " with page " << page + 1 << " damaged: " << text;
    }
  }
  EXPECT_GT(failures, 0u) << "no damage met what the calls read";
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

  CorvidEngine::GetInstance();
  Polylex polylex;
  polylex.Open(path.c_str(), nullptr, 1, 0);
  EXPECT_GT(clientwalk::walkDatabase(polylex), 100u) << "the walk met too little to say";
  polylex.Close();
  EXPECT_TRUE(stateOf(path) == before) << "the file changed under a read-only walk";
  EXPECT_EQ(std::vector<fs::path>(fs::directory_iterator(dir.path()), {}),
            std::vector<fs::path>{path})
      << "a reader left a journal or another file beside the database";
}

}  // namespace

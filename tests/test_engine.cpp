// The process-wide engine and the client's own session and database handles,
// on real database files.
#include <corvid5/corvid5.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "flm/Database.h"
#include "flm/Path.h"
#include "flm/Session.h"
#include "support/TestFiles.h"

namespace {

// Made in a session of its own, closed again before the test opens it.
std::string MakeDatabase(const std::string& path) {
  flm::Session* session = nullptr;
  EXPECT_EQ(flm::Session::create(32, 0, &session), flm::FERR_OK);
  flm::Dictionary dictionary;
  dictionary.fields = {{1, "word", flm::FLM_TEXT_TYPE}};
  flm::Database* database = nullptr;
  EXPECT_EQ(session->createDatabase(path.c_str(), dictionary, &database), flm::FERR_OK);
  flm::Session::close(&session);
  return path;
}

uint32_t EngineOpen(const std::string& file, unsigned char flags, void** handle) {
  unsigned char path[240] = {};
  flm::pathBuild(reinterpret_cast<char*>(path), nullptr, nullptr, file.c_str(), nullptr);
  Create_Options options{};
  return CorvidEngine::GetInstance()->OpenDatabase(&path, nullptr, flags, handle, &options);
}

flm::Database* Live(void* handle) { return flm::Database::fromHandle(handle); }
flm::Session* FlaimSession(FxSession& session) {
  return static_cast<flm::Session*>(static_cast<void*>(session));
}
uint32_t CodeOf(const FlmError& e) { return static_cast<uint32_t>(e); }

class EngineTest : public testing::Test {
 protected:
  void SetUp() override { CorvidEngine::DestroyInstance(); }
  void TearDown() override { CorvidEngine::DestroyInstance(); }

  testfiles::ScratchDir dir_;
  std::string file_ = MakeDatabase(dir_.file("a.db"));
};

using FxTest = EngineTest;

}  // namespace

TEST_F(EngineTest, OneInstanceFromFirstUseToDestroyThenAFreshOne) {
  CorvidEngine::DestroyInstance();  // none yet: nothing to do
  CorvidEngine* engine = CorvidEngine::GetInstance();
  EXPECT_EQ(engine->GetCache(), 32);
  void* handle = nullptr;
  ASSERT_EQ(EngineOpen(file_, 0, &handle), 0u);
  EXPECT_EQ(Live(handle)->session().cacheLimit(), 32u);
  // The same engine, its session (and the database in it) left alone.
  EXPECT_EQ(CorvidEngine::GetInstance(), engine);
  EXPECT_NE(Live(handle), nullptr);

  engine->SetCache(100);
  CorvidEngine::DestroyInstance();
  EXPECT_EQ(Live(handle), nullptr);
  EXPECT_EQ(CorvidEngine::GetInstance()->GetCache(), 32);
  ASSERT_EQ(EngineOpen(file_, 0, &handle), 0u);
}

TEST_F(EngineTest, CacheStartAndStop) {
  CorvidEngine* engine = CorvidEngine::GetInstance();
  void* handle = nullptr;
  ASSERT_EQ(EngineOpen(file_, 0, &handle), 0u);
  engine->SetCache(64);
  EXPECT_EQ(engine->GetCache(), 64);
  EXPECT_EQ(Live(handle)->session().cacheLimit(), 64u);
  engine->SetCache(-1);  // FLAIM reads it unsigned
  EXPECT_EQ(engine->GetCache(), -1);
  EXPECT_EQ(Live(handle)->session().cacheLimit(), 65535u);

  engine->Stop();
  EXPECT_EQ(Live(handle), nullptr);
  EXPECT_NO_THROW(engine->SetCache(200));
  EXPECT_EQ(engine->GetCache(), 200);
  EXPECT_EQ(EngineOpen(file_, 0, &handle), uint32_t{flm::FERR_BAD_HDL});
  EXPECT_EQ(handle, nullptr);

  ASSERT_EQ(engine->Start(), 1);
  EXPECT_EQ(engine->GetCache(), 32);
  ASSERT_EQ(EngineOpen(file_, 0, &handle), 0u);
  ASSERT_EQ(engine->Start(), 1);  // replaces the session, closing its database
  EXPECT_EQ(Live(handle), nullptr);
}

TEST_F(EngineTest, OpenDatabasePassesFlagsAndReportsFailures) {
  void* handle = nullptr;
  ASSERT_EQ(EngineOpen(file_, flm::FO_READ_ONLY, &handle), 0u);
  EXPECT_EQ(Live(handle)->path(), file_);
  EXPECT_TRUE(Live(handle)->readOnly());
  EXPECT_FALSE(Live(handle)->exclusive());
  auto* database = static_cast<flm::Database*>(handle);
  ASSERT_EQ(flm::Session::closeDatabase(&database), flm::FERR_OK);

  ASSERT_EQ(EngineOpen(file_, flm::FO_EXCLUSIVE, &handle), 0u);
  EXPECT_TRUE(Live(handle)->exclusive());
  void* second = &handle;  // anything but null: a failure must clear it
  EXPECT_EQ(EngineOpen(file_, 0, &second), uint32_t{flm::FERR_IO_FILE_LOCK_ERR});
  EXPECT_EQ(second, nullptr);
  EXPECT_EQ(EngineOpen(dir_.file("missing.db"), 0, &second),
            uint32_t{flm::FERR_IO_PATH_NOT_FOUND});
}

namespace {

// Plain storage: read by an exit handler, after static objects may be gone.
char gExitDirectory[1024];
char gExitFile[1100];

// Registered before the engine's handler, so it runs after it. The exclusive
// open locks the file until the database is closed.
void CheckDatabaseReleasedAtExit() {
  const int fd = ::open(gExitFile, O_RDONLY | O_CLOEXEC);
  const bool released = fd >= 0 && ::flock(fd, LOCK_EX | LOCK_NB) == 0;
  std::error_code ignored;
  std::filesystem::remove_all(gExitDirectory, ignored);
  if (!released) std::_Exit(4);
}

}  // namespace

// In a process of its own where, as in a client, nothing has touched the
// storage engine before the engine starts.
TEST(EngineExitTest, ProcessExitClosesADatabaseLeftOpen) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        // Nothing may hold heap memory across exit(): the leak check follows.
        const char* base = std::getenv("CORVID_TEST_TMP");
        std::snprintf(gExitDirectory, sizeof gExitDirectory, "%s/corvid5-exit-XXXXXX",
                      base && *base ? base : "/tmp");
        std::filesystem::create_directories(std::filesystem::path(gExitDirectory).parent_path());
        if (!::mkdtemp(gExitDirectory)) std::_Exit(2);
        std::snprintf(gExitFile, sizeof gExitFile, "%s/left-open.db", gExitDirectory);
        std::atexit(CheckDatabaseReleasedAtExit);
        CorvidEngine::GetInstance();
        MakeDatabase(gExitFile);
        void* handle = nullptr;
        std::exit(EngineOpen(gExitFile, flm::FO_EXCLUSIVE, &handle) == 0 ? 0 : 3);
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(FxTest, SessionCacheIsKeptWhileClosedAndAppliedWhileOpen) {
  FxSession session;
  EXPECT_EQ(session.GetCache(), 32);
  session.SetCache(48);
  EXPECT_EQ(session.IsOpen(), 0);

  ASSERT_EQ(session.Open(), 1);
  ASSERT_NE(FlaimSession(session), nullptr);
  EXPECT_EQ(FlaimSession(session)->cacheLimit(), 48u);
  session.SetCache(96);
  EXPECT_EQ(session.GetCache(), 96);
  EXPECT_EQ(FlaimSession(session)->cacheLimit(), 96u);

  FxDatabase database(session);
  ASSERT_EQ(database.Open(file_.c_str(), 0, 0), 1);
  void* first = database;
  ASSERT_EQ(session.Open(), 1);  // starts over, without the old databases
  EXPECT_EQ(Live(first), nullptr);
  ASSERT_EQ(database.Open(file_.c_str(), 0, 0), 1);
  session.Close();
  EXPECT_EQ(static_cast<void*>(session), nullptr);
  // Closed under it: the database object is refused, and survives that.
  EXPECT_EQ(database.Close(), 0);
  EXPECT_EQ(CodeOf(database.GetFlmError()), uint32_t{flm::FERR_BAD_HDL});
}

TEST_F(FxTest, SessionCopiesShareItAndTheFirstCloseEndsIt) {
  auto* original = new FxSession;
  ASSERT_EQ(original->Open(), 1);
  FxSession copy(*original);
  EXPECT_EQ(FlaimSession(copy), FlaimSession(*original));
  delete original;

  EXPECT_EQ(copy.IsOpen(), 1);
  copy.SetCache(64);
  EXPECT_EQ(CodeOf(copy.GetFlmError()), uint32_t{flm::FERR_BAD_HDL});
  FxDatabase database(copy);
  EXPECT_EQ(database.Open(file_.c_str(), 0, 0), 0);
  EXPECT_EQ(CodeOf(database.GetFlmError()), uint32_t{flm::FERR_BAD_HDL});

  ASSERT_EQ(copy.Open(), 1);
  EXPECT_EQ(database.Open(file_.c_str(), 0, 0), 1);
}

TEST_F(FxTest, DatabaseFailuresKeepTheCodeWithoutThrowing) {
  FxSession session;
  FxDatabase database(session);
  int result = 1;
  EXPECT_NO_THROW(result = database.Open(dir_.file("missing.db").c_str(), 0, 0));
  EXPECT_EQ(result, 0);
  EXPECT_EQ(CodeOf(database.GetFlmError()), uint32_t{flm::FERR_IO_PATH_NOT_FOUND});
  // Never opened: Close succeeds and leaves the failure to be read.
  EXPECT_EQ(database.Close(), 1);
  EXPECT_EQ(CodeOf(database.GetFlmError()), uint32_t{flm::FERR_IO_PATH_NOT_FOUND});

  EXPECT_EQ(database.Open(std::string(240, 'p').c_str(), 0, 0), 0);
  EXPECT_EQ(CodeOf(database.GetFlmError()), uint32_t{flm::FERR_IO_PATH_TOO_LONG});
  testfiles::writeFile(dir_.file("words.txt"), std::string(4096, 'w'));
  EXPECT_EQ(database.Open(dir_.file("words.txt").c_str(), 0, 0), 0);
  EXPECT_EQ(CodeOf(database.GetFlmError()), uint32_t{flm::FERR_NOT_FLAIM});

  // An exclusive holder keeps out openers in its own session and in others.
  FxSession otherSession;
  FxDatabase other(otherSession);
  ASSERT_EQ(database.Open(file_.c_str(), 0, 1), 1);
  EXPECT_EQ(database.IsExclusive(), 1);
  EXPECT_EQ(FxDatabase(session).Open(file_.c_str(), 1, 0), 0);
  EXPECT_EQ(other.Open(file_.c_str(), 0, 0), 0);
  EXPECT_EQ(CodeOf(other.GetFlmError()), uint32_t{flm::FERR_IO_FILE_LOCK_ERR});
  ASSERT_EQ(database.Close(), 1);
  EXPECT_EQ(database.IsExclusive(), 0);
  EXPECT_EQ(other.Open(file_.c_str(), 0, 0), 1);
  EXPECT_EQ(other.IsReadOnly(), 0);
}

TEST_F(FxTest, DatabaseReopenedOverAnOpenOneLeavesItToTheSession) {
  const std::string fileB = MakeDatabase(dir_.file("b.db"));
  FxSession session;
  void* first = nullptr;
  void* second = nullptr;
  {
    FxDatabase database(session);
    ASSERT_EQ(database.Open(file_.c_str(), 0, 0), 1);
    first = database;
    ASSERT_EQ(database.Open(fileB.c_str(), 0, 0), 1);
    second = database;
  }
  // The destructor closed only the database it held.
  EXPECT_EQ(Live(second), nullptr);
  EXPECT_NE(Live(first), nullptr);
  session.Close();
  EXPECT_EQ(Live(first), nullptr);
}

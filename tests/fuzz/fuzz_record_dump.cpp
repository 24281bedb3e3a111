// The record-dump loader: text loaded into a fresh database with the
// multilingual layout. What loads must dump, and that dump must load into
// another fresh database and dump the same again.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "engine/Layout.h"
#include "engine/build/DatabaseDump.h"
#include "engine/build/RecordDumpLoader.h"
#include "flm/Session.h"
#include "support/TestFiles.h"

namespace {

testfiles::ScratchDir* scratch = nullptr;
flm::Session* session = nullptr;

[[noreturn]] void fail(const std::string& what) {
  std::fprintf(stderr, "record dump: %s\n", what.c_str());
  std::abort();
}

// A database made for one load and removed with its files afterwards.
class FreshDatabase {
 public:
  explicit FreshDatabase(const char* name) : path_(scratch->file(name)) {
    if (session->createDatabase(path_.c_str(), layout::polylexDictionary(), &db_))
      fail("cannot make " + path_);
  }
  ~FreshDatabase() {
    flm::Session::closeDatabase(&db_);
    unlink(path_.c_str());
    unlink((path_ + "-journal").c_str());
  }
  FreshDatabase(const FreshDatabase&) = delete;
  FreshDatabase& operator=(const FreshDatabase&) = delete;
  flm::Database* db() const { return db_; }

 private:
  std::string path_;
  flm::Database* db_ = nullptr;
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  scratch = new testfiles::ScratchDir;
  if (flm::Session::create(256, 0, &session)) fail("cannot start a session");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::string dumped, error;
  {
    FreshDatabase first("first.db");
    if (build::loadRecordDump(first.db(), text, "fuzz", &error)) {
      if (error.rfind("fuzz:", 0) != 0) fail("an error that names no line: " + error);
      return 0;
    }
    if (build::dumpDatabase(first.db(), &dumped)) return 0;  // a record the dump cannot write
  }
  FreshDatabase second("second.db");
  if (build::loadRecordDump(second.db(), dumped, "dump", &error))
    fail("a dump that does not load again: " + error);
  std::string again;
  if (build::dumpDatabase(second.db(), &again)) fail("a loaded dump that does not dump again");
  if (again != dumped) fail("a dump that changes on its way through a database");
  return 0;
}

// A database made from a record dump with the multilingual layout, opened
// through the public session and database handles.
#ifndef CORVID5_TESTS_LOADEDDATABASE_H
#define CORVID5_TESTS_LOADEDDATABASE_H

#include <corvid5/FxDatabase.h>
#include <corvid5/FxSession.h>

#include <string>

#include "support/TestFiles.h"

namespace testdb {

class LoadedDatabase {
 public:
  explicit LoadedDatabase(const std::string& dump);
  void* handle() const { return db_; }
  void close() { db_.Close(); }

 private:
  testfiles::ScratchDir dir_;
  FxSession session_;
  FxDatabase db_;
};

}  // namespace testdb

#endif

// A database made from a record dump with the multilingual layout, opened
// through the public session and database handles.
#ifndef CORVID5_TESTS_LOADEDDATABASE_H
#define CORVID5_TESTS_LOADEDDATABASE_H

#include <corvid5/FxDatabase.h>
#include <corvid5/FxSession.h>

#include <cstdint>
#include <functional>
#include <string>

#include "flm/Dictionary.h"
#include "support/TestFiles.h"

namespace testdb {

// Makes the database at `path` from `dump` and closes it again; the
// dictionary is the multilingual layout's unless a test damages it.
void makeDatabase(const std::string& path, const std::string& dump,
                  const flm::Dictionary& dictionary);

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

// The library's exception a call threw: its error (-1 when it threw none),
// FLAIM code and, when asked for, message. Formatting an exception's message
// again leaves the earlier text to its reader, so an exception the library
// already formatted is not asked twice.
struct Thrown {
  int error = -1;
  uint32_t flaim = 0;
  std::string message;
};
Thrown thrown(const std::function<void()>& call, bool withMessage = false);

}  // namespace testdb

#endif

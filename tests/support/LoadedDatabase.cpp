#include "support/LoadedDatabase.h"

#include <corvid5/PLXException.h>
#include <gtest/gtest.h>

#include "engine/Layout.h"
#include "engine/build/RecordDumpLoader.h"
#include "flm/Session.h"

namespace testdb {

void makeDatabase(const std::string& path, const std::string& dump,
                  const flm::Dictionary& dictionary) {
  flm::Session* session = nullptr;
  EXPECT_EQ(flm::Session::create(256, 0, &session), flm::FERR_OK);
  flm::Database* made = nullptr;
  EXPECT_EQ(session->createDatabase(path.c_str(), dictionary, &made), flm::FERR_OK);
  std::string error;
  EXPECT_EQ(build::loadRecordDump(made, dump, "records", &error), flm::FERR_OK) << error;
  flm::Session::close(&session);
}

LoadedDatabase::LoadedDatabase(const std::string& dump) : db_(session_) {
  const std::string path = dir_.file("loaded.db");
  makeDatabase(path, dump, layout::polylexDictionary());
  EXPECT_EQ(session_.Open(), 1);
  EXPECT_EQ(db_.Open(path.c_str(), 0, 0), 1);
}

Thrown thrown(const std::function<void()>& call, bool withMessage) {
  Thrown t;
  try {
    call();
  } catch (const PLXException& e) {
    t.error = e.GetError();
    t.flaim = e.GetFLAIMError();
    if (withMessage) t.message = static_cast<const char*>(e);
  }
  return t;
}

}  // namespace testdb

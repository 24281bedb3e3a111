#include "support/LoadedDatabase.h"

#include <gtest/gtest.h>

#include "engine/Layout.h"
#include "engine/build/RecordDumpLoader.h"
#include "flm/Session.h"

namespace testdb {

LoadedDatabase::LoadedDatabase(const std::string& dump) : db_(session_) {
  const std::string path = dir_.file("loaded.db");
  flm::Session* session = nullptr;
  EXPECT_EQ(flm::Session::create(256, 0, &session), flm::FERR_OK);
  flm::Database* made = nullptr;
  EXPECT_EQ(session->createDatabase(path.c_str(), layout::polylexDictionary(), &made),
            flm::FERR_OK);
  std::string error;
  EXPECT_EQ(build::loadRecordDump(made, dump, "records", &error), flm::FERR_OK) << error;
  flm::Session::close(&session);
  EXPECT_EQ(session_.Open(), 1);
  EXPECT_EQ(db_.Open(path.c_str(), 0, 0), 1);
}

}  // namespace testdb

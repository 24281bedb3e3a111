// The layout's dictionary: consistent enough to make a database with, every
// index over fields it names, and names that read back to their numbers.
#include <gtest/gtest.h>

#include <set>

#include "engine/Layout.h"
#include "flm/Session.h"
#include "support/TestFiles.h"

namespace {

TEST(Layout, DictionaryMakesADatabaseWhoseNamesReadBack) {
  flm::Dictionary d = layout::polylexDictionary();
  ASSERT_EQ(d.validate(), flm::FERR_OK);
  std::set<std::string> names;
  for (const flm::FieldDef& f : d.fields) EXPECT_TRUE(names.insert(f.name).second) << f.name;
  for (const flm::IndexDef& ix : d.indexes)
    for (const flm::FieldPath& path : ix.components)
      for (uint16_t tag : path) EXPECT_NE(d.field(tag), nullptr) << ix.number << " names " << tag;

  testfiles::ScratchDir dir;
  flm::Session* session = nullptr;
  flm::Database* db = nullptr;
  ASSERT_EQ(flm::Session::create(1024, 0, &session), flm::FERR_OK);
  ASSERT_EQ(session->createDatabase(dir.file("layout.db").c_str(), d, &db), flm::FERR_OK);
  uint16_t tag = 0;
  ASSERT_TRUE(db->nameTable().getFromTagName("TARGET_ILI", &tag));
  EXPECT_EQ(tag, layout::kTargetIli);
  std::string name;
  ASSERT_TRUE(db->nameTable().getFromTagNum(layout::kLiteral, &name));
  EXPECT_EQ(name, "LITERAL");
  flm::Session::close(&session);
}

}  // namespace

// Records kept in memory after a read: within their budget, least recently
// used out first, and never stale after this connection's own writes.
#include <gtest/gtest.h>

#include <string>

#include "flm/RecordCache.h"
#include "flm/Session.h"
#include "flm/Value.h"
#include "support/TestFiles.h"

using namespace flm;

namespace {

TEST(FlmRecordCache, EvictsLeastRecentlyUsedWithinItsBudget) {
  RecordCache cache;
  cache.setLimit(3 * (100 + 96));
  cache.put(1, std::string(100, 'a'));
  cache.put(2, std::string(100, 'b'));
  cache.put(3, std::string(100, 'c'));
  ASSERT_NE(cache.find(1), nullptr);  // 1 is now the most recent
  cache.put(4, std::string(100, 'd'));
  EXPECT_EQ(cache.find(2), nullptr);
  EXPECT_EQ(*cache.find(1), std::string(100, 'a'));
  EXPECT_NE(cache.find(3), nullptr);
  EXPECT_NE(cache.find(4), nullptr);
  EXPECT_LE(cache.bytes(), 3u * (100 + 96));

  cache.put(5, std::string(10000, 'e'));  // larger than the whole budget
  EXPECT_EQ(cache.find(5), nullptr);
  cache.erase(4);
  EXPECT_EQ(cache.find(4), nullptr);
  cache.setLimit(0);
  EXPECT_EQ(cache.find(1), nullptr);
  EXPECT_EQ(cache.bytes(), 0u);
}

TEST(FlmRecordCache, RewritingOneRecordKeepsTheCacheSmall) {
  RecordCache cache;
  cache.setLimit(1 << 20);
  for (int round = 0; round < 10000; ++round) {
    cache.erase(7);
    cache.put(7, "record seven, version " + std::to_string(round));
  }
  EXPECT_EQ(*cache.find(7), "record seven, version 9999");
  EXPECT_LT(cache.bytes(), 200u);
  cache.setLimit(10);  // below one entry: everything goes
  EXPECT_EQ(cache.find(7), nullptr);
}

class CachedDatabase : public ::testing::Test {
 protected:
  void SetUp() override {
    poolInit(&pool_, 256);
    path_ = dir_.file("cache.db");
    Dictionary d;
    d.fields = {{1, "name", FLM_TEXT_TYPE}};
    ASSERT_EQ(Session::create(1024, 0, &session_), FERR_OK);
    Database* db = nullptr;
    ASSERT_EQ(session_->createDatabase(path_.c_str(), d, &db), FERR_OK);
    ASSERT_EQ(add(db, "first"), FERR_OK);
    Session::closeDatabase(&db);
    ASSERT_EQ(session_->openDatabase(path_.c_str(), nullptr, FO_EXCLUSIVE, &db_), FERR_OK);
  }
  void TearDown() override {
    poolFree(&pool_);
    Session::close(&session_);
  }

  Node* record(const char* name) {
    RCODE rc;
    Node* root = nodeMake(&pool_, 1, &rc);
    putUtf8(&pool_, root, name, std::char_traits<char>::length(name));
    return root;
  }
  RCODE add(Database* db, const char* name) {
    uint32_t drn = 1;
    return db->add(0, FLM_DATA_CONTAINER, &drn, record(name));
  }
  std::u16string stored() {
    Node* root = nullptr;
    if (db_->retrieve(0, FLM_DATA_CONTAINER, 1, &pool_, &root)) return u"<missing>";
    return std::u16string(static_cast<const char16_t*>(root->value), root->length / 2);
  }

  testfiles::ScratchDir dir_;
  std::string path_;
  Session* session_ = nullptr;
  Database* db_ = nullptr;
  PoolMemoryManager pool_{};
};

TEST_F(CachedDatabase, OwnWritesReplaceWhatWasRead) {
  EXPECT_EQ(stored(), u"first");
  ASSERT_EQ(db_->modify(0, FLM_DATA_CONTAINER, 1, record("second")), FERR_OK);
  EXPECT_EQ(stored(), u"second");
  ASSERT_EQ(db_->remove(0, FLM_DATA_CONTAINER, 1), FERR_OK);
  EXPECT_EQ(stored(), u"<missing>");
  bool found = true;
  ASSERT_EQ(db_->exists(0, FLM_DATA_CONTAINER, 1, &found), FERR_OK);
  EXPECT_FALSE(found);
}

TEST_F(CachedDatabase, AbortedChangesDoNotLinger) {
  ASSERT_EQ(db_->transBegin(), FERR_OK);
  ASSERT_EQ(db_->modify(0, FLM_DATA_CONTAINER, 1, record("uncommitted")), FERR_OK);
  EXPECT_EQ(stored(), u"uncommitted");  // read back, and so kept, inside the transaction
  ASSERT_EQ(db_->transAbort(), FERR_OK);
  EXPECT_EQ(stored(), u"first");
}

}  // namespace

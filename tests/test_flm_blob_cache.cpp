// Records, key probes' and queries' answers kept in memory after a read:
// within their budget, least recently used out first, never stale after this
// connection's own writes, and never given for a question that differs.
#include <gtest/gtest.h>

#include <string>

#include "flm/BlobCache.h"
#include "flm/Cursor.h"
#include "flm/AnswerCache.h"
#include "flm/Session.h"
#include "flm/Value.h"
#include "support/FlmNodes.h"

using namespace flm;

namespace {

// What the cache keeps for `id`, or "<none>".
std::string kept(BlobCache& cache, int64_t id) {
  std::string_view blob;
  return cache.find(id, &blob) ? std::string(blob) : "<none>";
}

TEST(FlmBlobCache, EvictsLeastRecentlyUsedWithinItsBudget) {
  BlobCache cache;
  cache.setLimit(3 * (100 + 96));
  cache.put(1, std::string(100, 'a'));
  cache.put(2, std::string(100, 'b'));
  cache.put(3, std::string(100, 'c'));
  ASSERT_EQ(kept(cache, 1), std::string(100, 'a'));  // 1 is now the most recent
  cache.put(4, std::string(100, 'd'));
  EXPECT_EQ(kept(cache, 2), "<none>");
  EXPECT_EQ(kept(cache, 1), std::string(100, 'a'));
  EXPECT_EQ(kept(cache, 3), std::string(100, 'c'));
  EXPECT_EQ(kept(cache, 4), std::string(100, 'd'));
  EXPECT_LE(cache.bytes(), 3u * (100 + 96));

  cache.put(5, std::string(10000, 'e'));  // larger than the whole budget
  EXPECT_EQ(kept(cache, 5), "<none>");
  cache.erase(4);
  EXPECT_EQ(kept(cache, 4), "<none>");
  cache.setLimit(0);
  EXPECT_EQ(kept(cache, 1), "<none>");
  EXPECT_EQ(cache.bytes(), 0u);
}

TEST(FlmBlobCache, RewritingOneRecordKeepsTheCacheSmall) {
  BlobCache cache;
  cache.setLimit(1 << 20);
  for (int round = 0; round < 10000; ++round) {
    cache.erase(7);
    cache.put(7, "record seven, version " + std::to_string(round));
  }
  EXPECT_EQ(kept(cache, 7), "record seven, version 9999");
  EXPECT_LT(cache.bytes(), 200u);
  cache.setLimit(10);  // below one entry: everything goes
  EXPECT_EQ(kept(cache, 7), "<none>");
}

// Ids of one container are consecutive and crowd together in the table;
// erasing some must leave every other one findable, and its bytes intact.
TEST(FlmBlobCache, ThousandsOfNeighbouringIdsSurviveErasesAmongThem) {
  BlobCache cache;
  cache.setLimit(size_t{1} << 30);
  const int64_t container = int64_t{7} << 32;
  for (int64_t n = 1; n <= 5000; ++n) cache.put(container + n, "record " + std::to_string(n));
  for (int64_t n = 3; n <= 5000; n += 3) cache.erase(container + n);
  cache.put(container + 10, "record 10, rewritten");
  for (int64_t n = 1; n <= 5000; ++n) {
    std::string expected = n % 3 == 0 ? "<none>" : "record " + std::to_string(n);
    if (n == 10) expected = "record 10, rewritten";
    ASSERT_EQ(kept(cache, container + n), expected) << n;
  }
  EXPECT_EQ(kept(cache, container), "<none>");
  EXPECT_EQ(kept(cache, container + 5001), "<none>");
  cache.clear();
  EXPECT_EQ(cache.bytes(), 0u);
  EXPECT_EQ(kept(cache, container + 1), "<none>");
}

// A full cache keeps taking records, keeps within its budget, and keeps what
// was just read.
TEST(FlmBlobCache, AFullCacheMakesRoomForEachNewRecord) {
  BlobCache cache;
  const size_t entry = 100 + 80;
  cache.setLimit(50 * entry);
  for (int64_t id = 1; id <= 2000; ++id) {
    cache.put(id, std::string(100, static_cast<char>('a' + id % 26)));
    ASSERT_LE(cache.bytes(), 50 * entry);
    ASSERT_EQ(kept(cache, id), std::string(100, static_cast<char>('a' + id % 26)));
  }
  int keptCount = 0;
  for (int64_t id = 1; id <= 2000; ++id) keptCount += kept(cache, id) != "<none>";
  EXPECT_EQ(keptCount, 50);
}

TEST(FlmAnswerCache, AnswersOnlyTheQuestionItKeptAndAppends) {
  AnswerCache cache;
  cache.setLimit(4096);
  const std::string question = std::string("probe\0one", 9);
  cache.put(question, {7, 3, 9});
  cache.put("probe two", {});
  std::vector<uint32_t> found = {1};
  ASSERT_TRUE(cache.find(question, &found));
  EXPECT_EQ(found, (std::vector<uint32_t>{1, 7, 3, 9}));
  found.clear();
  EXPECT_TRUE(cache.find("probe two", &found));  // an empty answer is an answer
  EXPECT_TRUE(found.empty());
  EXPECT_FALSE(cache.find(std::string("probe\0onf", 9), &found));
  EXPECT_FALSE(cache.find("probe", &found));
  cache.clear();
  EXPECT_FALSE(cache.find(question, &found));
  // An answer larger than the whole budget is not kept.
  cache.put(question, std::vector<uint32_t>(2000, 1));
  EXPECT_FALSE(cache.find(question, &found));
}

Dictionary namesDictionary() {
  Dictionary d;
  d.fields = {{1, "name", FLM_TEXT_TYPE}};
  d.indexes = {{100, "byName", FLM_DATA_CONTAINER, {{1}}}};
  return d;
}

// Record 1 named "first", written and then read in a database held exclusively.
class CachedDatabase : public ::testing::Test {
 protected:
  void SetUp() override {
    uint32_t drn = 1;
    ASSERT_EQ(scratch_.db()->add(0, FLM_DATA_CONTAINER, &drn, record("first")), FERR_OK);
    ASSERT_EQ(scratch_.reopen(FO_EXCLUSIVE), FERR_OK);
    db_ = scratch_.db();
  }

  Node* record(const char* name) {
    Node* root = pool_.make(1);
    EXPECT_EQ(putUtf8(&pool_, root, name, std::char_traits<char>::length(name)), FERR_OK);
    return root;
  }
  // The records of `store` whose name meets `op name`, in the order of
  // `index` (0: record numbers); {0} when the query fails.
  std::vector<uint32_t> found(uint16_t op, const char* name, uint32_t mode = 0,
                              uint16_t index = 0, uint32_t store = 0) {
    Cursor* c = nullptr;
    const uint16_t path[] = {1};
    if (Cursor::init(db_, store, FLM_DATA_CONTAINER, &c)) return {0};
    std::vector<uint32_t> drns;
    bool built = !c->addField(path, 1, 0) && !c->addOp(op) &&
                 !c->addValue(FLM_STRING_VAL, name, 0) && !c->setMode(mode) &&
                 !c->setMasterIndex(index, 1);
    uint32_t drn = 0;
    RCODE rc = built ? c->moveFirst(&drn) : FERR_FAILURE;
    for (; rc == FERR_OK; rc = c->moveNext(&drn)) drns.push_back(drn);
    Cursor::free(&c);
    return rc == FERR_EOF_HIT ? drns : std::vector<uint32_t>{0};
  }
  std::vector<uint32_t> named(const char* name) { return found(FLM_EQ_OP, name); }
  void add(uint32_t store, const char* name, uint32_t drn = 0) {
    ASSERT_EQ(db_->add(store, FLM_DATA_CONTAINER, &drn, record(name)), FERR_OK);
  }
  std::u16string stored() {
    Node* root = nullptr;
    if (db_->retrieve(0, FLM_DATA_CONTAINER, 1, &pool_, &root)) return u"<missing>";
    return std::u16string(static_cast<const char16_t*>(root->value), root->length / 2);
  }

  testflm::ScopedPool pool_{256};
  testflm::ScratchDatabase scratch_{namesDictionary()};
  Database* db_ = nullptr;
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
  EXPECT_EQ(named("uncommitted"), (std::vector<uint32_t>{1}));
  ASSERT_EQ(db_->transAbort(), FERR_OK);
  EXPECT_EQ(stored(), u"first");
  EXPECT_EQ(named("uncommitted"), (std::vector<uint32_t>{}));
  EXPECT_EQ(named("first"), (std::vector<uint32_t>{1}));
}

// Each question below is asked twice, the second time of the key cache.
TEST_F(CachedDatabase, OwnWritesChangeWhatTheIndexAnswers) {
  for (int twice = 0; twice < 2; ++twice) EXPECT_EQ(named("first"), (std::vector<uint32_t>{1}));
  ASSERT_EQ(db_->modify(0, FLM_DATA_CONTAINER, 1, record("second")), FERR_OK);
  for (int twice = 0; twice < 2; ++twice) {
    EXPECT_EQ(named("first"), (std::vector<uint32_t>{}));
    EXPECT_EQ(named("second"), (std::vector<uint32_t>{1}));
  }
  uint32_t drn = 0;
  ASSERT_EQ(db_->add(0, FLM_DATA_CONTAINER, &drn, record("second")), FERR_OK);
  for (int twice = 0; twice < 2; ++twice)
    EXPECT_EQ(named("second"), (std::vector<uint32_t>{1, drn}));
  ASSERT_EQ(db_->remove(0, FLM_DATA_CONTAINER, 1), FERR_OK);
  EXPECT_EQ(named("second"), (std::vector<uint32_t>{drn}));
}

// Every question twice: a kept answer must not serve a question that differs
// in mode, order or store.
TEST_F(CachedDatabase, AKeptAnswerServesOnlyItsOwnQuestion) {
  add(0, "First");  // record 2
  add(0, "aa");     // record 3
  add(1, "first", 9);
  for (int twice = 0; twice < 2; ++twice) {
    EXPECT_EQ(named("first"), (std::vector<uint32_t>{1}));
    EXPECT_EQ(found(FLM_EQ_OP, "first", FLM_NOCASE), (std::vector<uint32_t>{1, 2}));
    EXPECT_EQ(found(FLM_EQ_OP, "first", 0, 0, 1), (std::vector<uint32_t>{9}));
    EXPECT_EQ(found(FLM_GE_OP, "a"), (std::vector<uint32_t>{1, 2, 3}));
    EXPECT_EQ(found(FLM_GE_OP, "a", 0, 100), (std::vector<uint32_t>{3, 1, 2}));
  }
}

// A query answered before skips parsing its criteria, however it is asked
// next; criteria that grow after that are parsed, and refused when malformed.
TEST_F(CachedDatabase, CriteriaAnsweredBeforeAreStillCheckedWhenTheyGrow) {
  add(0, "second");
  ASSERT_EQ(named("first"), (std::vector<uint32_t>{1}));
  for (uint32_t mode : {0u, uint32_t{FLM_NOCASE}}) {
    Cursor* c = nullptr;
    const uint16_t path[] = {1};
    ASSERT_EQ(Cursor::init(db_, 0, FLM_DATA_CONTAINER, &c), FERR_OK);
    ASSERT_EQ(c->addField(path, 1, 0), FERR_OK);
    ASSERT_EQ(c->addOp(FLM_EQ_OP), FERR_OK);
    ASSERT_EQ(c->addValue(FLM_STRING_VAL, "first", 0), FERR_OK);
    ASSERT_EQ(c->setMode(mode), FERR_OK);
    EXPECT_EQ(c->validate(), FERR_OK);
    uint32_t count = 0;
    EXPECT_EQ(c->recordCount(&count), FERR_OK);
    EXPECT_EQ(count, 1u) << "mode " << mode;
    ASSERT_EQ(c->addOp(FLM_AND_OP), FERR_OK);
    EXPECT_EQ(c->validate(), FERR_CURSOR_SYNTAX);
    EXPECT_EQ(c->recordCount(&count), FERR_CURSOR_SYNTAX);
    Cursor::free(&c);
  }
}

// A join over two databases depends on both, and only one is told of a write
// to the other: such answers are not kept.
TEST_F(CachedDatabase, AJoinOverTwoDatabasesSeesWritesToEither) {
  testflm::ScratchDatabase other(namesDictionary());
  uint32_t drn = 1;
  ASSERT_EQ(other.db()->add(0, FLM_DATA_CONTAINER, &drn, record("first")), FERR_OK);
  ASSERT_EQ(other.reopen(FO_EXCLUSIVE), FERR_OK);
  auto joined = [&] {
    Cursor* c = nullptr;
    const uint16_t path[] = {1};
    std::vector<uint32_t> drns;
    if (Cursor::init(nullptr, 0, FLM_DATA_CONTAINER, &c) ||
        c->addContext(1, db_, 0, FLM_DATA_CONTAINER) ||
        c->addContext(2, other.db(), 0, FLM_DATA_CONTAINER) || c->addField(path, 1, 1) ||
        c->addOp(FLM_EQ_OP) || c->addField(path, 1, 2))
      return std::vector<uint32_t>{0};
    uint32_t found = 0;
    for (RCODE rc = c->moveFirst(&found); rc == FERR_OK; rc = c->moveNext(&found))
      drns.push_back(found);
    Cursor::free(&c);
    return drns;
  };
  for (int twice = 0; twice < 2; ++twice) EXPECT_EQ(joined(), (std::vector<uint32_t>{1}));
  ASSERT_EQ(other.db()->modify(0, FLM_DATA_CONTAINER, 1, record("other")), FERR_OK);
  EXPECT_EQ(joined(), (std::vector<uint32_t>{}));
  ASSERT_EQ(db_->modify(0, FLM_DATA_CONTAINER, 1, record("other")), FERR_OK);
  EXPECT_EQ(joined(), (std::vector<uint32_t>{1}));
}

}  // namespace

// The storage engine on disk: records by (store, container, number), opening
// and refusing files, the session's cache, and the keys that indexes write.
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "flm/Database.h"
#include "flm/KeyProbe.h"
#include "flm/PageChecksum.h"
#include "flm/Schema.h"
#include "flm/Session.h"
#include "flm/Value.h"
#include "support/FlmNodes.h"
#include "support/TestFiles.h"

using namespace flm;
using testfiles::ScratchDir;
using testflm::read;
using testflm::ScopedPool;
using testflm::textOf;
using TestDb = testflm::ScratchDatabase;

namespace {

// Field numbers of the test dictionary.
enum : uint16_t {
  kRecord = 1, kName = 2, kCount = 3, kData = 4, kLink = 5, kRatio = 6, kDay = 7, kClock = 8,
  kStamp = 9, kSmall = 10, kPerson = 60, kNick = 120, kOther = 61,
};
constexpr uint16_t kPeople = 100;
constexpr uint16_t kUnknownContainer = 999;
constexpr uint16_t kData0 = FLM_DATA_CONTAINER;

enum : uint16_t { kByName = 1, kByNumber = 2, kByNick = 3, kPeopleByName = 4 };

Dictionary testDictionary() {
  Dictionary d;
  d.fields = {{kRecord, "record", FLM_TEXT_TYPE},  {kName, "name", FLM_TEXT_TYPE},
              {kCount, "count", FLM_NUMBER_TYPE},  {kData, "data", FLM_BINARY_TYPE},
              {kLink, "link", FLM_CONTEXT_TYPE},   {kRatio, "ratio", FLM_REAL_TYPE},
              {kDay, "day", FLM_DATE_TYPE},        {kClock, "clock", FLM_TIME_TYPE},
              {kStamp, "stamp", FLM_TMSTAMP_TYPE}, {kSmall, "small", FLM_NUMBER_TYPE},
              {kPerson, "person", FLM_TEXT_TYPE},  {kNick, "nick", FLM_TEXT_TYPE},
              {kOther, "other", FLM_TEXT_TYPE}};
  d.containers = {{kPeople, "people"}};
  d.indexes = {{kByName, "byName", kData0, {{kName}}},
               {kByNumber, "byNumber", kData0, {{kCount}, {kLink}}},
               {kByNick, "byNick", kData0, {{kPerson, kNick}}},
               {kPeopleByName, "peopleByName", kPeople, {{kName}}}};
  return d;
}

// The name field of a stored record, or the error's name saying why there is none.
std::u16string storedName(Database* db, uint32_t drn, uint16_t container = kData0,
                          uint32_t store = 0) {
  ScopedPool out;
  Node* root = nullptr;
  RCODE rc = db->retrieve(store, container, drn, &out, &root);
  if (rc) {
    const std::string name = std::string("<") + errorName(rc) + ">";
    return std::u16string(name.begin(), name.end());
  }
  return textOf(nodeFind(GED_TREE, root, kName, 1));
}

// The number a record is added under (`drn` 0: the engine's choice), or the
// error's name.
std::string addAt(Database* db, uint32_t drn, std::u16string_view name,
                  uint16_t container = kData0, uint32_t store = 0) {
  ScopedPool t;
  Node* root = t.make(kRecord);
  t.text(root, kName, name);
  const RCODE rc = db->add(store, container, &drn, root);
  return rc ? errorName(rc) : std::to_string(drn);
}

RCODE modifyNamed(Database* db, uint32_t drn, std::u16string_view name) {
  ScopedPool t;
  Node* root = t.make(kRecord);
  t.text(root, kName, name);
  return db->modify(0, kData0, drn, root);
}

RCODE retrieved(Database* db, uint32_t store, uint16_t container, uint32_t drn) {
  ScopedPool out;
  Node* root = reinterpret_cast<Node*>(&out);
  const RCODE rc = db->retrieve(store, container, drn, &out, &root);
  // A refused read hands out no record, a damaged one not even what was decoded.
  EXPECT_EQ(rc == FERR_OK, root != nullptr) << errorName(rc);
  return rc;
}

uint32_t recordCount(Database* db, uint16_t container = kData0) {
  uint32_t count = 0;
  EXPECT_EQ(db->recordCount(0, container, &count), FERR_OK);
  return count;
}

std::string columnBytes(sqlite3_stmt* stmt, int column) {
  auto* p = static_cast<const char*>(sqlite3_column_blob(stmt, column));
  return p ? std::string(p, static_cast<size_t>(sqlite3_column_bytes(stmt, column))) : "";
}

// One SQL value read back for checking, as text.
std::string queryText(Database* db, const std::string& sql) {
  sqlite3_stmt* stmt = nullptr;
  EXPECT_EQ(sqlite3_prepare_v2(db->sql(), sql.c_str(), -1, &stmt, nullptr), SQLITE_OK) << sql;
  std::string value = "<no row>";
  if (stmt && sqlite3_step(stmt) == SQLITE_ROW) value = columnBytes(stmt, 0);
  sqlite3_finalize(stmt);
  return value;
}
int64_t queryInt(Database* db, const std::string& sql) { return std::stoll(queryText(db, sql)); }

struct KeyRow {
  int component;
  int type;  // SQLITE_INTEGER, SQLITE_TEXT, ...
  std::string exact;
  int64_t integer;
  std::string folded;
  bool foldedNull;
  std::string sortKey;
  int64_t drn;
};

// The key table's rows for one index, optionally for one record.
std::vector<KeyRow> keyRows(Database* db, uint16_t index, int64_t drn = -1,
                            const char* order = "component, exact, drn") {
  std::string sql = "SELECT component, exact, folded, sortkey, drn FROM flm_key WHERE ix = " +
                    std::to_string(index) + " AND store = 0";
  if (drn >= 0) sql += " AND drn = " + std::to_string(drn);
  sql += std::string(" ORDER BY ") + order;
  sqlite3_stmt* stmt = nullptr;
  EXPECT_EQ(sqlite3_prepare_v2(db->sql(), sql.c_str(), -1, &stmt, nullptr), SQLITE_OK) << sql;
  std::vector<KeyRow> rows;
  while (stmt && sqlite3_step(stmt) == SQLITE_ROW)
    rows.push_back({sqlite3_column_int(stmt, 0), sqlite3_column_type(stmt, 1),
                    columnBytes(stmt, 1), sqlite3_column_int64(stmt, 1), columnBytes(stmt, 2),
                    sqlite3_column_type(stmt, 2) == SQLITE_NULL, columnBytes(stmt, 3),
                    sqlite3_column_int64(stmt, 4)});
  sqlite3_finalize(stmt);
  return rows;
}

using Keys = std::vector<std::string>;

Keys exactKeys(Database* db, uint16_t index, int64_t drn = -1,
               const char* order = "component, exact, drn") {
  Keys keys;
  for (const KeyRow& row : keyRows(db, index, drn, order)) keys.push_back(row.exact);
  return keys;
}

// The database opened again in `session`: the code, and the database if it opened.
RCODE openAgain(const TestDb& t, Session* session, uint32_t flags, Database** out = nullptr) {
  Database* db = nullptr;
  const RCODE rc = session->openDatabase(t.path().c_str(), nullptr, flags, &db);
  EXPECT_TRUE(rc == FERR_OK || db == nullptr) << "a refused open hands out no database";
  if (out)
    *out = db;
  else if (db)
    Session::closeDatabase(&db);
  return rc;
}

// The name addMany gives record `i`.
std::u16string manyName(uint32_t i, size_t nameLength = 400) {
  std::u16string name(nameLength, static_cast<char16_t>(u'a' + i % 26));
  return name + u"#" + static_cast<char16_t>(u'0' + i % 10);
}

// Fills a database with `count` records whose names are long enough to need
// many pages.
void addMany(Database* db, uint32_t count, size_t nameLength = 400) {
  ASSERT_EQ(db->transBegin(), FERR_OK);
  for (uint32_t i = 1; i <= count; ++i)
    ASSERT_EQ(addAt(db, 0, manyName(i, nameLength)), std::to_string(i));
  ASSERT_EQ(db->transCommit(), FERR_OK);
}

std::vector<std::string> directoryListing(const std::string& dir) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(dir))
    names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

// ---------------------------------------------------------------------------
// Records

TEST(FlmRecordStore, EveryValueTypeSurvivesCloseAndReopen) {
  TestDb t(testDictionary());
  const std::u16string text = std::u16string(u"Stra\u00dfe \U0001F600 ") + std::u16string(u"z\0z", 3);
  const std::string binary("\0\xFF\x01\x80\0\x07", 6);
  const double real = -1234.5e-7;
  {
    ScopedPool r;
    Node* root = r.make(kRecord);
    r.text(root, kName, text);
    Node* counts = r.number(root, kCount, std::numeric_limits<int32_t>::min());
    for (int64_t small : {int64_t{std::numeric_limits<int32_t>::max()},
                          int64_t{std::numeric_limits<uint32_t>::max()}, int64_t{-32768},
                          int64_t{65535}})
      r.number(counts, kSmall, small);
    r.binary(root, kData, binary);
    r.pointer(root, kLink, 0xFFFFFFFEu);
    r.real(root, kRatio, real);
    ASSERT_EQ(putDate(&r, r.child(root, kDay), FlmDate{2038, 1, 19}), FERR_OK);
    ASSERT_EQ(putTime(&r, r.child(root, kClock), FlmTime{3, 14, 7, 55}), FERR_OK);
    ASSERT_EQ(putTimestamp(&r, r.child(root, kStamp), FlmTimestamp{{1970, 1, 1}, {0, 0, 1, 2}}),
              FERR_OK);
    r.child(root, kOther);  // a field without a value
    uint32_t drn = 0;
    ASSERT_EQ(t.db()->add(0, kData0, &drn, root), FERR_OK);
    EXPECT_EQ(drn, 1u);
  }
  ASSERT_EQ(t.reopen(), FERR_OK);

  ScopedPool out;
  Node* root = nullptr;
  ASSERT_EQ(t.db()->retrieve(0, kData0, 1, &out, &root), FERR_OK);
  ASSERT_NE(root, nullptr);
  const SourceNode* source = nodeSource(root);
  ASSERT_NE(source, nullptr);
  EXPECT_EQ(source->database, t.db());
  EXPECT_EQ(std::make_tuple(source->store, source->container, source->drn),
            std::make_tuple(0u, kData0, 1u));

  auto field = [&](uint16_t tag, int nth = 1) { return nodeFind(GED_TREE, root, tag, nth); };
  EXPECT_EQ(textOf(field(kName)), text);
  EXPECT_EQ(read(getInt32, field(kCount)), "-2147483648");
  EXPECT_EQ(read(getInt32, field(kSmall, 1)), "2147483647");
  EXPECT_EQ(read(getUint32, field(kSmall, 2)), "4294967295");
  EXPECT_EQ(read(getInt16, field(kSmall, 3)), "-32768");
  EXPECT_EQ(read(getUint16, field(kSmall, 4)), "65535");
  EXPECT_EQ(nodeParent(field(kSmall, 4)), field(kCount));
  char bytes[16] = {};
  uint32_t size = sizeof bytes;
  EXPECT_EQ(getBinary(field(kData), bytes, &size), FERR_OK);
  EXPECT_EQ(std::string(bytes, size), binary);
  EXPECT_EQ(read(getRecPtr, field(kLink)), "4294967294");
  double gotReal = 0;
  EXPECT_EQ(getReal(field(kRatio), &gotReal), FERR_OK);
  EXPECT_EQ(gotReal, real);
  EXPECT_EQ(read(getDate, field(kDay)), "2038-1-19");
  EXPECT_EQ(read(getTime, field(kClock)), "3:14:7.55");
  EXPECT_EQ(read(getTimestamp, field(kStamp)), "1970-1-1 0:0:1.2");
  Node* empty = field(kOther);
  ASSERT_NE(empty, nullptr);
  EXPECT_EQ(empty->length, 0u);
  EXPECT_EQ(nodeLastInTree(root), empty);
}

TEST(FlmRecordStore, NumberZeroTakesOnePastTheHighest) {
  TestDb t(testDictionary());
  Database* db = t.db();
  const struct {
    uint32_t drn;
    const char16_t* name;
    std::string number;
    uint16_t container = kData0;
    uint32_t store = 0;
  } adds[] = {
      {0, u"one", "1"}, {0, u"two", "2"}, {10, u"ten", "10"}, {5, u"five", "5"},
      {0, u"eleven", "11"}, {5, u"five again", "EXISTS"},
      // Containers and stores number their records independently.
      {0, u"person", "1", kPeople}, {0, u"store two", "1", kData0, 2},
      {0, u"store max", "1", kData0, kMaxStore},
  };
  for (const auto& a : adds) EXPECT_EQ(addAt(db, a.drn, a.name, a.container, a.store), a.number);
  EXPECT_EQ(exactKeys(db, kByName, 5), Keys{"five"}) << "a refused add writes no keys";
  // Deleting the highest lets its number be taken again.
  ASSERT_EQ(db->remove(0, kData0, 11), FERR_OK);
  EXPECT_EQ(addAt(db, 0, u"eleven again"), "11");

  EXPECT_EQ(storedName(db, 1) + u"," + storedName(db, 5) + u"," + storedName(db, 10) + u"," +
                storedName(db, 11),
            u"one,five,ten,eleven again");
  EXPECT_EQ(storedName(db, 1, kPeople), u"person");
  EXPECT_EQ(storedName(db, 1, kData0, 2), u"store two");
  EXPECT_EQ(storedName(db, 1, kData0, kMaxStore), u"store max");
  EXPECT_EQ(recordCount(db), 5u);
  EXPECT_EQ(recordCount(db, kPeople), 1u);

  // The highest number a record can have, and then none is left.
  EXPECT_EQ(addAt(db, 0xFFFFFFFEu, u"last"), "4294967294");
  EXPECT_EQ(addAt(db, 0, u"none left"), "NO_MORE_DRNS");
  EXPECT_EQ(addAt(db, 0xFFFFFFFFu, u"reserved"), "BAD_DRN");
}

TEST(FlmRecordStore, MissingRecordsAndUnknownContainersAreRefused) {
  TestDb t(testDictionary());
  Database* db = t.db();
  ASSERT_EQ(addAt(db, 0, u"here"), "1");
  EXPECT_EQ(retrieved(db, 0, kData0, 2), FERR_NOT_FOUND);
  EXPECT_EQ(retrieved(db, 0, kPeople, 1), FERR_NOT_FOUND);
  EXPECT_EQ(retrieved(db, 1, kData0, 1), FERR_NOT_FOUND);
  EXPECT_EQ(modifyNamed(db, 2, u"nobody"), FERR_NOT_FOUND);
  EXPECT_EQ(db->remove(0, kData0, 2), FERR_NOT_FOUND);
  EXPECT_EQ(exactKeys(db, kByName), Keys{"here"}) << "a refused modify writes no keys";

  EXPECT_EQ(retrieved(db, 0, kUnknownContainer, 1), FERR_BAD_CONTAINER);
  EXPECT_EQ(addAt(db, 0, u"x", kUnknownContainer), "BAD_CONTAINER");
  ScopedPool r;
  Node* rec = r.make(kRecord);
  EXPECT_EQ(db->modify(0, kUnknownContainer, 1, rec), FERR_BAD_CONTAINER);
  EXPECT_EQ(db->remove(0, kUnknownContainer, 1), FERR_BAD_CONTAINER);
  uint32_t count = 0;
  EXPECT_EQ(db->recordCount(0, kUnknownContainer, &count), FERR_BAD_CONTAINER);

  EXPECT_EQ(retrieved(db, 0, kData0, 0), FERR_BAD_DRN);
  uint32_t drn = 0;
  EXPECT_EQ(db->add(0, kData0, &drn, nullptr), FERR_NULL_RECORD);
  EXPECT_EQ(db->add(kMaxStore + 1, kData0, &drn, rec), FERR_INVALID_PARM);
  EXPECT_EQ(storedName(db, 1), u"here");
}

TEST(FlmRecordStore, TransactionsCommitAbortAndRollBackOnClose) {
  TestDb t(testDictionary());
  Database* db = t.db();
  ASSERT_EQ(addAt(db, 0, u"kept"), "1");
  EXPECT_EQ(db->transCommit(), FERR_NO_TRANS_ACTIVE);
  EXPECT_EQ(db->transAbort(), FERR_NO_TRANS_ACTIVE);
  ASSERT_EQ(db->transBegin(), FERR_OK);
  EXPECT_TRUE(db->transActive());
  EXPECT_EQ(db->transBegin(), FERR_TRANS_ACTIVE);
  EXPECT_EQ(addAt(db, 0, u"gone"), "2");
  ASSERT_EQ(modifyNamed(db, 1, u"changed"), FERR_OK);
  ASSERT_EQ(db->remove(0, kData0, 1), FERR_OK);
  EXPECT_EQ(storedName(db, 2), u"gone") << "a transaction sees its own writes";
  ASSERT_EQ(db->transAbort(), FERR_OK);
  EXPECT_FALSE(db->transActive());
  // An aborted change and delete come back; the number of an aborted add is free again.
  EXPECT_EQ(storedName(db, 1) + storedName(db, 2), u"kept<NOT_FOUND>");
  EXPECT_EQ(exactKeys(db, kByName), Keys{"kept"});

  ASSERT_EQ(db->transBegin(), FERR_OK);
  EXPECT_EQ(addAt(db, 0, u"committed"), "2");
  ASSERT_EQ(db->transCommit(), FERR_OK);
  // Closing inside a transaction rolls it back.
  ASSERT_EQ(t.db()->transBegin(), FERR_OK);
  EXPECT_EQ(addAt(db, 0, u"uncommitted"), "3");
  ASSERT_EQ(t.reopen(), FERR_OK);
  EXPECT_EQ(storedName(t.db(), 2), u"committed");
  EXPECT_EQ(storedName(t.db(), 3), u"<NOT_FOUND>");
  EXPECT_EQ(exactKeys(t.db(), kByName), (Keys{"committed", "kept"}));
}

TEST(FlmRecordStore, AWriteRefusedPartWayIsUndoneAsAWhole) {
  TestDb t(testDictionary());
  Database* db = t.db();
  ASSERT_EQ(addAt(db, 0, u"before"), "1");
  // The record row goes in first and its keys after it; refusing a key makes
  // the write fail with the record row already written.
  ASSERT_EQ(sqlite3_exec(db->sql(),
                         "CREATE TEMP TRIGGER refuse_poison BEFORE INSERT ON main.flm_key "
                         "WHEN NEW.exact = 'poison' BEGIN SELECT RAISE(ABORT, 'refused'); END;",
                         nullptr, nullptr, nullptr),
            SQLITE_OK);
  EXPECT_NE(addAt(db, 0, u"poison"), "2");
  EXPECT_EQ(storedName(db, 2), u"<NOT_FOUND>");
  EXPECT_NE(modifyNamed(db, 1, u"poison"), FERR_OK);
  EXPECT_EQ(storedName(db, 1), u"before");
  EXPECT_EQ(exactKeys(db, kByName), Keys{"before"});

  // Inside a transaction only the refused write is undone.
  ASSERT_EQ(db->transBegin(), FERR_OK);
  EXPECT_EQ(addAt(db, 0, u"kept"), "2");
  EXPECT_NE(addAt(db, 0, u"poison"), "3");
  EXPECT_TRUE(db->transActive());
  EXPECT_EQ(addAt(db, 0, u"also kept"), "3");
  ASSERT_EQ(db->transCommit(), FERR_OK);

  ASSERT_EQ(t.reopen(), FERR_OK);
  EXPECT_EQ(storedName(t.db(), 2) + u"," + storedName(t.db(), 3) + u"," + storedName(t.db(), 4),
            u"kept,also kept,<NOT_FOUND>");
  EXPECT_EQ(exactKeys(t.db(), kByName), (Keys{"also kept", "before", "kept"}));
}

TEST(FlmRecordStore, DamagedStoredRecordsAreDataErrors) {
  TestDb t(testDictionary());
  Database* db = t.db();
  ScopedPool r;
  Node* root = r.make(kRecord);
  r.text(root, kName, u"Stra\u00dfe \U0001F600");
  r.pointer(r.number(root, kCount, -123456789), kLink, 77);
  r.real(root, kRatio, 0.25);
  ASSERT_EQ(putDate(&r, r.child(root, kDay), FlmDate{2001, 9, 9}), FERR_OK);
  uint32_t drn = 0;
  ASSERT_EQ(db->add(0, kData0, &drn, root), FERR_OK);
  const std::string where = " WHERE id = " + std::to_string(Database::recordId(0, kData0, drn));
  const std::string good = queryText(db, "SELECT data FROM flm_record" + where);
  ASSERT_GT(good.size(), 20u);

  auto storedAs = [&](const std::string& blob) {
    sqlite3_stmt* write = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(db->sql(), ("UPDATE flm_record SET data = ?1" + where).c_str(),
                                 -1, &write, nullptr),
              SQLITE_OK);
    sqlite3_bind_blob(write, 1, blob.data(), static_cast<int>(blob.size()), SQLITE_TRANSIENT);
    EXPECT_EQ(sqlite3_step(write), SQLITE_DONE);
    sqlite3_finalize(write);
    return retrieved(db, 0, kData0, drn);
  };
  // Cut short anywhere, the record is a data error; a flipped byte is one or
  // reads as some other record, never a crash (the fuzzer tries every byte).
  for (size_t length : {size_t{0}, size_t{1}, good.size() / 2, good.size() - 1}) {
    EXPECT_EQ(storedAs(good.substr(0, length)), FERR_DATA_ERROR) << length;
  }
  for (size_t at : {size_t{0}, size_t{3}, good.size() / 2, good.size() - 1}) {
    std::string bad = good;
    bad[at] = static_cast<char>(bad[at] ^ 0xFF);
    RCODE rc = storedAs(bad);
    EXPECT_TRUE(rc == FERR_OK || rc == FERR_DATA_ERROR) << at << ": " << errorName(rc);
  }
  // A type that does not exist, text that is not UTF-8, a skipped level.
  for (const std::string& bad : {std::string("\x01\x00\x01\x09\x01\x41", 6),
                                 std::string("\x01\x00\x01\x00\x02\xC3\x28", 7),
                                 std::string("\x01\x00\x01\x00\x00\x02\x02\x00\x00", 9)})
    EXPECT_EQ(storedAs(bad), FERR_DATA_ERROR);
  EXPECT_EQ(storedAs(good), FERR_OK);
  EXPECT_EQ(storedName(db, drn), u"Stra\u00dfe \U0001F600");
}

TEST(FlmRecordStore, CacheLimitSetsSqliteCache) {
  TestDb a(testDictionary(), 2048);
  Database* b = nullptr;
  auto caches = [&] {
    return queryText(a.db(), "PRAGMA cache_size") +
           (b ? " " + queryText(b, "PRAGMA cache_size") : "");
  };
  EXPECT_EQ(caches(), "-2048");
  ASSERT_EQ(a.session()->createDatabase(a.dir().file("b.db").c_str(), testDictionary(), &b),
            FERR_OK);
  EXPECT_EQ(caches(), "-1024 -1024") << "two databases share the limit";
  ASSERT_EQ(a.session()->setCacheLimit(300), FERR_OK);
  EXPECT_EQ(a.session()->cacheLimit(), 300u);
  EXPECT_EQ(caches(), "-150 -150");
  ASSERT_EQ(Session::config(a.session(), FLM_CACHE_LIMIT, 512), FERR_OK);
  EXPECT_EQ(caches(), "-256 -256");
  ASSERT_EQ(Session::closeDatabase(&b), FERR_OK);
  EXPECT_EQ(caches(), "-512") << "the one left gets it all";
  ASSERT_EQ(a.reopen(), FERR_OK);
  EXPECT_EQ(caches(), "-512") << "and keeps it when opened again";
  EXPECT_EQ(Session::config(nullptr, FLM_CACHE_LIMIT, 1), FERR_OK);
}

// ---------------------------------------------------------------------------
// Opening and closing

TEST(FlmOpen, ReadOnlyRefusesWritesAndLeavesTheFileAlone) {
  TestDb t(testDictionary());
  ASSERT_EQ(addAt(t.db(), 0, u"stays"), "1");
  t.close();
  const std::string before = testfiles::readFile(t.path());
  const std::vector<std::string> filesBefore = directoryListing(t.dir().path());
  ASSERT_FALSE(before.empty());

  ASSERT_EQ(t.reopen(FO_READ_ONLY), FERR_OK);
  Database* db = t.db();
  EXPECT_TRUE(db->readOnly());
  EXPECT_NE(addAt(db, 0, u"new"), "2");
  EXPECT_NE(modifyNamed(db, 1, u"changed"), FERR_OK);
  EXPECT_NE(db->remove(0, kData0, 1), FERR_OK);
  EXPECT_EQ(db->transBegin(), FERR_PERMISSION);
  EXPECT_FALSE(db->transActive());
  EXPECT_EQ(storedName(db, 1), u"stays");
  EXPECT_EQ(exactKeys(db, kByName), Keys{"stays"});
  t.close();
  EXPECT_EQ(testfiles::readFile(t.path()), before);
  EXPECT_EQ(directoryListing(t.dir().path()), filesBefore);
}

TEST(FlmOpen, ReadersShareAndAnExclusiveOpenerKeepsOthersOut) {
  TestDb t(testDictionary());
  ASSERT_EQ(addAt(t.db(), 0, u"mine"), "1");
  t.close();
  Session* other = nullptr;
  ASSERT_EQ(Session::create(1024, 0, &other), FERR_OK);

  // A read-only opener lets other readers and a writer in, but no exclusive one.
  Database* reader = nullptr;
  Database* second = nullptr;
  ASSERT_EQ(openAgain(t, other, FO_READ_ONLY, &reader), FERR_OK);
  ASSERT_EQ(openAgain(t, t.session(), FO_READ_ONLY, &second), FERR_OK);
  ASSERT_EQ(t.reopen(), FERR_OK);
  EXPECT_EQ(storedName(second, 1) + storedName(t.db(), 1) + storedName(reader, 1),
            u"mineminemine");
  EXPECT_EQ(openAgain(t, t.session(), FO_EXCLUSIVE), FERR_IO_FILE_LOCK_ERR);
  ASSERT_EQ(Session::closeDatabase(&second), FERR_OK);
  ASSERT_EQ(Session::closeDatabase(&reader), FERR_OK);
  t.close();

  // The exclusive holder keeps out every kind of opener, in any session.
  Database* first = nullptr;
  ASSERT_EQ(openAgain(t, t.session(), FO_EXCLUSIVE, &first), FERR_OK);
  EXPECT_TRUE(first->exclusive());
  for (uint32_t flags : {0u, uint32_t{FO_READ_ONLY}, uint32_t{FO_EXCLUSIVE}})
    EXPECT_EQ(openAgain(t, other, flags), FERR_IO_FILE_LOCK_ERR) << flags;
  EXPECT_EQ(openAgain(t, t.session(), 0), FERR_IO_FILE_LOCK_ERR);
  EXPECT_EQ(other->openCount(), 0u);
  // It still works after the refusals.
  EXPECT_EQ(addAt(first, 0, u"more"), "2");
  ASSERT_EQ(Session::closeDatabase(&first), FERR_OK);
  Session::close(&other);
}

TEST(FlmOpen, CreatingOverAnExistingFileAndMissingFilesAreRefused) {
  TestDb t(testDictionary());
  ASSERT_EQ(addAt(t.db(), 0, u"precious"), "1");
  Database* again = nullptr;
  EXPECT_EQ(t.session()->createDatabase(t.path().c_str(), testDictionary(), &again),
            FERR_FILE_EXISTS);
  EXPECT_EQ(again, nullptr);
  EXPECT_EQ(storedName(t.db(), 1), u"precious");

  Dictionary bad = testDictionary();
  bad.indexes.push_back({9, "nowhere", kUnknownContainer, {{kName}}});
  const std::string badPath = t.dir().file("bad.db");
  EXPECT_EQ(t.session()->createDatabase(badPath.c_str(), bad, &again), FERR_BAD_CONTAINER);
  EXPECT_FALSE(std::filesystem::exists(badPath)) << "a refused create leaves no file";

  for (const char* missing : {"absent.db", "no/such/dir.db"})
    EXPECT_EQ(t.session()->openDatabase(t.dir().file(missing).c_str(), nullptr, 0, &again),
              FERR_IO_PATH_NOT_FOUND);
  EXPECT_EQ(again, nullptr);
  EXPECT_EQ(t.session()->openCount(), 1u);
}

TEST(FlmOpen, DamagedAndForeignFilesAreRefused) {
  TestDb t(testDictionary());
  addMany(t.db(), 200);
  const auto pageSize = static_cast<size_t>(queryInt(t.db(), "PRAGMA page_size"));
  t.close();
  const std::string good = testfiles::readFile(t.path());
  ASSERT_EQ(good.size() % pageSize, 0u);
  ASSERT_GT(good.size(), 20 * pageSize);
  auto sqliteFile = [&](const char* name, const char* sql) {
    const std::string path = t.dir().file(name);
    sqlite3* raw = nullptr;
    EXPECT_EQ(sqlite3_open(path.c_str(), &raw), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(raw, sql, nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(raw);
    return testfiles::readFile(path);
  };
  // Keep the first page (the file header and SQLite's schema) and scribble
  // over every other page, our dictionary's among them.
  std::string scribbled = good;
  for (size_t i = pageSize; i < scribbled.size(); ++i)
    scribbled[i] = static_cast<char>((i * 131) ^ 0x5A);

  const struct {
    const char* what;
    std::string bytes;
    RCODE expected;
  } cases[] = {
      {"cut to half", good.substr(0, good.size() / 2), FERR_DATA_ERROR},
      {"cut mid-page", good.substr(0, good.size() - 100), FERR_DATA_ERROR},
      // The first page read past the header fails its checksum.
      {"scribbled over", scribbled, FERR_BLOCK_CHECKSUM},
      {"empty", std::string(), FERR_NOT_FLAIM},
      {"text", "This is a text file, not a database.\n", FERR_NOT_FLAIM},
      {"sqlite without our tables",
       sqliteFile("foreign.db", "CREATE TABLE notes(x); INSERT INTO notes VALUES('hello');"),
       FERR_NOT_FLAIM},
      // A table of the right name, but not our format.
      {"sqlite with another format",
       sqliteFile("lookalike.db", "CREATE TABLE flm_meta(name TEXT PRIMARY KEY, value TEXT);"
                                  "INSERT INTO flm_meta VALUES('format', 'something else 9');"),
       FERR_NOT_FLAIM},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const std::string path = t.dir().file("damaged.db");
    testfiles::writeFile(path, c.bytes);
    Database* db = reinterpret_cast<Database*>(&t);
    EXPECT_EQ(t.session()->openDatabase(path.c_str(), nullptr, 0, &db), c.expected);
    EXPECT_EQ(db, nullptr);
    EXPECT_EQ(t.session()->openCount(), 0u);
    // A refused file holds no lock: an exclusive opener of it is told the same.
    EXPECT_EQ(t.session()->openDatabase(path.c_str(), nullptr, FO_EXCLUSIVE, &db), c.expected);
    std::filesystem::remove(path);
  }
  // The good file is still fine after all that.
  ASSERT_EQ(t.reopen(), FERR_OK);
  EXPECT_EQ(storedName(t.db(), 200).size(), 402u);
}

// Only a regular file can be a database. Anything else is refused before it
// is opened: a FIFO without a writer does not hold the open up, and a device
// is left alone.
TEST(FlmOpen, WhatIsNoRegularFileIsRefusedUnopened) {
  TestDb t(testDictionary());
  const std::string fifo = t.dir().file("fifo.db"), device = t.dir().file("null.db"),
                    folder = t.dir().file("folder.db");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  std::filesystem::create_symlink("/dev/null", device);
  std::filesystem::create_directory(folder);
  for (const std::string& path : {fifo, device, folder})
    for (uint32_t flags : {0u, uint32_t{FO_READ_ONLY}, uint32_t{FO_EXCLUSIVE}}) {
      SCOPED_TRACE(path + " flags " + std::to_string(flags));
      Database* db = reinterpret_cast<Database*>(&t);
      RCODE rc = FERR_OK;
      EXPECT_TRUE(testfiles::returnsWithoutAWriter(
          fifo, [&] { rc = t.session()->openDatabase(path.c_str(), nullptr, flags, &db); }));
      EXPECT_EQ(rc, FERR_IO_OPEN_ERR);
      EXPECT_EQ(db, nullptr);
    }
  EXPECT_EQ(t.session()->openCount(), 1u);
  EXPECT_TRUE(std::filesystem::is_fifo(fifo));
}

// A byte changed in the middle of a page leaves a page SQLite still parses
// (a changed letter of a record, a changed key, free space). Every read that
// meets the page must say so; none may answer other data or less of it.
TEST(FlmPages, AChangedByteInAnyPageFailsTheReadsThatMeetItAndNeverReadsAsOtherData) {
  TestDb t(testDictionary());
  constexpr uint32_t kRecords = 60;
  addMany(t.db(), kRecords);
  const auto pageSize = static_cast<size_t>(queryInt(t.db(), "PRAGMA page_size"));
  t.close();
  const std::string good = testfiles::readFile(t.path());
  const size_t pages = good.size() / pageSize;
  ASSERT_GT(pages, 20u);
  const std::string path = t.dir().file("changed.db");
  size_t caught = 0;
  for (size_t page = 0; page < pages; ++page) {
    SCOPED_TRACE("page " + std::to_string(page + 1));
    std::string bytes = good;
    bytes[page * pageSize + pageSize / 2] ^= 0x04;
    testfiles::writeFile(path, bytes);
    Session* session = nullptr;
    ASSERT_EQ(Session::create(1024, 0, &session), FERR_OK);
    Database* db = nullptr;
    RCODE rc = session->openDatabase(path.c_str(), nullptr, FO_READ_ONLY, &db);
    std::vector<RCODE> failures;
    if (rc) failures.push_back(rc);
    if (db) {
      uint32_t count = 0;
      rc = db->recordCount(0, kData0, &count);
      if (rc)
        failures.push_back(rc);
      else
        EXPECT_EQ(count, kRecords) << "a count came up short without an error";
      for (uint32_t i = 1; i <= kRecords; ++i) {
        const std::u16string name = storedName(db, i);
        if (name == u"<BLOCK_CHECKSUM>")
          failures.push_back(FERR_BLOCK_CHECKSUM);
        else
          ASSERT_TRUE(name == manyName(i)) << "record " << i << " read as other data";
      }
      std::vector<uint32_t> byName;
      rc = indexRecords(db, kByName, 0, 1, true, &byName);
      if (rc)
        failures.push_back(rc);
      else
        EXPECT_EQ(byName.size(), kRecords) << "an index walk came up short without an error";
      // Each name through the key table by its exact text and by its folded
      // one. Names repeat every 130 records.
      for (uint32_t i = 1; i <= kRecords; ++i)
        for (KeyColumn column : {KeyColumn::Exact, KeyColumn::Folded}) {
          std::vector<uint32_t> found, named;
          for (uint32_t j = 1; j <= kRecords; ++j)
            if (manyName(j) == manyName(i)) named.push_back(j);
          const std::u16string name = manyName(i);
          const SqlParam value{SqlParam::Text, 0, std::string(name.begin(), name.end())};
          rc = runProbe(db, probeEqual(kByName, 0, 1, column, value), false, &found);
          if (rc)
            failures.push_back(rc);
          else
            EXPECT_EQ(found, named) << "a key came back wrong without an error";
        }
    }
    Session::close(&session);
    for (RCODE failure : failures) EXPECT_EQ(failure, FERR_BLOCK_CHECKSUM) << errorName(failure);
    caught += !failures.empty();
  }
  EXPECT_EQ(caught, pages) << "some page's change went unnoticed";
}

// A VACUUM through the engine's VFS to another page size (the fuzzers'
// seed database is compacted so) writes the new pages several at a time, or
// each in pieces: every one must still get its checksum.
TEST(FlmPages, AVacuumToSmallerOrLargerPagesKeepsEveryChecksum) {
  TestDb t(testDictionary());
  addMany(t.db(), 60);
  t.close();
  for (const char* size : {"512", "16384", "4096"}) {
    SCOPED_TRACE(std::string("pages of ") + size);
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open_v2(t.path().c_str(), &raw, SQLITE_OPEN_READWRITE, checksumVfs()),
              SQLITE_OK);
    const std::string sql = std::string("PRAGMA page_size = ") + size + "; VACUUM";
    EXPECT_EQ(sqlite3_exec(raw, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(raw);
    ASSERT_EQ(t.reopen(FO_READ_ONLY), FERR_OK);
    EXPECT_EQ(queryText(t.db(), "PRAGMA page_size"), size);
    EXPECT_EQ(recordCount(t.db()), 60u);
    for (uint32_t i = 1; i <= 60; ++i) ASSERT_TRUE(storedName(t.db(), i) == manyName(i)) << i;
    t.close();
  }
}

// Files made before pages carried checksums have no room for them; they are
// read and written unchecked. A file whose header lost its room while its
// dictionary says its pages are checked has a damaged header.
TEST(FlmPages, FilesWithoutChecksumsAreReadAndAHeaderThatLostThemIsRefused) {
  ScratchDir dir;
  const std::string old = dir.file("old.db");
  sqlite3* raw = nullptr;
  ASSERT_EQ(sqlite3_open(old.c_str(), &raw), SQLITE_OK);
  ASSERT_EQ(createSchema(raw, testDictionary()), FERR_OK);
  ASSERT_EQ(sqlite3_exec(raw, "UPDATE flm_meta SET value = 'corvid5-flm 1' WHERE name = 'format'",
                         nullptr, nullptr, nullptr),
            SQLITE_OK);
  sqlite3_close(raw);
  Session* session = nullptr;
  ASSERT_EQ(Session::create(1024, 0, &session), FERR_OK);
  Database* db = nullptr;
  ASSERT_EQ(session->openDatabase(old.c_str(), nullptr, 0, &db), FERR_OK);
  addMany(db, 50);
  ASSERT_EQ(Session::closeDatabase(&db), FERR_OK);
  ASSERT_EQ(session->openDatabase(old.c_str(), nullptr, FO_READ_ONLY, &db), FERR_OK);
  EXPECT_EQ(recordCount(db), 50u);
  EXPECT_TRUE(storedName(db, 50) == manyName(50));
  ASSERT_EQ(Session::closeDatabase(&db), FERR_OK);

  TestDb t(testDictionary());
  addMany(t.db(), 50);
  t.close();
  std::string bytes = testfiles::readFile(t.path());
  constexpr size_t kReservedBytesAt = 20;
  ASSERT_EQ(bytes[kReservedBytesAt], 8) << "a new file keeps eight bytes of each page";
  bytes[kReservedBytesAt] = 0;
  testfiles::writeFile(t.path(), bytes);
  EXPECT_EQ(session->openDatabase(t.path().c_str(), nullptr, FO_READ_ONLY, &db), FERR_DATA_ERROR);
  Session::close(&session);
}

TEST(FlmOpen, ClosingTheSessionClosesItsDatabasesAndLetsTheFilesGo) {
  ScratchDir dir;
  Session* session = nullptr;
  ASSERT_EQ(Session::create(1024, 0, &session), FERR_OK);
  Database* a = nullptr;
  Database* b = nullptr;
  ASSERT_EQ(session->createDatabase(dir.file("a.db").c_str(), testDictionary(), &a), FERR_OK);
  ASSERT_EQ(session->createDatabase(dir.file("b.db").c_str(), testDictionary(), &b), FERR_OK);
  EXPECT_EQ(session->openCount(), 2u);
  ASSERT_EQ(addAt(b, 0, u"written"), "1");
  Session::close(&session);
  EXPECT_EQ(session, nullptr);
  Session::close(&session);
  for (Database* stale : {a, b}) {
    EXPECT_EQ(Database::fromHandle(stale), nullptr);
    EXPECT_EQ(Session::closeDatabase(&stale), FERR_BAD_HDL);
  }
  // Both files were let go: they open exclusively, with their data.
  ASSERT_EQ(Session::create(1024, 0, &session), FERR_OK);
  ASSERT_EQ(session->openDatabase(dir.file("a.db").c_str(), nullptr, FO_EXCLUSIVE, &a), FERR_OK);
  ASSERT_EQ(session->openDatabase(dir.file("b.db").c_str(), nullptr, FO_EXCLUSIVE, &b), FERR_OK);
  EXPECT_EQ(storedName(b, 1), u"written");
  Session::close(&session);
}

// ---------------------------------------------------------------------------
// Index keys

TEST(FlmKeys, TextKeysHoldExactFoldedAndSortKey) {
  TestDb t(testDictionary());
  Database* db = t.db();
  for (const char16_t* name : {u"cherry", u"Banana", u"apple", u"Stra\u00dfe"}) addAt(db, 0, name);
  std::vector<KeyRow> rows = keyRows(db, kByName, 4);
  ASSERT_EQ(rows.size(), 1u);
  const std::string strasse = "Stra\xc3\x9f\x65";
  EXPECT_EQ(std::make_tuple(rows[0].component, rows[0].type, rows[0].exact, rows[0].folded,
                            rows[0].drn),
            std::make_tuple(1, SQLITE_TEXT, strasse, std::string("strasse"), int64_t{4}));
  EXPECT_EQ(exactKeys(db, kByName, -1, "exact"), (Keys{"Banana", strasse, "apple", "cherry"}));
  EXPECT_EQ(exactKeys(db, kByName, -1, "sortkey"), (Keys{"apple", "Banana", "cherry", strasse}));
  // Case and width of letters do not change the folded form.
  ASSERT_EQ(addAt(db, 0, u"STRASSE"), "5");
  EXPECT_EQ(keyRows(db, kByName, 5).at(0).folded, "strasse");

  // Long enough that the sort key does not fit a small buffer; the two differ
  // only at the very end.
  const std::u16string base(600, u'z');
  ASSERT_EQ(addAt(db, 0, base + u"b"), "6");
  ASSERT_EQ(addAt(db, 0, base + u"a"), "7");
  rows = keyRows(db, kByName, -1, "sortkey");
  ASSERT_EQ(rows.size(), 7u);
  EXPECT_EQ(std::make_pair(rows[5].drn, rows[6].drn), std::make_pair(int64_t{7}, int64_t{6}));
  EXPECT_GT(rows[5].sortKey.size(), 256u);
  for (const KeyRow& row : rows)
    EXPECT_EQ(row.sortKey.find('\0'), std::string::npos) << row.drn << ": no terminator kept";
}

TEST(FlmKeys, NumbersAndRecordPointersStoreTheInteger) {
  TestDb t(testDictionary());
  ScopedPool r;
  Node* root = r.make(kRecord);
  r.number(root, kCount, -42);
  r.pointer(root, kLink, 4000000000u);
  uint32_t drn = 0;
  ASSERT_EQ(t.db()->add(0, kData0, &drn, root), FERR_OK);
  std::vector<KeyRow> rows = keyRows(t.db(), kByNumber, drn);
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(std::make_tuple(rows[0].component, rows[0].type, rows[0].integer, rows[0].foldedNull),
            std::make_tuple(1, SQLITE_INTEGER, int64_t{-42}, true));
  EXPECT_EQ(std::make_tuple(rows[1].component, rows[1].type, rows[1].integer),
            std::make_tuple(2, SQLITE_INTEGER, int64_t{4000000000}));
  EXPECT_TRUE(exactKeys(t.db(), kByName, drn).empty()) << "no name, no name key";
}

TEST(FlmKeys, PathComponentsMatchOnlyUnderTheirRoot) {
  TestDb t(testDictionary());
  auto addPerson = [&](uint16_t rootTag, bool nested, std::u16string_view nick) {
    ScopedPool r;
    Node* root = r.make(rootTag);
    // Other texts under the root and on the way down are not the path's field.
    r.text(root, kName, u"not a nick");
    r.text(nested ? r.text(root, kOther, u"not a nick either") : root, kNick, nick);
    uint32_t drn = 0;
    EXPECT_EQ(t.db()->add(0, kData0, &drn, root), FERR_OK);
    return drn;
  };
  EXPECT_EQ(exactKeys(t.db(), kByNick, addPerson(kPerson, false, u"robin")), Keys{"robin"});
  EXPECT_TRUE(exactKeys(t.db(), kByNick, addPerson(kOther, false, u"wren")).empty());
  EXPECT_TRUE(exactKeys(t.db(), kByNick, addPerson(kPerson, true, u"finch")).empty())
      << "120 must be a child of the root";
  EXPECT_EQ(exactKeys(t.db(), kByNick), Keys{"robin"});
}

TEST(FlmKeys, ModifyReplacesAndDeleteRemovesTheKeys) {
  TestDb t(testDictionary());
  Database* db = t.db();
  addAt(db, 0, u"old");
  addAt(db, 0, u"other");
  // The same value twice in one record gives one key.
  ScopedPool r;
  Node* root = r.make(kRecord);
  r.text(root, kName, u"new");
  Node* deeper = r.child(root, kOther);
  r.text(deeper, kName, u"new");
  r.text(deeper, kName, u"newer");
  r.number(root, kCount, 5);
  r.number(deeper, kCount, 5);
  ASSERT_EQ(db->modify(0, kData0, 1, root), FERR_OK);
  EXPECT_EQ(exactKeys(db, kByName, 1), (Keys{"new", "newer"}));
  EXPECT_EQ(keyRows(db, kByNumber, 1).size(), 1u);
  EXPECT_EQ(exactKeys(db, kByName, 2), Keys{"other"});

  ASSERT_EQ(modifyNamed(db, 1, u"last"), FERR_OK);
  EXPECT_EQ(exactKeys(db, kByName, 1), Keys{"last"});
  EXPECT_TRUE(keyRows(db, kByNumber, 1).empty());
  ASSERT_EQ(db->modify(0, kData0, 1, root), FERR_OK);
  // Deleting takes the one key away, although two fields named it.
  ASSERT_EQ(db->remove(0, kData0, 1), FERR_OK);
  EXPECT_EQ(queryInt(db, "SELECT count(*) FROM flm_key"), 1);
  // Survives reopening, as the key table is part of the file.
  ASSERT_EQ(t.reopen(), FERR_OK);
  EXPECT_EQ(exactKeys(t.db(), kByName), Keys{"other"});
}

TEST(FlmKeys, IndexesBelongToTheirContainer) {
  TestDb t(testDictionary());
  Database* db = t.db();
  ASSERT_EQ(addAt(db, 0, u"in data"), "1");
  ASSERT_EQ(addAt(db, 0, u"in people", kPeople), "1");
  EXPECT_EQ(exactKeys(db, kByName), Keys{"in data"});
  EXPECT_EQ(exactKeys(db, kPeopleByName), Keys{"in people"});
  ASSERT_EQ(db->remove(0, kPeople, 1), FERR_OK);
  EXPECT_TRUE(exactKeys(db, kPeopleByName).empty());
  EXPECT_EQ(exactKeys(db, kByName), Keys{"in data"}) << "same number, other container";

  // Another store with the same record number has keys of its own.
  ASSERT_EQ(addAt(db, 1, u"in store 2", kData0, 2), "1");
  ASSERT_EQ(db->remove(0, kData0, 1), FERR_OK);
  EXPECT_TRUE(exactKeys(db, kByName).empty());
  EXPECT_EQ(queryText(db, "SELECT exact FROM flm_key WHERE ix = 1 AND store = 2 AND drn = 1"),
            "in store 2");
}

// The storage engine on disk: records by (store, container, number), opening
// and refusing files, the session's cache, and the keys that indexes write.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "flm/Database.h"
#include "flm/Session.h"
#include "flm/Value.h"
#include "support/TestFiles.h"

using namespace flm;
using testfiles::ScratchDir;

namespace {

// Field numbers of the test dictionary.
enum : uint16_t {
  kRecord = 1,
  kName = 2,
  kCount = 3,
  kData = 4,
  kLink = 5,
  kRatio = 6,
  kDay = 7,
  kClock = 8,
  kStamp = 9,
  kSmall = 10,
  kPerson = 60,
  kNick = 120,
  kOther = 61,
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

// A record under construction, in its own pool.
class Tree {
 public:
  Tree() { poolInit(&pool_, 512); }
  ~Tree() { poolFree(&pool_); }
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;

  PoolMemoryManager* pool() { return &pool_; }
  Node* root(uint16_t tag) {
    RCODE rc = FERR_FAILURE;
    Node* n = nodeMake(&pool_, tag, &rc);
    EXPECT_EQ(rc, FERR_OK);
    return n;
  }
  Node* child(Node* parent, uint16_t tag) {
    Node* n = root(tag);
    nodeChildGraft(parent, n, GED_LAST);
    return n;
  }
  Node* text(Node* parent, uint16_t tag, std::u16string_view value) {
    Node* n = child(parent, tag);
    EXPECT_EQ(putUnicode(&pool_, n, reinterpret_cast<const uint16_t*>(value.data()), value.size()),
              FERR_OK);
    return n;
  }
  Node* number(Node* parent, uint16_t tag, int64_t value) {
    Node* n = child(parent, tag);
    EXPECT_EQ(putInt(&pool_, n, value), FERR_OK);
    return n;
  }

 private:
  PoolMemoryManager pool_;
};

std::u16string textOf(const Node* n) {
  uint32_t bytes = 0;
  if (!n || getUnicodeLength(n, &bytes)) return u"<no text>";
  std::vector<uint16_t> buffer(bytes / 2 + 1);
  uint32_t size = static_cast<uint32_t>(buffer.size() * 2);
  if (getUnicode(n, buffer.data(), &size)) return u"<no text>";
  return std::u16string(buffer.begin(), buffer.begin() + size / 2);
}

// The name field of a stored record, or a marker saying why there is none.
std::u16string storedName(Database* db, uint32_t drn, uint16_t container = kData0,
                          uint32_t store = 0) {
  Tree out;
  Node* root = nullptr;
  RCODE rc = db->retrieve(store, container, drn, out.pool(), &root);
  if (rc) return u"<" + std::u16string(errorName(rc), errorName(rc) + std::strlen(errorName(rc))) + u">";
  return textOf(nodeFind(GED_TREE, root, kName, 1));
}

RCODE addNamed(Database* db, uint32_t* drn, std::u16string_view name, uint16_t container = kData0,
               uint32_t store = 0) {
  Tree t;
  Node* root = t.root(kRecord);
  t.text(root, kName, name);
  return db->add(store, container, drn, root);
}

RCODE modifyNamed(Database* db, uint32_t drn, std::u16string_view name) {
  Tree t;
  Node* root = t.root(kRecord);
  t.text(root, kName, name);
  return db->modify(0, kData0, drn, root);
}

// One SQL value read back for checking, whatever its storage class.
int64_t queryInt(Database* db, const std::string& sql) {
  sqlite3_stmt* stmt = nullptr;
  EXPECT_EQ(sqlite3_prepare_v2(db->sql(), sql.c_str(), -1, &stmt, nullptr), SQLITE_OK) << sql;
  int64_t value = std::numeric_limits<int64_t>::min();
  if (stmt && sqlite3_step(stmt) == SQLITE_ROW) value = sqlite3_column_int64(stmt, 0);
  sqlite3_finalize(stmt);
  return value;
}

std::string queryText(Database* db, const std::string& sql) {
  sqlite3_stmt* stmt = nullptr;
  EXPECT_EQ(sqlite3_prepare_v2(db->sql(), sql.c_str(), -1, &stmt, nullptr), SQLITE_OK) << sql;
  std::string value = "<no row>";
  if (stmt && sqlite3_step(stmt) == SQLITE_ROW) {
    auto* text = sqlite3_column_text(stmt, 0);
    value = text ? reinterpret_cast<const char*>(text) : "<null>";
  }
  sqlite3_finalize(stmt);
  return value;
}

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

std::string columnBytes(sqlite3_stmt* stmt, int column) {
  auto* p = static_cast<const char*>(sqlite3_column_blob(stmt, column));
  return p ? std::string(p, static_cast<size_t>(sqlite3_column_bytes(stmt, column))) : "";
}

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
  while (stmt && sqlite3_step(stmt) == SQLITE_ROW) {
    KeyRow row;
    row.component = sqlite3_column_int(stmt, 0);
    row.type = sqlite3_column_type(stmt, 1);
    row.integer = sqlite3_column_int64(stmt, 1);
    row.exact = columnBytes(stmt, 1);
    row.foldedNull = sqlite3_column_type(stmt, 2) == SQLITE_NULL;
    row.folded = columnBytes(stmt, 2);
    row.sortKey = columnBytes(stmt, 3);
    row.drn = sqlite3_column_int64(stmt, 4);
    rows.push_back(row);
  }
  sqlite3_finalize(stmt);
  return rows;
}

std::vector<std::string> exactKeys(Database* db, uint16_t index, int64_t drn = -1) {
  std::vector<std::string> keys;
  for (const KeyRow& row : keyRows(db, index, drn)) keys.push_back(row.exact);
  return keys;
}

using Keys = std::vector<std::string>;

// A session with one database made from the test dictionary.
class TestDb {
 public:
  explicit TestDb(uint32_t cacheKilobytes = 4096) : path_(dir_.file("test.db")) {
    EXPECT_EQ(Session::create(cacheKilobytes, 0, &session_), FERR_OK);
    EXPECT_EQ(session_->createDatabase(path_.c_str(), testDictionary(), &db_), FERR_OK);
  }
  ~TestDb() { Session::close(&session_); }
  TestDb(const TestDb&) = delete;
  TestDb& operator=(const TestDb&) = delete;

  Database* db() const { return db_; }
  Session* session() const { return session_; }
  const std::string& path() const { return path_; }
  const ScratchDir& dir() const { return dir_; }

  void close() {
    RCODE rc = db_ ? Session::closeDatabase(&db_) : FERR_OK;
    EXPECT_EQ(rc, FERR_OK);
  }
  RCODE reopen(uint32_t flags = 0) {
    close();
    return session_->openDatabase(path_.c_str(), nullptr, flags, &db_);
  }

 private:
  ScratchDir dir_;
  std::string path_;
  Session* session_ = nullptr;
  Database* db_ = nullptr;
};

// Fills a database with `count` records whose names are long enough to need
// many pages.
void addMany(Database* db, uint32_t count, size_t nameLength = 400) {
  ASSERT_EQ(db->transBegin(), FERR_OK);
  for (uint32_t i = 1; i <= count; ++i) {
    std::u16string name(nameLength, static_cast<char16_t>(u'a' + i % 26));
    name += std::u16string(u"#") + static_cast<char16_t>(u'0' + i % 10);
    uint32_t drn = 0;
    ASSERT_EQ(addNamed(db, &drn, name), FERR_OK);
    ASSERT_EQ(drn, i);
  }
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
  TestDb t;
  const std::u16string text = std::u16string(u"Stra\u00dfe \U0001F600 ") + std::u16string(u"z\0z", 3);
  const unsigned char binary[] = {0, 0xFF, 1, 0x80, 0, 7};
  const double real = -1234.5e-7;
  uint32_t drn = 0;
  {
    Tree r;
    Node* root = r.root(kRecord);
    r.text(root, kName, text);
    Node* counts = r.child(root, kCount);
    ASSERT_EQ(putInt(r.pool(), counts, std::numeric_limits<int32_t>::min()), FERR_OK);
    r.number(counts, kSmall, std::numeric_limits<int32_t>::max());
    r.number(counts, kSmall, std::numeric_limits<uint32_t>::max());
    r.number(counts, kSmall, -32768);
    r.number(counts, kSmall, 65535);
    ASSERT_EQ(putBinary(r.pool(), r.child(root, kData), binary, sizeof binary), FERR_OK);
    ASSERT_EQ(putRecPtr(r.pool(), r.child(root, kLink), 0xFFFFFFFEu), FERR_OK);
    ASSERT_EQ(putReal(r.pool(), r.child(root, kRatio), real), FERR_OK);
    ASSERT_EQ(putDate(r.pool(), r.child(root, kDay), FlmDate{2038, 1, 19}), FERR_OK);
    ASSERT_EQ(putTime(r.pool(), r.child(root, kClock), FlmTime{3, 14, 7, 55}), FERR_OK);
    ASSERT_EQ(putTimestamp(r.pool(), r.child(root, kStamp), FlmTimestamp{{1970, 1, 1}, {0, 0, 1, 2}}),
              FERR_OK);
    r.child(root, kOther);  // a field without a value
    ASSERT_EQ(t.db()->add(0, kData0, &drn, root), FERR_OK);
    EXPECT_EQ(drn, 1u);
  }
  ASSERT_EQ(t.reopen(), FERR_OK);

  Tree out;
  Node* root = nullptr;
  ASSERT_EQ(t.db()->retrieve(0, kData0, drn, out.pool(), &root), FERR_OK);
  ASSERT_NE(root, nullptr);
  const SourceNode* source = nodeSource(root);
  ASSERT_NE(source, nullptr);
  EXPECT_EQ(source->database, t.db());
  EXPECT_EQ(source->store, 0u);
  EXPECT_EQ(source->container, kData0);
  EXPECT_EQ(source->drn, drn);

  EXPECT_EQ(textOf(nodeFind(GED_TREE, root, kName, 1)), text);

  int32_t i32 = 0;
  uint32_t u32 = 0;
  int16_t i16 = 0;
  uint16_t u16 = 0;
  Node* counts = nodeFind(GED_TREE, root, kCount, 1);
  ASSERT_NE(counts, nullptr);
  EXPECT_EQ(getInt32(counts, &i32), FERR_OK);
  EXPECT_EQ(i32, std::numeric_limits<int32_t>::min());
  EXPECT_EQ(getInt32(nodeFind(GED_TREE, root, kSmall, 1), &i32), FERR_OK);
  EXPECT_EQ(i32, std::numeric_limits<int32_t>::max());
  EXPECT_EQ(getUint32(nodeFind(GED_TREE, root, kSmall, 2), &u32), FERR_OK);
  EXPECT_EQ(u32, std::numeric_limits<uint32_t>::max());
  EXPECT_EQ(getInt16(nodeFind(GED_TREE, root, kSmall, 3), &i16), FERR_OK);
  EXPECT_EQ(i16, -32768);
  EXPECT_EQ(getUint16(nodeFind(GED_TREE, root, kSmall, 4), &u16), FERR_OK);
  EXPECT_EQ(u16, 65535);
  EXPECT_EQ(nodeParent(nodeFind(GED_TREE, root, kSmall, 4)), counts);

  unsigned char bytes[16] = {};
  uint32_t size = sizeof bytes;
  EXPECT_EQ(getBinary(nodeFind(GED_TREE, root, kData, 1), bytes, &size), FERR_OK);
  ASSERT_EQ(size, sizeof binary);
  EXPECT_EQ(std::memcmp(bytes, binary, size), 0);

  EXPECT_EQ(getRecPtr(nodeFind(GED_TREE, root, kLink, 1), &u32), FERR_OK);
  EXPECT_EQ(u32, 0xFFFFFFFEu);

  double gotReal = 0;
  EXPECT_EQ(getReal(nodeFind(GED_TREE, root, kRatio, 1), &gotReal), FERR_OK);
  EXPECT_EQ(gotReal, real);

  FlmDate date{};
  EXPECT_EQ(getDate(nodeFind(GED_TREE, root, kDay, 1), &date), FERR_OK);
  EXPECT_EQ(date.year, 2038);
  EXPECT_EQ(date.month, 1);
  EXPECT_EQ(date.day, 19);
  FlmTime time{};
  EXPECT_EQ(getTime(nodeFind(GED_TREE, root, kClock, 1), &time), FERR_OK);
  EXPECT_EQ(time.hour, 3);
  EXPECT_EQ(time.minute, 14);
  EXPECT_EQ(time.second, 7);
  EXPECT_EQ(time.hundredth, 55);
  FlmTimestamp stamp{};
  EXPECT_EQ(getTimestamp(nodeFind(GED_TREE, root, kStamp, 1), &stamp), FERR_OK);
  EXPECT_EQ(stamp.date.year, 1970);
  EXPECT_EQ(stamp.time.second, 1);
  EXPECT_EQ(stamp.time.hundredth, 2);

  Node* empty = nodeFind(GED_TREE, root, kOther, 1);
  ASSERT_NE(empty, nullptr);
  EXPECT_EQ(empty->length, 0u);
  EXPECT_EQ(nodeLastInTree(root), empty);
}

TEST(FlmRecordStore, NumberZeroTakesOnePastTheHighest) {
  TestDb t;
  Database* db = t.db();
  uint32_t drn = 0;
  ASSERT_EQ(addNamed(db, &drn, u"one"), FERR_OK);
  EXPECT_EQ(drn, 1u);
  drn = 0;
  ASSERT_EQ(addNamed(db, &drn, u"two"), FERR_OK);
  EXPECT_EQ(drn, 2u);
  drn = 10;
  ASSERT_EQ(addNamed(db, &drn, u"ten"), FERR_OK);
  EXPECT_EQ(drn, 10u);
  drn = 5;
  ASSERT_EQ(addNamed(db, &drn, u"five"), FERR_OK);
  EXPECT_EQ(drn, 5u);
  drn = 0;
  ASSERT_EQ(addNamed(db, &drn, u"eleven"), FERR_OK);
  EXPECT_EQ(drn, 11u);

  // Deleting the highest lets its number be taken again.
  ASSERT_EQ(db->remove(0, kData0, 11), FERR_OK);
  drn = 0;
  ASSERT_EQ(addNamed(db, &drn, u"eleven again"), FERR_OK);
  EXPECT_EQ(drn, 11u);

  // Containers and stores number their records independently.
  drn = 0;
  ASSERT_EQ(addNamed(db, &drn, u"person", kPeople), FERR_OK);
  EXPECT_EQ(drn, 1u);
  drn = 0;
  ASSERT_EQ(addNamed(db, &drn, u"store two", kData0, 2), FERR_OK);
  EXPECT_EQ(drn, 1u);
  drn = 0;
  ASSERT_EQ(addNamed(db, &drn, u"store max", kData0, kMaxStore), FERR_OK);
  EXPECT_EQ(drn, 1u);

  EXPECT_EQ(storedName(db, 1), u"one");
  EXPECT_EQ(storedName(db, 5), u"five");
  EXPECT_EQ(storedName(db, 10), u"ten");
  EXPECT_EQ(storedName(db, 11), u"eleven again");
  EXPECT_EQ(storedName(db, 1, kPeople), u"person");
  EXPECT_EQ(storedName(db, 1, kData0, 2), u"store two");
  EXPECT_EQ(storedName(db, 1, kData0, kMaxStore), u"store max");
  uint32_t count = 0;
  ASSERT_EQ(db->recordCount(0, kData0, &count), FERR_OK);
  EXPECT_EQ(count, 5u);
  ASSERT_EQ(db->recordCount(0, kPeople, &count), FERR_OK);
  EXPECT_EQ(count, 1u);

  // The highest number a record can have, and then none is left.
  drn = 0xFFFFFFFEu;
  ASSERT_EQ(addNamed(db, &drn, u"last"), FERR_OK);
  drn = 0;
  EXPECT_EQ(addNamed(db, &drn, u"none left"), FERR_NO_MORE_DRNS);
  drn = 0xFFFFFFFFu;
  EXPECT_EQ(addNamed(db, &drn, u"reserved"), FERR_BAD_DRN);
}

TEST(FlmRecordStore, AddingAnExistingNumberChangesNothing) {
  TestDb t;
  Database* db = t.db();
  uint32_t drn = 3;
  ASSERT_EQ(addNamed(db, &drn, u"first"), FERR_OK);
  drn = 3;
  EXPECT_EQ(addNamed(db, &drn, u"second"), FERR_EXISTS);
  EXPECT_EQ(storedName(db, 3), u"first");
  EXPECT_EQ(exactKeys(db, kByName), Keys{"first"});

  ASSERT_EQ(t.reopen(), FERR_OK);
  EXPECT_EQ(storedName(t.db(), 3), u"first");
  uint32_t count = 0;
  ASSERT_EQ(t.db()->recordCount(0, kData0, &count), FERR_OK);
  EXPECT_EQ(count, 1u);
}

TEST(FlmRecordStore, ModifyAndDeleteSurviveReopen) {
  TestDb t;
  for (const char16_t* name : {u"alpha", u"beta", u"gamma"}) {
    uint32_t drn = 0;
    ASSERT_EQ(addNamed(t.db(), &drn, name), FERR_OK);
  }
  ASSERT_EQ(modifyNamed(t.db(), 2, u"BETA"), FERR_OK);
  ASSERT_EQ(t.db()->remove(0, kData0, 3), FERR_OK);
  ASSERT_EQ(t.reopen(), FERR_OK);

  EXPECT_EQ(storedName(t.db(), 1), u"alpha");
  EXPECT_EQ(storedName(t.db(), 2), u"BETA");
  EXPECT_EQ(storedName(t.db(), 3), u"<NOT_FOUND>");
  EXPECT_EQ(exactKeys(t.db(), kByName), (Keys{"BETA", "alpha"}));

  // A modified record may change shape entirely.
  Tree r;
  Node* root = r.root(kRecord);
  Node* person = r.child(root, kPerson);
  r.text(person, kNick, u"deep");
  r.number(root, kCount, 99);
  ASSERT_EQ(t.db()->modify(0, kData0, 1, root), FERR_OK);
  ASSERT_EQ(t.reopen(), FERR_OK);
  Tree out;
  Node* back = nullptr;
  ASSERT_EQ(t.db()->retrieve(0, kData0, 1, out.pool(), &back), FERR_OK);
  EXPECT_EQ(nodeFind(GED_TREE, back, kName, 1), nullptr);
  EXPECT_EQ(textOf(nodeFind(GED_TREE, back, kNick, 1)), u"deep");
  EXPECT_EQ(nodeFind(GED_TREE, back, kNick, 1)->level, 2);
  int64_t number = 0;
  EXPECT_EQ(getNumber(nodeFind(GED_TREE, back, kCount, 1), &number), FERR_OK);
  EXPECT_EQ(number, 99);
}

TEST(FlmRecordStore, MissingRecordsAndUnknownContainersAreRefused) {
  TestDb t;
  Database* db = t.db();
  uint32_t drn = 0;
  ASSERT_EQ(addNamed(db, &drn, u"here"), FERR_OK);
  Tree out;
  Node* root = reinterpret_cast<Node*>(&out);

  EXPECT_EQ(db->retrieve(0, kData0, 2, out.pool(), &root), FERR_NOT_FOUND);
  EXPECT_EQ(root, nullptr);
  EXPECT_EQ(db->retrieve(0, kPeople, 1, out.pool(), &root), FERR_NOT_FOUND);
  EXPECT_EQ(db->retrieve(1, kData0, 1, out.pool(), &root), FERR_NOT_FOUND);
  EXPECT_EQ(modifyNamed(db, 2, u"nobody"), FERR_NOT_FOUND);
  EXPECT_EQ(db->remove(0, kData0, 2), FERR_NOT_FOUND);
  EXPECT_EQ(exactKeys(db, kByName), Keys{"here"}) << "a refused modify writes no keys";

  EXPECT_EQ(db->retrieve(0, kUnknownContainer, 1, out.pool(), &root), FERR_BAD_CONTAINER);
  drn = 0;
  EXPECT_EQ(addNamed(db, &drn, u"x", kUnknownContainer), FERR_BAD_CONTAINER);
  Tree r;
  Node* rec = r.root(kRecord);
  EXPECT_EQ(db->modify(0, kUnknownContainer, 1, rec), FERR_BAD_CONTAINER);
  EXPECT_EQ(db->remove(0, kUnknownContainer, 1), FERR_BAD_CONTAINER);
  uint32_t count = 0;
  EXPECT_EQ(db->recordCount(0, kUnknownContainer, &count), FERR_BAD_CONTAINER);

  EXPECT_EQ(db->retrieve(0, kData0, 0, out.pool(), &root), FERR_BAD_DRN);
  drn = 0;
  EXPECT_EQ(db->add(0, kData0, &drn, nullptr), FERR_NULL_RECORD);
  EXPECT_EQ(db->add(kMaxStore + 1, kData0, &drn, rec), FERR_INVALID_PARM);
  EXPECT_EQ(storedName(db, 1), u"here");
}

TEST(FlmRecordStore, AbortedTransactionsLeaveNoTrace) {
  TestDb t;
  Database* db = t.db();
  uint32_t drn = 0;
  ASSERT_EQ(addNamed(db, &drn, u"kept"), FERR_OK);

  EXPECT_EQ(db->transCommit(), FERR_NO_TRANS_ACTIVE);
  EXPECT_EQ(db->transAbort(), FERR_NO_TRANS_ACTIVE);
  ASSERT_EQ(db->transBegin(), FERR_OK);
  EXPECT_TRUE(db->transActive());
  EXPECT_EQ(db->transBegin(), FERR_TRANS_ACTIVE);
  drn = 0;
  ASSERT_EQ(addNamed(db, &drn, u"gone"), FERR_OK);
  EXPECT_EQ(drn, 2u);
  drn = 0;
  ASSERT_EQ(addNamed(db, &drn, u"gone too"), FERR_OK);
  ASSERT_EQ(modifyNamed(db, 1, u"changed"), FERR_OK);
  EXPECT_EQ(storedName(db, 2), u"gone") << "a transaction sees its own writes";
  ASSERT_EQ(db->transAbort(), FERR_OK);
  EXPECT_FALSE(db->transActive());

  EXPECT_EQ(storedName(db, 1), u"kept");
  EXPECT_EQ(storedName(db, 2), u"<NOT_FOUND>");
  EXPECT_EQ(storedName(db, 3), u"<NOT_FOUND>");
  EXPECT_EQ(exactKeys(db, kByName), Keys{"kept"});

  // An aborted delete comes back; the number of an aborted add is free again.
  ASSERT_EQ(db->transBegin(), FERR_OK);
  ASSERT_EQ(db->remove(0, kData0, 1), FERR_OK);
  EXPECT_EQ(storedName(db, 1), u"<NOT_FOUND>");
  ASSERT_EQ(db->transAbort(), FERR_OK);
  EXPECT_EQ(storedName(db, 1), u"kept");
  EXPECT_EQ(exactKeys(db, kByName), Keys{"kept"});

  ASSERT_EQ(db->transBegin(), FERR_OK);
  drn = 0;
  ASSERT_EQ(addNamed(db, &drn, u"committed"), FERR_OK);
  EXPECT_EQ(drn, 2u);
  ASSERT_EQ(db->transCommit(), FERR_OK);
  EXPECT_FALSE(db->transActive());
  ASSERT_EQ(t.reopen(), FERR_OK);
  EXPECT_EQ(storedName(t.db(), 2), u"committed");
  EXPECT_EQ(exactKeys(t.db(), kByName), (Keys{"committed", "kept"}));
}

TEST(FlmRecordStore, ClosingInsideATransactionRollsItBack) {
  TestDb t;
  uint32_t drn = 0;
  ASSERT_EQ(addNamed(t.db(), &drn, u"kept"), FERR_OK);
  ASSERT_EQ(t.db()->transBegin(), FERR_OK);
  drn = 0;
  ASSERT_EQ(addNamed(t.db(), &drn, u"uncommitted"), FERR_OK);
  ASSERT_EQ(t.reopen(), FERR_OK);
  EXPECT_EQ(storedName(t.db(), 1), u"kept");
  EXPECT_EQ(storedName(t.db(), 2), u"<NOT_FOUND>");
}

TEST(FlmRecordStore, AWriteRefusedMidwayLeavesTheStoredRecord) {
  TestDb t;
  Database* db = t.db();
  addMany(db, 20, 100);
  ASSERT_EQ(modifyNamed(db, 7, u"seven"), FERR_OK);
  int64_t pages = queryInt(db, "PRAGMA page_count");
  ASSERT_GT(pages, 0);
  // No room for anything much bigger than what is there.
  queryInt(db, "PRAGMA max_page_count = " + std::to_string(pages + 1));
  ASSERT_EQ(queryInt(db, "PRAGMA max_page_count"), pages + 1);

  std::u16string huge(200000, u'h');
  uint32_t drn = 0;
  EXPECT_EQ(addNamed(db, &drn, huge), FERR_IO_DISK_FULL);
  EXPECT_EQ(modifyNamed(db, 7, huge), FERR_IO_DISK_FULL);
  EXPECT_EQ(storedName(db, 7), u"seven");
  EXPECT_EQ(exactKeys(db, kByName, 7), Keys{"seven"});
  EXPECT_EQ(storedName(db, 21), u"<NOT_FOUND>");
  EXPECT_TRUE(exactKeys(db, kByName, 21).empty());

  // Inside a transaction the failure also costs what came before it there.
  ASSERT_EQ(db->transBegin(), FERR_OK);
  ASSERT_EQ(modifyNamed(db, 8, u"eight"), FERR_OK);
  EXPECT_EQ(modifyNamed(db, 9, huge), FERR_IO_DISK_FULL);
  // SQLite may have given up the whole transaction; if not, give it up here.
  RCODE abort = db->transActive() ? db->transAbort() : FERR_OK;
  EXPECT_EQ(abort, FERR_OK);
  EXPECT_FALSE(db->transActive());

  // Small writes still fit.
  drn = 0;
  EXPECT_EQ(addNamed(db, &drn, u"small"), FERR_OK);
  EXPECT_EQ(drn, 21u);

  ASSERT_EQ(t.reopen(), FERR_OK);
  uint32_t count = 0;
  ASSERT_EQ(t.db()->recordCount(0, kData0, &count), FERR_OK);
  EXPECT_EQ(count, 21u);
  EXPECT_EQ(storedName(t.db(), 7), u"seven");
  EXPECT_EQ(storedName(t.db(), 8).substr(0, 5), std::u16string(100, u'a' + 8).substr(0, 5));
  EXPECT_EQ(storedName(t.db(), 9).size(), 102u);
  EXPECT_EQ(storedName(t.db(), 21), u"small");
  for (uint32_t i = 1; i <= 21; ++i) EXPECT_EQ(exactKeys(t.db(), kByName, i).size(), 1u) << i;
  EXPECT_EQ(queryText(t.db(), "PRAGMA integrity_check"), "ok");
}

TEST(FlmRecordStore, AWriteRefusedPartWayIsUndoneAsAWhole) {
  TestDb t;
  Database* db = t.db();
  uint32_t drn = 0;
  ASSERT_EQ(addNamed(db, &drn, u"before"), FERR_OK);
  // The record row goes in first and its keys after it; refusing a key makes
  // the write fail with the record row already written.
  ASSERT_EQ(sqlite3_exec(db->sql(),
                         "CREATE TEMP TRIGGER refuse_poison BEFORE INSERT ON main.flm_key "
                         "WHEN NEW.exact = 'poison' BEGIN SELECT RAISE(ABORT, 'refused'); END;",
                         nullptr, nullptr, nullptr),
            SQLITE_OK);

  drn = 0;
  EXPECT_NE(addNamed(db, &drn, u"poison"), FERR_OK);
  EXPECT_EQ(storedName(db, 2), u"<NOT_FOUND>");
  EXPECT_NE(modifyNamed(db, 1, u"poison"), FERR_OK);
  EXPECT_EQ(storedName(db, 1), u"before");
  EXPECT_EQ(exactKeys(db, kByName), Keys{"before"});

  // Inside a transaction only the refused write is undone.
  ASSERT_EQ(db->transBegin(), FERR_OK);
  drn = 0;
  ASSERT_EQ(addNamed(db, &drn, u"kept"), FERR_OK);
  EXPECT_EQ(drn, 2u);
  drn = 0;
  EXPECT_NE(addNamed(db, &drn, u"poison"), FERR_OK);
  EXPECT_TRUE(db->transActive());
  drn = 0;
  ASSERT_EQ(addNamed(db, &drn, u"also kept"), FERR_OK);
  EXPECT_EQ(drn, 3u);
  ASSERT_EQ(db->transCommit(), FERR_OK);

  ASSERT_EQ(t.reopen(), FERR_OK);
  EXPECT_EQ(storedName(t.db(), 1), u"before");
  EXPECT_EQ(storedName(t.db(), 2), u"kept");
  EXPECT_EQ(storedName(t.db(), 3), u"also kept");
  EXPECT_EQ(storedName(t.db(), 4), u"<NOT_FOUND>");
  EXPECT_EQ(exactKeys(t.db(), kByName), (Keys{"also kept", "before", "kept"}));
}

TEST(FlmRecordStore, NumbersInsideATransactionFollowTheHighest) {
  TestDb t;
  Database* db = t.db();
  uint32_t drn = 0;
  ASSERT_EQ(addNamed(db, &drn, u"outside"), FERR_OK);
  ASSERT_EQ(db->transBegin(), FERR_OK);
  for (uint32_t expected = 2; expected <= 4; ++expected) {
    drn = 0;
    ASSERT_EQ(addNamed(db, &drn, u"inside"), FERR_OK);
    EXPECT_EQ(drn, expected);
  }
  drn = 20;
  ASSERT_EQ(addNamed(db, &drn, u"explicit"), FERR_OK);
  drn = 0;
  ASSERT_EQ(addNamed(db, &drn, u"after explicit"), FERR_OK);
  EXPECT_EQ(drn, 21u);
  ASSERT_EQ(db->remove(0, kData0, 21), FERR_OK);
  drn = 0;
  ASSERT_EQ(addNamed(db, &drn, u"after remove"), FERR_OK);
  EXPECT_EQ(drn, 21u) << "one past the highest that is there";
  drn = 0;
  ASSERT_EQ(addNamed(db, &drn, u"other container", kPeople), FERR_OK);
  EXPECT_EQ(drn, 1u);
  drn = 21;
  EXPECT_EQ(addNamed(db, &drn, u"taken"), FERR_EXISTS);
  EXPECT_TRUE(db->transActive()) << "a refused add does not end the transaction";
  drn = 0;
  ASSERT_EQ(addNamed(db, &drn, u"after refusal"), FERR_OK);
  EXPECT_EQ(drn, 22u);
  ASSERT_EQ(db->transAbort(), FERR_OK);

  // After the abort the numbers come from what is stored again.
  drn = 0;
  ASSERT_EQ(addNamed(db, &drn, u"second"), FERR_OK);
  EXPECT_EQ(drn, 2u);
}

TEST(FlmRecordStore, DamagedStoredRecordsAreDataErrors) {
  TestDb t;
  Database* db = t.db();
  Tree r;
  Node* root = r.root(kRecord);
  r.text(root, kName, u"Stra\u00dfe \U0001F600");
  Node* counts = r.number(root, kCount, -123456789);
  ASSERT_EQ(putRecPtr(r.pool(), r.child(counts, kLink), 77), FERR_OK);
  ASSERT_EQ(putReal(r.pool(), r.child(root, kRatio), 0.25), FERR_OK);
  ASSERT_EQ(putDate(r.pool(), r.child(root, kDay), FlmDate{2001, 9, 9}), FERR_OK);
  uint32_t drn = 0;
  ASSERT_EQ(db->add(0, kData0, &drn, root), FERR_OK);
  const int64_t id = Database::recordId(0, kData0, drn);

  sqlite3_stmt* read = nullptr;
  ASSERT_EQ(sqlite3_prepare_v2(db->sql(), "SELECT data FROM flm_record WHERE id = ?1", -1, &read,
                               nullptr),
            SQLITE_OK);
  sqlite3_bind_int64(read, 1, id);
  ASSERT_EQ(sqlite3_step(read), SQLITE_ROW);
  const std::string good = columnBytes(read, 0);
  sqlite3_finalize(read);
  ASSERT_GT(good.size(), 20u);

  auto store = [&](const std::string& blob) {
    sqlite3_stmt* write = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(db->sql(), "UPDATE flm_record SET data = ?2 WHERE id = ?1", -1,
                                 &write, nullptr),
              SQLITE_OK);
    sqlite3_bind_int64(write, 1, id);
    sqlite3_bind_blob(write, 2, blob.data(), static_cast<int>(blob.size()), SQLITE_TRANSIENT);
    EXPECT_EQ(sqlite3_step(write), SQLITE_DONE);
    sqlite3_finalize(write);
  };
  auto retrieved = [&] {
    Tree out;
    Node* back = nullptr;
    return db->retrieve(0, kData0, drn, out.pool(), &back);
  };

  // Every cut-short form is either a shorter valid record or a data error.
  size_t refused = 0;
  for (size_t length = 0; length < good.size(); ++length) {
    store(good.substr(0, length));
    RCODE rc = retrieved();
    EXPECT_TRUE(rc == FERR_OK || rc == FERR_DATA_ERROR) << length << ": " << errorName(rc);
    refused += rc == FERR_DATA_ERROR;
  }
  EXPECT_GT(refused, good.size() / 2);

  // And flipping any one byte never crashes the decoder.
  for (size_t at = 0; at < good.size(); ++at) {
    std::string bad = good;
    bad[at] = static_cast<char>(bad[at] ^ 0xFF);
    store(bad);
    RCODE rc = retrieved();
    EXPECT_TRUE(rc == FERR_OK || rc == FERR_DATA_ERROR) << at << ": " << errorName(rc);
  }
  store(std::string("\x01\x00\x01\x09\x01" "A", 6));  // a type that does not exist
  EXPECT_EQ(retrieved(), FERR_DATA_ERROR);
  store(std::string("\x01\x00\x01\x00\x02\xC3\x28", 7));  // text that is not UTF-8
  EXPECT_EQ(retrieved(), FERR_DATA_ERROR);
  store(std::string("\x01\x00\x01\x00\x00\x02\x02\x00\x00", 9));  // a skipped level
  EXPECT_EQ(retrieved(), FERR_DATA_ERROR);

  store(good);
  EXPECT_EQ(retrieved(), FERR_OK);
  EXPECT_EQ(storedName(db, drn), u"Stra\u00dfe \U0001F600");
}

TEST(FlmRecordStore, CacheLimitSetsSqliteCache) {
  ScratchDir dir;
  Session* session = nullptr;
  ASSERT_EQ(Session::create(2048, 0, &session), FERR_OK);
  Database* a = nullptr;
  Database* b = nullptr;
  ASSERT_EQ(session->createDatabase(dir.file("a.db").c_str(), testDictionary(), &a), FERR_OK);
  EXPECT_EQ(queryInt(a, "PRAGMA cache_size"), -2048);
  ASSERT_EQ(session->createDatabase(dir.file("b.db").c_str(), testDictionary(), &b), FERR_OK);
  // Two databases share the limit.
  EXPECT_EQ(queryInt(a, "PRAGMA cache_size"), -1024);
  EXPECT_EQ(queryInt(b, "PRAGMA cache_size"), -1024);

  ASSERT_EQ(session->setCacheLimit(300), FERR_OK);
  EXPECT_EQ(session->cacheLimit(), 300u);
  EXPECT_EQ(queryInt(a, "PRAGMA cache_size"), -150);
  EXPECT_EQ(queryInt(b, "PRAGMA cache_size"), -150);
  ASSERT_EQ(Session::config(session, FLM_CACHE_LIMIT, 512), FERR_OK);
  EXPECT_EQ(queryInt(a, "PRAGMA cache_size"), -256);

  ASSERT_EQ(Session::closeDatabase(&b), FERR_OK);
  EXPECT_EQ(queryInt(a, "PRAGMA cache_size"), -512) << "the one left gets it all";
  EXPECT_EQ(Session::config(nullptr, FLM_CACHE_LIMIT, 1), FERR_OK);
  Session::close(&session);
  EXPECT_EQ(session, nullptr);
}

TEST(FlmRecordStore, ReadingManyRecordsStaysWithinTheCacheLimit) {
  TestDb t(64 * 1024);
  addMany(t.db(), 3000);
  ASSERT_EQ(t.reopen(), FERR_OK);
  const int64_t pageSize = queryInt(t.db(), "PRAGMA page_size");
  ASSERT_GT(queryInt(t.db(), "PRAGMA page_count") * pageSize, 1024 * 1024);

  auto readAllAndMeasure = [&](Database* db) {
    for (uint32_t i = 1; i <= 3000; ++i) {
      Tree out;
      Node* root = nullptr;
      EXPECT_EQ(db->retrieve(0, kData0, i, out.pool(), &root), FERR_OK) << i;
    }
    int current = 0;
    int highest = 0;
    EXPECT_EQ(sqlite3_db_status(db->sql(), SQLITE_DBSTATUS_CACHE_USED, &current, &highest, 0),
              SQLITE_OK);
    return static_cast<int64_t>(current);
  };

  // With a generous limit reading everything keeps most of it: the measure
  // sees the cache, so the small limit below is what keeps it small.
  int64_t generous = readAllAndMeasure(t.db());
  EXPECT_GT(generous, 512 * 1024);

  constexpr int64_t kSmall = 100;
  ASSERT_EQ(t.session()->setCacheLimit(kSmall), FERR_OK);
  ASSERT_EQ(t.reopen(), FERR_OK);
  EXPECT_EQ(queryInt(t.db(), "PRAGMA cache_size"), -kSmall);
  int64_t small = readAllAndMeasure(t.db());
  EXPECT_GT(small, 0);
  EXPECT_LE(small, kSmall * 1024 + 2 * pageSize);

  // Shrinking takes effect on an open database too.
  ASSERT_EQ(t.session()->setCacheLimit(64 * 1024), FERR_OK);
  readAllAndMeasure(t.db());
  ASSERT_EQ(t.session()->setCacheLimit(kSmall), FERR_OK);
  EXPECT_LE(readAllAndMeasure(t.db()), kSmall * 1024 + 2 * pageSize);
}

// ---------------------------------------------------------------------------
// Opening and closing

TEST(FlmOpen, ReadOnlyRefusesWritesAndLeavesTheFileAlone) {
  TestDb t;
  uint32_t drn = 0;
  ASSERT_EQ(addNamed(t.db(), &drn, u"stays"), FERR_OK);
  t.close();
  const std::string before = testfiles::readFile(t.path());
  const std::vector<std::string> filesBefore = directoryListing(t.dir().path());
  ASSERT_FALSE(before.empty());

  ASSERT_EQ(t.reopen(FO_READ_ONLY), FERR_OK);
  Database* db = t.db();
  EXPECT_TRUE(db->readOnly());
  EXPECT_EQ(storedName(db, 1), u"stays");
  drn = 0;
  EXPECT_NE(addNamed(db, &drn, u"new"), FERR_OK);
  drn = 9;
  EXPECT_NE(addNamed(db, &drn, u"new"), FERR_OK);
  EXPECT_NE(modifyNamed(db, 1, u"changed"), FERR_OK);
  EXPECT_NE(db->remove(0, kData0, 1), FERR_OK);
  EXPECT_EQ(db->transBegin(), FERR_PERMISSION);
  EXPECT_FALSE(db->transActive());
  EXPECT_EQ(storedName(db, 1), u"stays");
  EXPECT_EQ(storedName(db, 9), u"<NOT_FOUND>");
  EXPECT_EQ(exactKeys(db, kByName), Keys{"stays"});
  t.close();

  EXPECT_EQ(testfiles::readFile(t.path()), before);
  EXPECT_EQ(directoryListing(t.dir().path()), filesBefore);
}

TEST(FlmOpen, AReadOnlyOpenerLetsOtherReadersIn) {
  TestDb t;
  uint32_t drn = 0;
  ASSERT_EQ(addNamed(t.db(), &drn, u"one"), FERR_OK);
  t.close();
  Session* other = nullptr;
  ASSERT_EQ(Session::create(1024, 0, &other), FERR_OK);
  Database* reader = nullptr;
  ASSERT_EQ(other->openDatabase(t.path().c_str(), nullptr, FO_READ_ONLY, &reader), FERR_OK);
  EXPECT_EQ(storedName(reader, 1), u"one");

  Database* second = nullptr;
  ASSERT_EQ(t.session()->openDatabase(t.path().c_str(), nullptr, FO_READ_ONLY, &second), FERR_OK);
  ASSERT_EQ(t.reopen(), FERR_OK);
  EXPECT_EQ(storedName(second, 1), u"one");
  EXPECT_EQ(storedName(t.db(), 1), u"one");
  EXPECT_EQ(storedName(reader, 1), u"one");
  Database* exclusive = nullptr;
  EXPECT_EQ(t.session()->openDatabase(t.path().c_str(), nullptr, FO_EXCLUSIVE, &exclusive),
            FERR_IO_FILE_LOCK_ERR);
  ASSERT_EQ(Session::closeDatabase(&second), FERR_OK);
  Session::close(&other);
}

TEST(FlmOpen, ExclusiveOpenKeepsOthersOut) {
  TestDb t;
  t.close();
  Session* other = nullptr;
  ASSERT_EQ(Session::create(1024, 0, &other), FERR_OK);
  Database* first = nullptr;
  Database* second = nullptr;

  ASSERT_EQ(t.session()->openDatabase(t.path().c_str(), nullptr, FO_EXCLUSIVE, &first), FERR_OK);
  EXPECT_TRUE(first->exclusive());
  EXPECT_EQ(other->openDatabase(t.path().c_str(), nullptr, 0, &second), FERR_IO_FILE_LOCK_ERR);
  EXPECT_EQ(second, nullptr);
  EXPECT_EQ(other->openDatabase(t.path().c_str(), nullptr, FO_READ_ONLY, &second),
            FERR_IO_FILE_LOCK_ERR);
  EXPECT_EQ(other->openDatabase(t.path().c_str(), nullptr, FO_EXCLUSIVE, &second),
            FERR_IO_FILE_LOCK_ERR);
  // The same session is kept out just the same.
  EXPECT_EQ(t.session()->openDatabase(t.path().c_str(), nullptr, 0, &second), FERR_IO_FILE_LOCK_ERR);
  EXPECT_EQ(other->openCount(), 0u);

  // The exclusive holder still works after the refusals.
  uint32_t drn = 0;
  ASSERT_EQ(addNamed(first, &drn, u"mine"), FERR_OK);
  EXPECT_EQ(storedName(first, drn), u"mine");
  ASSERT_EQ(Session::closeDatabase(&first), FERR_OK);

  // Now a shared opener keeps an exclusive one out...
  ASSERT_EQ(other->openDatabase(t.path().c_str(), nullptr, 0, &second), FERR_OK);
  EXPECT_EQ(storedName(second, 1), u"mine");
  EXPECT_EQ(t.session()->openDatabase(t.path().c_str(), nullptr, FO_EXCLUSIVE, &first),
            FERR_IO_FILE_LOCK_ERR);
  // ...but not another shared one.
  Database* third = nullptr;
  ASSERT_EQ(t.session()->openDatabase(t.path().c_str(), nullptr, 0, &third), FERR_OK);
  EXPECT_EQ(storedName(third, 1), u"mine");
  ASSERT_EQ(Session::closeDatabase(&third), FERR_OK);
  ASSERT_EQ(Session::closeDatabase(&second), FERR_OK);

  ASSERT_EQ(t.session()->openDatabase(t.path().c_str(), nullptr, FO_EXCLUSIVE, &first), FERR_OK);
  EXPECT_EQ(storedName(first, 1), u"mine");
  ASSERT_EQ(Session::closeDatabase(&first), FERR_OK);
  Session::close(&other);
}

TEST(FlmOpen, CreatingOverAnExistingFileIsRefused) {
  TestDb t;
  uint32_t drn = 0;
  ASSERT_EQ(addNamed(t.db(), &drn, u"precious"), FERR_OK);
  Database* again = nullptr;
  EXPECT_EQ(t.session()->createDatabase(t.path().c_str(), testDictionary(), &again), FERR_FILE_EXISTS);
  EXPECT_EQ(again, nullptr);
  EXPECT_EQ(storedName(t.db(), 1), u"precious");

  Dictionary bad = testDictionary();
  bad.indexes.push_back({9, "nowhere", kUnknownContainer, {{kName}}});
  const std::string badPath = t.dir().file("bad.db");
  EXPECT_EQ(t.session()->createDatabase(badPath.c_str(), bad, &again), FERR_BAD_CONTAINER);
  EXPECT_FALSE(std::filesystem::exists(badPath)) << "a refused create leaves no file";
}

TEST(FlmOpen, MissingFileIsPathNotFound) {
  ScratchDir dir;
  Session* session = nullptr;
  ASSERT_EQ(Session::create(1024, 0, &session), FERR_OK);
  Database* db = nullptr;
  EXPECT_EQ(session->openDatabase(dir.file("absent.db").c_str(), nullptr, 0, &db),
            FERR_IO_PATH_NOT_FOUND);
  EXPECT_EQ(session->openDatabase(dir.file("no/such/dir.db").c_str(), nullptr, 0, &db),
            FERR_IO_PATH_NOT_FOUND);
  EXPECT_EQ(db, nullptr);
  EXPECT_EQ(session->openCount(), 0u);
  Session::close(&session);
}

TEST(FlmOpen, DamagedAndForeignFilesAreRefused) {
  TestDb t;
  addMany(t.db(), 200);
  const auto pageSize = static_cast<size_t>(queryInt(t.db(), "PRAGMA page_size"));
  t.close();
  const std::string good = testfiles::readFile(t.path());
  ASSERT_EQ(good.size() % pageSize, 0u);
  ASSERT_GT(good.size(), 20 * pageSize);

  const std::string foreignSqlite = t.dir().file("foreign.db");
  {
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open(foreignSqlite.c_str(), &raw), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(raw, "CREATE TABLE notes(x); INSERT INTO notes VALUES('hello');",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(raw);
  }
  const std::string lookalike = t.dir().file("lookalike.db");
  {
    // Has a table of the right name but not our format.
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open(lookalike.c_str(), &raw), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(raw,
                           "CREATE TABLE flm_meta(name TEXT PRIMARY KEY, value TEXT);"
                           "INSERT INTO flm_meta VALUES('format', 'something else 9');",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(raw);
  }

  struct Case {
    const char* what;
    std::string bytes;
    RCODE expected;
  } cases[] = {
      {"cut to half", good.substr(0, good.size() / 2), FERR_DATA_ERROR},
      {"cut by three pages", good.substr(0, good.size() - 3 * pageSize), FERR_DATA_ERROR},
      {"cut mid-page", good.substr(0, good.size() - 100), FERR_DATA_ERROR},
      {"cut to the header", good.substr(0, 100), FERR_DATA_ERROR},
      {"zeroed", std::string(good.size(), '\0'), FERR_NOT_FLAIM},
      {"empty", std::string(), FERR_NOT_FLAIM},
      {"text", "This is a text file, not a database.\n", FERR_NOT_FLAIM},
      {"sqlite without our tables", testfiles::readFile(foreignSqlite), FERR_NOT_FLAIM},
      {"sqlite with another format", testfiles::readFile(lookalike), FERR_NOT_FLAIM},
  };
  for (const Case& c : cases) {
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

TEST(FlmOpen, DamagedContentIsADataErrorNotACrash) {
  TestDb t;
  addMany(t.db(), 200);
  const auto pageSize = static_cast<size_t>(queryInt(t.db(), "PRAGMA page_size"));
  t.close();
  std::string bytes = testfiles::readFile(t.path());
  // Keep the first page (the file header and SQLite's schema) and scribble
  // over every other page, our dictionary's among them.
  for (size_t i = pageSize; i < bytes.size(); ++i) bytes[i] = static_cast<char>((i * 131) ^ 0x5A);
  testfiles::writeFile(t.path(), bytes);

  EXPECT_EQ(t.reopen(), FERR_DATA_ERROR);
  EXPECT_EQ(t.db(), nullptr);
  EXPECT_EQ(t.session()->openCount(), 0u);
}

TEST(FlmOpen, StaleHandlesAreRefused) {
  ScratchDir dir;
  Session* session = nullptr;
  ASSERT_EQ(Session::create(1024, 0, &session), FERR_OK);
  Database* db = nullptr;
  ASSERT_EQ(session->createDatabase(dir.file("a.db").c_str(), testDictionary(), &db), FERR_OK);
  Database* copy = db;
  EXPECT_EQ(Database::fromHandle(copy), db);
  ASSERT_EQ(Session::closeDatabase(&db), FERR_OK);
  EXPECT_EQ(db, nullptr);
  EXPECT_EQ(Database::fromHandle(copy), nullptr);
  EXPECT_EQ(Session::closeDatabase(&copy), FERR_BAD_HDL);
  EXPECT_EQ(Session::closeDatabase(&db), FERR_OK) << "a null handle is left alone";

  // Closing the session closes what it still has open.
  Database* a = nullptr;
  Database* b = nullptr;
  ASSERT_EQ(session->openDatabase(dir.file("a.db").c_str(), nullptr, 0, &a), FERR_OK);
  ASSERT_EQ(session->createDatabase(dir.file("b.db").c_str(), testDictionary(), &b), FERR_OK);
  EXPECT_EQ(session->openCount(), 2u);
  uint32_t drn = 0;
  ASSERT_EQ(addNamed(b, &drn, u"written"), FERR_OK);
  Session::close(&session);
  EXPECT_EQ(session, nullptr);
  Session::close(&session);
  EXPECT_EQ(Database::fromHandle(a), nullptr);
  EXPECT_EQ(Database::fromHandle(b), nullptr);
  EXPECT_EQ(Session::closeDatabase(&a), FERR_BAD_HDL);
  EXPECT_EQ(Session::closeDatabase(&b), FERR_BAD_HDL);

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
  TestDb t;
  Database* db = t.db();
  for (const char16_t* name : {u"cherry", u"Banana", u"apple", u"Stra\u00dfe"}) {
    uint32_t drn = 0;
    ASSERT_EQ(addNamed(db, &drn, name), FERR_OK);
  }
  std::vector<KeyRow> rows = keyRows(db, kByName, 4);
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].component, 1);
  EXPECT_EQ(rows[0].type, SQLITE_TEXT);
  EXPECT_EQ(rows[0].exact, "Stra\xc3\x9f" "e");
  EXPECT_EQ(rows[0].folded, "strasse");
  EXPECT_FALSE(rows[0].sortKey.empty());
  EXPECT_EQ(rows[0].drn, 4);

  std::vector<std::string> byExact;
  for (const KeyRow& row : keyRows(db, kByName, -1, "exact")) byExact.push_back(row.exact);
  std::vector<std::string> bySortKey;
  for (const KeyRow& row : keyRows(db, kByName, -1, "sortkey")) bySortKey.push_back(row.exact);
  EXPECT_EQ(byExact, (Keys{"Banana", "Stra\xc3\x9f" "e", "apple", "cherry"}));
  EXPECT_EQ(bySortKey, (Keys{"apple", "Banana", "cherry", "Stra\xc3\x9f" "e"}));
  for (const KeyRow& row : keyRows(db, kByName))
    EXPECT_EQ(row.sortKey.find('\0'), std::string::npos) << row.exact << ": no terminator kept";

  // Case and width of letters do not change the folded form.
  uint32_t drn = 0;
  ASSERT_EQ(addNamed(db, &drn, u"STRASSE"), FERR_OK);
  rows = keyRows(db, kByName, drn);
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].folded, "strasse");
  EXPECT_EQ(queryInt(db, "SELECT count(*) FROM flm_key WHERE ix = 1 AND folded = 'strasse'"), 2);
}

TEST(FlmKeys, LongTextGetsACompleteSortKey) {
  TestDb t;
  // Long enough that the sort key does not fit a small buffer; the two differ
  // only at the very end.
  std::u16string base(600, u'q');
  uint32_t a = 0, b = 0;
  ASSERT_EQ(addNamed(t.db(), &a, base + u"b"), FERR_OK);
  ASSERT_EQ(addNamed(t.db(), &b, base + u"a"), FERR_OK);
  std::vector<KeyRow> rows = keyRows(t.db(), kByName, -1, "sortkey");
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0].drn, b);
  EXPECT_EQ(rows[1].drn, a);
  EXPECT_GT(rows[0].sortKey.size(), 256u);
  EXPECT_EQ(rows[0].sortKey.find('\0'), std::string::npos) << "no terminator inside the key";
}

TEST(FlmKeys, NumbersAndRecordPointersStoreTheInteger) {
  TestDb t;
  Tree r;
  Node* root = r.root(kRecord);
  r.number(root, kCount, -42);
  ASSERT_EQ(putRecPtr(r.pool(), r.child(root, kLink), 4000000000u), FERR_OK);
  uint32_t drn = 0;
  ASSERT_EQ(t.db()->add(0, kData0, &drn, root), FERR_OK);

  std::vector<KeyRow> rows = keyRows(t.db(), kByNumber, drn);
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0].component, 1);
  EXPECT_EQ(rows[0].type, SQLITE_INTEGER);
  EXPECT_EQ(rows[0].integer, -42);
  EXPECT_TRUE(rows[0].foldedNull);
  EXPECT_EQ(rows[1].component, 2);
  EXPECT_EQ(rows[1].type, SQLITE_INTEGER);
  EXPECT_EQ(rows[1].integer, 4000000000);
  EXPECT_TRUE(exactKeys(t.db(), kByName, drn).empty()) << "no name, no name key";
}

TEST(FlmKeys, PathComponentsMatchOnlyUnderTheirRoot) {
  TestDb t;
  auto addPerson = [&](uint16_t rootTag, bool nested, std::u16string_view nick) {
    Tree r;
    Node* root = r.root(rootTag);
    // Other texts under the root and on the way down are not the path's field.
    r.text(root, kName, u"not a nick");
    Node* parent = nested ? r.text(root, kOther, u"not a nick either") : root;
    r.text(parent, kNick, nick);
    uint32_t drn = 0;
    EXPECT_EQ(t.db()->add(0, kData0, &drn, root), FERR_OK);
    return drn;
  };
  uint32_t under60 = addPerson(kPerson, false, u"robin");
  uint32_t under61 = addPerson(kOther, false, u"wren");
  uint32_t nested = addPerson(kPerson, true, u"finch");

  EXPECT_EQ(exactKeys(t.db(), kByNick, under60), Keys{"robin"});
  EXPECT_TRUE(exactKeys(t.db(), kByNick, under61).empty());
  EXPECT_TRUE(exactKeys(t.db(), kByNick, nested).empty()) << "120 must be a child of the root";
  EXPECT_EQ(exactKeys(t.db(), kByNick), Keys{"robin"});
}

TEST(FlmKeys, ModifyReplacesAndDeleteRemovesTheKeys) {
  TestDb t;
  Database* db = t.db();
  uint32_t one = 0, two = 0;
  ASSERT_EQ(addNamed(db, &one, u"old"), FERR_OK);
  ASSERT_EQ(addNamed(db, &two, u"other"), FERR_OK);

  Tree r;
  Node* root = r.root(kRecord);
  r.text(root, kName, u"new");
  r.text(root, kName, u"newer");
  r.number(root, kCount, 5);
  ASSERT_EQ(db->modify(0, kData0, one, root), FERR_OK);
  EXPECT_EQ(exactKeys(db, kByName, one), (Keys{"new", "newer"}));
  EXPECT_EQ(keyRows(db, kByNumber, one).size(), 1u);
  EXPECT_EQ(exactKeys(db, kByName, two), Keys{"other"});

  ASSERT_EQ(modifyNamed(db, one, u"last"), FERR_OK);
  EXPECT_EQ(exactKeys(db, kByName, one), Keys{"last"});
  EXPECT_TRUE(keyRows(db, kByNumber, one).empty());

  ASSERT_EQ(db->remove(0, kData0, one), FERR_OK);
  EXPECT_TRUE(exactKeys(db, kByName, one).empty());
  EXPECT_EQ(exactKeys(db, kByName), Keys{"other"});
  EXPECT_EQ(queryInt(db, "SELECT count(*) FROM flm_key"), 1);

  // Survives reopening, as the key table is part of the file.
  ASSERT_EQ(t.reopen(), FERR_OK);
  EXPECT_EQ(exactKeys(t.db(), kByName), Keys{"other"});
}

TEST(FlmKeys, TheSameValueTwiceGivesOneKey) {
  TestDb t;
  Database* db = t.db();
  Tree r;
  Node* root = r.root(kRecord);
  r.text(root, kName, u"twin");
  Node* deeper = r.child(root, kOther);
  r.text(deeper, kName, u"twin");
  r.text(deeper, kName, u"single");
  r.number(root, kCount, 7);
  r.number(deeper, kCount, 7);
  uint32_t drn = 0;
  ASSERT_EQ(db->add(0, kData0, &drn, root), FERR_OK);
  EXPECT_EQ(exactKeys(db, kByName, drn), (Keys{"single", "twin"}));
  EXPECT_EQ(keyRows(db, kByNumber, drn).size(), 1u);

  // Deleting takes the one key away, although two fields named it.
  ASSERT_EQ(db->remove(0, kData0, drn), FERR_OK);
  EXPECT_EQ(queryInt(db, "SELECT count(*) FROM flm_key"), 0);
}

TEST(FlmKeys, IndexesBelongToTheirContainer) {
  TestDb t;
  Database* db = t.db();
  uint32_t data = 0, person = 0;
  ASSERT_EQ(addNamed(db, &data, u"in data"), FERR_OK);
  ASSERT_EQ(addNamed(db, &person, u"in people", kPeople), FERR_OK);
  EXPECT_EQ(exactKeys(db, kByName), Keys{"in data"});
  EXPECT_EQ(exactKeys(db, kPeopleByName), Keys{"in people"});

  ASSERT_EQ(db->remove(0, kPeople, person), FERR_OK);
  EXPECT_TRUE(exactKeys(db, kPeopleByName).empty());
  EXPECT_EQ(exactKeys(db, kByName), Keys{"in data"}) << "same number, other container";

  // Another store with the same record number has keys of its own.
  uint32_t elsewhere = data;
  ASSERT_EQ(addNamed(db, &elsewhere, u"in store 2", kData0, 2), FERR_OK);
  EXPECT_EQ(queryInt(db, "SELECT count(*) FROM flm_key WHERE ix = 1 AND store = 2 AND drn = " +
                             std::to_string(data)),
            1);
  ASSERT_EQ(db->remove(0, kData0, data), FERR_OK);
  EXPECT_TRUE(exactKeys(db, kByName).empty());
  EXPECT_EQ(queryText(db, "SELECT exact FROM flm_key WHERE ix = 1 AND store = 2"), "in store 2");
}

#include "flm/Database.h"

#include <unistd.h>

#include <algorithm>

#include <vector>

#include "flm/IndexKeys.h"
#include "flm/PageChecksum.h"
#include "flm/RecordCodec.h"
#include "flm/Schema.h"

namespace flm {
namespace {

constexpr uint32_t kNullDrn = 0xFFFFFFFF;

// Every database that is open in this process, so that a handle kept after
// its database was closed is refused rather than followed. Never destroyed:
// sessions may still close databases from handlers that run at exit. A
// process keeps few open at once, and every call through a handle asks, so a
// short list scanned in place beats hashing.
std::vector<Database*>& liveDatabases() {
  static auto* live = new std::vector<Database*>;
  return *live;
}

RCODE stepDone(sqlite3_stmt* stmt) {
  int rc = sqlite3_step(stmt);
  return rc == SQLITE_DONE ? FERR_OK : fromSqlite(rc);
}

void bindKeyValue(sqlite3_stmt* stmt, int column, const KeyValue& v) {
  switch (v.kind) {
    case KeyValue::Integer:
      sqlite3_bind_int64(stmt, column, v.integer);
      break;
    case KeyValue::Real:
      sqlite3_bind_double(stmt, column, v.real);
      break;
    case KeyValue::Text:
      sqlite3_bind_text(stmt, column, v.exact.data(), static_cast<int>(v.exact.size()),
                        SQLITE_STATIC);
      break;
    case KeyValue::Bytes:
      sqlite3_bind_blob(stmt, column, v.exact.data(), static_cast<int>(v.exact.size()),
                        SQLITE_STATIC);
      break;
  }
}

void bindTextOrNull(sqlite3_stmt* stmt, int column, const KeyValue& v, const std::string& s,
                    bool blob) {
  if (v.kind != KeyValue::Text)
    sqlite3_bind_null(stmt, column);
  else if (blob)
    sqlite3_bind_blob(stmt, column, s.data(), static_cast<int>(s.size()), SQLITE_STATIC);
  else
    sqlite3_bind_text(stmt, column, s.data(), static_cast<int>(s.size()), SQLITE_STATIC);
}

}  // namespace

Database::Database(Session& session, std::string path, uint32_t flags)
    : session_(session), path_(std::move(path)), flags_(flags) {
  liveDatabases().push_back(this);
}

Database::~Database() {
  std::erase(liveDatabases(), this);
  statements_.clear();
  if (db_ && transActive_) execute(db_, "ROLLBACK");
  sqlite3_close_v2(db_);
}

Database* Database::fromHandle(void* handle) {
  auto* db = static_cast<Database*>(handle);
  const std::vector<Database*>& live = liveDatabases();
  return std::find(live.begin(), live.end(), db) != live.end() ? db : nullptr;
}

RCODE Database::connect(int sqliteFlags) {
  int rc = sqlite3_open_v2(path_.c_str(), &db_, sqliteFlags | SQLITE_OPEN_NOMUTEX, checksumVfs());
  if (rc != SQLITE_OK) return fromSqlite(rc);
  sqlite3_extended_result_codes(db_, 1);
  sqlite3_busy_timeout(db_, 2000);
  statements_.attach(db_);
  return FERR_OK;
}

// Every write is a savepoint, and SQLite keeps the pages a savepoint changes
// in a statement journal. Within a transaction of millions of writes that
// spills to disk, the journal's file writes outweigh everything else; for
// smaller transactions the file in the system's cache is the cheaper home.
RCODE Database::journalInMemory() { return execute(db_, "PRAGMA temp_store = MEMORY"); }

RCODE Database::create(Session& session, const char* path, const Dictionary& dictionary,
                       std::unique_ptr<Database>* out) {
  if (!path || !*path) return FERR_IO_INVALID_PATH;
  if (access(path, F_OK) == 0) return FERR_FILE_EXISTS;
  std::unique_ptr<Database> d(new Database(session, path, 0));
  if (!d->collation_.ok()) return FERR_FAILURE;
  RCODE rc = d->connect(SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  if (!rc) rc = d->reservePageChecksums();
  if (!rc) rc = execute(d->db_, "BEGIN IMMEDIATE");
  if (!rc) rc = createSchema(d->db_, dictionary);
  if (!rc) rc = execute(d->db_, "COMMIT");
  if (!rc && !pagesChecked(d->db_)) rc = FERR_FAILURE;
  if (!rc) rc = d->guard_.acquire(path, false);
  if (rc) {
    d.reset();
    unlink(path);
    return rc;
  }
  d->dictionary_ = dictionary;
  *out = std::move(d);
  return FERR_OK;
}

RCODE Database::open(Session& session, const char* path, uint32_t flags,
                     std::unique_ptr<Database>* out) {
  std::unique_ptr<Database> d(new Database(session, path ? path : "", flags));
  RCODE rc = d->guard_.acquire(path, flags & FO_EXCLUSIVE);
  // A writer killed in the middle of a commit can leave a header that counts
  // pages it had not yet written, with the journal that undoes it beside.
  if (rc == FERR_DATA_ERROR && !rollBackAbandonedJournal(d->path_))
    rc = d->guard_.acquire(path, flags & FO_EXCLUSIVE);
  if (!rc && !d->collation_.ok()) rc = FERR_FAILURE;
  if (!rc) rc = d->connectForOpen();
  // A writer killed between the journal check and the reader's first read
  // leaves a journal that only a second check can roll back.
  for (int retry = 0; retry < 2 && rc == FERR_PERMISSION && (flags & FO_READ_ONLY); ++retry) {
    d->disconnect();
    rc = d->connectForOpen();
  }
  if (rc) return rc;
  *out = std::move(d);
  return FERR_OK;
}

RCODE Database::connectForOpen() {
  const bool readOnly = flags_ & FO_READ_ONLY;
  RCODE rc = readOnly ? rollBackAbandonedJournal(path_) : FERR_OK;
  if (!rc) rc = connect(readOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE);
  // Alone with the file, or only reading it, there is no need to give SQLite's
  // lock back after each read: a reader keeps its shared lock (other readers
  // are welcome, writers wait), and the page cache stays valid between reads.
  if (!rc && (flags_ & (FO_EXCLUSIVE | FO_READ_ONLY)))
    rc = execute(db_, "PRAGMA locking_mode = EXCLUSIVE");
  // A reader maps the file instead of copying each page it reads: pages then
  // come from the system's file cache however small the engine's own is.
  if (!rc && readOnly) rc = execute(db_, "PRAGMA mmap_size = 2147418112");
  // Holding its shared lock anyway, a reader may as well hold one read
  // transaction for its whole life: a statement then neither opens nor
  // closes one of its own, and the dictionary is read in the same one.
  if (!rc && readOnly) rc = execute(db_, "BEGIN; SELECT 1 FROM sqlite_master LIMIT 1");
  if (!rc) rc = loadSchema(db_, pagesChecked(db_), &dictionary_);
  return rc;
}

void Database::disconnect() {
  statements_.clear();
  sqlite3_close_v2(db_);
  db_ = nullptr;
  dictionary_ = Dictionary();
}

// A writer killed inside a transaction leaves its journal behind, "hot":
// SQLite refuses every read-only connection until one that may write has
// rolled it back. A reader therefore has that done first, through a short
// read-write connection of its own, and then sees the last commit. A live
// writer's journal is not hot, and SQLite leaves it alone. Without write
// access to the file and its folder the journal stays, and so does the
// refusal.
RCODE Database::rollBackAbandonedJournal(const std::string& path) {
  if (access((path + "-journal").c_str(), F_OK) != 0) return FERR_OK;
  sqlite3* db = nullptr;
  int rc = sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX,
                           checksumVfs());
  if (rc == SQLITE_OK) {
    sqlite3_extended_result_codes(db, 1);
    sqlite3_busy_timeout(db, 2000);
    rc = sqlite3_exec(db, "SELECT 1 FROM sqlite_master LIMIT 1", nullptr, nullptr, nullptr);
  }
  sqlite3_close_v2(db);
  return fromSqlite(rc);
}

// New files keep room at the end of each page for its checksum; SQLite
// takes the number before the first page is written.
RCODE Database::reservePageChecksums() {
  int bytes = kPageChecksumBytes;
  return fromSqlite(sqlite3_file_control(db_, "main", SQLITE_FCNTL_RESERVE_BYTES, &bytes));
}

// A database no one else can write to may keep records it has read: its own
// writes are the only ones that can make them stale.
bool Database::cachesRecords() const { return flags_ & (FO_READ_ONLY | FO_EXCLUSIVE); }

void Database::setCacheLimit(uint32_t kilobytes) {
  // A reader maps the file, so its pages need little cache of their own.
  uint32_t pages = readOnly() ? kilobytes / 8 : cachesRecords() ? kilobytes / 2 : kilobytes;
  std::string pragma = "PRAGMA cache_size = -" + std::to_string(pages ? pages : 1);
  execute(db_, pragma.c_str());
  // Records take three quarters of what is left: an answer is a few
  // numbers, a record is a few hundred bytes.
  size_t rest = cachesRecords() ? size_t{kilobytes - pages} * 1024 : 0;
  records_.setLimit(rest - rest / 4);
  answers_.setLimit(rest / 4);
}

RCODE Database::checkTarget(uint32_t store, uint16_t container) const {
  if (store > kMaxStore) return FERR_INVALID_PARM;
  return dictionary_.hasContainer(container) ? FERR_OK : FERR_BAD_CONTAINER;
}

RCODE Database::checkRecord(uint32_t store, uint16_t container, uint32_t drn) const {
  RCODE rc = checkTarget(store, container);
  if (!rc && (drn == 0 || drn == kNullDrn)) rc = FERR_BAD_DRN;
  return rc;
}

RCODE Database::retrieve(uint32_t store, uint16_t container, uint32_t drn, PoolMemoryManager* pool,
                         Node** root, const ValueTags* valuesOf) {
  *root = nullptr;
  RCODE rc = checkRecord(store, container, drn);
  if (rc) return rc;
  int64_t id = recordId(store, container, drn);
  std::string_view hit;
  if (records_.find(id, &hit))
    return decodeRecord(hit.data(), hit.size(), pool, this, store, container, drn, root, valuesOf);
  std::string blob;
  bool found = false;
  rc = readBlob(id, &blob, &found);
  if (!rc && !found) rc = FERR_NOT_FOUND;
  if (!rc)
    rc = decodeRecord(blob.data(), blob.size(), pool, this, store, container, drn, root, valuesOf);
  if (!rc && cachesRecords()) records_.put(id, blob);
  return rc;
}

RCODE Database::exists(uint32_t store, uint16_t container, uint32_t drn, bool* found) {
  *found = false;
  RCODE rc = checkRecord(store, container, drn);
  if (rc) return rc == FERR_BAD_DRN ? FERR_OK : rc;
  int64_t id = recordId(store, container, drn);
  std::string_view kept;
  if (records_.find(id, &kept)) {
    *found = true;
    return FERR_OK;
  }
  // Where records are kept, a record asked about is usually read next: fetch
  // it now and the read costs nothing.
  if (cachesRecords()) {
    std::string blob;
    rc = readBlob(id, &blob, found);
    if (!rc && *found) records_.put(id, blob);
    return rc;
  }
  sqlite3_stmt* stmt;
  rc = statements_.get("SELECT 1 FROM flm_record INDEXED BY flm_record_ids WHERE id = ?1", &stmt);
  if (rc) return rc;
  StatementUse use(stmt);
  sqlite3_bind_int64(stmt, 1, id);
  int src = sqlite3_step(stmt);
  *found = src == SQLITE_ROW;
  return src == SQLITE_ROW || src == SQLITE_DONE ? FERR_OK : fromSqlite(src);
}

bool Database::kept(uint32_t store, uint16_t container, uint32_t drn) {
  std::string_view blob;
  return records_.find(recordId(store, container, drn), &blob);
}

void Database::prefetch(uint32_t store, uint16_t container, const std::vector<uint32_t>& drns) {
  // A few ahead is all a reader gets to before the hints are stale.
  size_t ahead = std::min<size_t>(drns.size(), 8);
  for (size_t i = 0; i < ahead; ++i) records_.prefetchSlot(recordId(store, container, drns[i]));
}

void Database::prefetchNext(uint32_t store, uint16_t container, uint32_t drn) {
  records_.prefetchBytes(recordId(store, container, drn));
}

RCODE Database::storedRecord(uint32_t store, uint16_t container, uint32_t drn, std::string* blob) {
  RCODE rc = checkRecord(store, container, drn);
  if (rc) return rc;
  bool found = false;
  rc = readBlob(recordId(store, container, drn), blob, &found);
  return rc ? rc : found ? FERR_OK : FERR_NOT_FOUND;
}

RCODE Database::readBlob(int64_t id, std::string* blob, bool* found) {
  sqlite3_stmt* stmt;
  RCODE rc = statements_.get("SELECT data FROM flm_record WHERE id = ?1", &stmt);
  if (rc) return rc;
  StatementUse use(stmt);
  sqlite3_bind_int64(stmt, 1, id);
  int src = sqlite3_step(stmt);
  *found = src == SQLITE_ROW;
  if (!*found) return src == SQLITE_DONE ? FERR_OK : fromSqlite(src);
  auto* data = static_cast<const char*>(sqlite3_column_blob(stmt, 0));
  blob->assign(data ? data : "", static_cast<size_t>(sqlite3_column_bytes(stmt, 0)));
  return FERR_OK;
}

template <class Op>
RCODE Database::atomically(Op op) {
  answers_.clear();
  RCODE rc = statements_.run("SAVEPOINT flm_write");
  if (rc) return rc;
  rc = op();
  if (!rc) rc = statements_.run("RELEASE flm_write");
  if (rc && !sqlite3_get_autocommit(db_)) {
    statements_.run("ROLLBACK TO flm_write");
    statements_.run("RELEASE flm_write");
  }
  if (rc) {
    nextDrns_.clear();
    records_.clear();
  }
  // Some failures (a full disk among them) make SQLite give up the whole
  // transaction; the caller's explicit one is then over too.
  if (transActive_ && sqlite3_get_autocommit(db_)) transActive_ = false;
  return rc;
}

RCODE Database::writeRecord(const char* sql, int64_t id, const std::string* blob) {
  sqlite3_stmt* stmt;
  RCODE rc = statements_.get(sql, &stmt);
  if (rc) return rc;
  StatementUse use(stmt);
  sqlite3_bind_int64(stmt, 1, id);
  if (blob)
    sqlite3_bind_blob(stmt, 2, blob->data(), static_cast<int>(blob->size()), SQLITE_STATIC);
  return stepDone(stmt);
}

RCODE Database::nextDrn(uint32_t store, uint16_t container, uint32_t* drn) {
  int64_t first = recordId(store, container, 0);
  auto known = nextDrns_.find(first);
  if (known != nextDrns_.end()) {
    if (known->second >= kNullDrn) return FERR_NO_MORE_DRNS;
    *drn = known->second;
    return FERR_OK;
  }
  sqlite3_stmt* stmt;
  RCODE rc = statements_.get("SELECT max(id) FROM flm_record WHERE id BETWEEN ?1 AND ?2", &stmt);
  if (rc) return rc;
  StatementUse use(stmt);
  sqlite3_bind_int64(stmt, 1, first);
  sqlite3_bind_int64(stmt, 2, recordId(store, container, kNullDrn));
  int src = sqlite3_step(stmt);
  if (src != SQLITE_ROW) return fromSqlite(src);
  int64_t highest = sqlite3_column_type(stmt, 0) == SQLITE_NULL ? 0 : sqlite3_column_int64(stmt, 0) - first;
  if (highest + 1 >= kNullDrn) return FERR_NO_MORE_DRNS;
  *drn = static_cast<uint32_t>(highest + 1);
  return FERR_OK;
}

// Only a number that came from the table seeds the cache: an explicit one
// says nothing about the highest number in use.
void Database::rememberNextDrn(int64_t container, uint32_t used, bool assigned) {
  auto known = nextDrns_.find(container);
  if (known != nextDrns_.end())
    known->second = std::max(known->second, used + 1);
  else if (assigned)
    nextDrns_.emplace(container, used + 1);
}

RCODE Database::writeKeys(uint32_t store, uint16_t container, uint32_t drn, const Node* root,
                          bool insert) {
  std::vector<IndexKey> keys;
  RCODE rc = collectKeys(dictionary_, container, root, collation_, &keys);
  if (rc || keys.empty()) return rc;
  sqlite3_stmt* stmt;
  rc = statements_.get(insert ? "INSERT OR IGNORE INTO flm_key VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7)"
                              : "DELETE FROM flm_key WHERE ix = ?1 AND store = ?2 AND "
                                "component = ?3 AND exact = ?4 AND drn = ?7",
                       &stmt);
  for (size_t i = 0; i < keys.size() && !rc; ++i) {
    const IndexKey& k = keys[i];
    StatementUse use(stmt);
    sqlite3_bind_int(stmt, 1, k.index);
    sqlite3_bind_int64(stmt, 2, store);
    sqlite3_bind_int(stmt, 3, k.component);
    bindKeyValue(stmt, 4, k.value);
    if (insert) {
      bindTextOrNull(stmt, 5, k.value, k.value.folded, false);
      bindTextOrNull(stmt, 6, k.value, k.value.sortKey, true);
    }
    sqlite3_bind_int64(stmt, 7, drn);
    rc = stepDone(stmt);
  }
  return rc;
}

RCODE Database::writeKeysOfStored(uint32_t store, uint16_t container, uint32_t drn,
                                  const std::string& blob) {
  if (dictionary_.indexesOn(container).empty()) return FERR_OK;
  PoolMemoryManager pool;
  poolInit(&pool, 512);
  Node* old = nullptr;
  RCODE rc = decodeRecord(blob.data(), blob.size(), &pool, this, store, container, drn, &old);
  if (!rc) rc = writeKeys(store, container, drn, old, false);
  poolFree(&pool);
  return rc;
}

RCODE Database::add(uint32_t store, uint16_t container, uint32_t* drn, const Node* root) {
  RCODE rc = checkTarget(store, container);
  if (rc) return rc;
  if (!root) return FERR_NULL_RECORD;
  if (*drn == kNullDrn) return FERR_BAD_DRN;
  std::string blob;
  if ((rc = encodeRecord(root, &blob)) != FERR_OK) return rc;
  bool assigned = *drn == 0;
  return atomically([&] {
    uint32_t number = *drn;
    RCODE r = number ? FERR_OK : nextDrn(store, container, &number);
    if (!r)
      r = writeRecord("INSERT INTO flm_record(id, data) VALUES(?1, ?2)",
                      recordId(store, container, number), &blob);
    if (!r) r = writeKeys(store, container, number, root, true);
    if (!r) *drn = number;
    if (!r && transActive_) rememberNextDrn(recordId(store, container, 0), number, assigned);
    return r;
  });
}

RCODE Database::modify(uint32_t store, uint16_t container, uint32_t drn, const Node* root) {
  if (!root) return FERR_NULL_RECORD;
  std::string blob;
  RCODE rc = encodeRecord(root, &blob);
  if (rc) return rc;
  return atomically([&] {
    std::string old;
    RCODE r = storedRecord(store, container, drn, &old);
    if (!r) r = writeKeysOfStored(store, container, drn, old);
    records_.erase(recordId(store, container, drn));
    if (!r)
      r = writeRecord("UPDATE flm_record SET data = ?2 WHERE id = ?1",
                      recordId(store, container, drn), &blob);
    if (!r) r = writeKeys(store, container, drn, root, true);
    return r;
  });
}

RCODE Database::remove(uint32_t store, uint16_t container, uint32_t drn) {
  return atomically([&] {
    std::string old;
    RCODE r = storedRecord(store, container, drn, &old);
    if (!r) r = writeKeysOfStored(store, container, drn, old);
    records_.erase(recordId(store, container, drn));
    if (!r)
      r = writeRecord("DELETE FROM flm_record WHERE id = ?1", recordId(store, container, drn),
                      nullptr);
    // The next number is one past the highest stored, which may have just gone.
    if (!r) nextDrns_.erase(recordId(store, container, 0));
    return r;
  });
}

RCODE Database::recordCount(uint32_t store, uint16_t container, uint32_t* count) {
  *count = 0;
  RCODE rc = checkTarget(store, container);
  sqlite3_stmt* stmt;
  if (!rc) rc = statements_.get("SELECT count(*) FROM flm_record INDEXED BY flm_record_ids WHERE id BETWEEN ?1 AND ?2", &stmt);
  if (rc) return rc;
  StatementUse use(stmt);
  sqlite3_bind_int64(stmt, 1, recordId(store, container, 1));
  sqlite3_bind_int64(stmt, 2, recordId(store, container, kNullDrn - 1));
  int src = sqlite3_step(stmt);
  if (src != SQLITE_ROW) return fromSqlite(src);
  *count = static_cast<uint32_t>(sqlite3_column_int64(stmt, 0));
  return FERR_OK;
}

// One probe per container rather than a pass over every record: each step
// seeks the first record past the container before.
RCODE Database::containersInUse(std::vector<std::pair<uint32_t, uint16_t>>* out) {
  out->clear();
  sqlite3_stmt* stmt;
  RCODE rc = statements_.get(
      "SELECT min(id) FROM flm_record INDEXED BY flm_record_ids WHERE id >= ?1", &stmt);
  for (int64_t from = 0; !rc;) {
    StatementUse use(stmt);
    sqlite3_bind_int64(stmt, 1, from);
    int src = sqlite3_step(stmt);
    if (src != SQLITE_ROW) return fromSqlite(src);
    if (sqlite3_column_type(stmt, 0) == SQLITE_NULL) break;
    int64_t place = sqlite3_column_int64(stmt, 0) >> 32;  // store << 16 | container
    out->emplace_back(static_cast<uint32_t>(place >> 16), static_cast<uint16_t>(place & 0xFFFF));
    from = (place + 1) << 32;
  }
  return rc;
}

RCODE Database::transBegin() {
  if (transActive_) return FERR_TRANS_ACTIVE;
  // SQLite grants BEGIN IMMEDIATE on a read-only connection and only refuses
  // the first write; an update transaction must be refused up front.
  if (readOnly()) return FERR_PERMISSION;
  RCODE rc = statements_.run("BEGIN IMMEDIATE");
  transActive_ = rc == FERR_OK;
  return rc;
}

RCODE Database::transCommit() {
  if (!transActive_) return FERR_NO_TRANS_ACTIVE;
  RCODE rc = statements_.run("COMMIT");
  transActive_ = !sqlite3_get_autocommit(db_);
  nextDrns_.clear();
  return rc;
}

RCODE Database::transAbort() {
  if (!transActive_) return FERR_NO_TRANS_ACTIVE;
  RCODE rc = sqlite3_get_autocommit(db_) ? FERR_OK : statements_.run("ROLLBACK");
  transActive_ = false;
  nextDrns_.clear();
  records_.clear();
  answers_.clear();
  return rc;
}

}  // namespace flm

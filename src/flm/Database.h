// One database: one SQLite file holding a dictionary, records by (store,
// container, number), and the keys of the dictionary's indexes. Its pages
// carry checksums (PageChecksum.h); its journal is SQLite's rollback journal,
// which a read-only open rolls back first when a writer died with it.
#ifndef CORVID5_FLM_DATABASE_H
#define CORVID5_FLM_DATABASE_H

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "flm/BlobCache.h"
#include "flm/Collation.h"
#include "flm/Dictionary.h"
#include "flm/FileGuard.h"
#include "flm/AnswerCache.h"
#include "flm/Node.h"
#include "flm/RecordCodec.h"
#include "flm/Sql.h"

namespace flm {

class Session;

// Open flags.
constexpr uint32_t FO_EXCLUSIVE = 0x01;
constexpr uint32_t FO_READ_ONLY = 0x04;

// The highest store number a record can live in.
constexpr uint32_t kMaxStore = 0x7FFF;

class Database {
 public:
  ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  Session& session() const { return session_; }
  const std::string& path() const { return path_; }
  bool readOnly() const { return flags_ & FO_READ_ONLY; }
  bool exclusive() const { return flags_ & FO_EXCLUSIVE; }
  const Dictionary& dictionary() const { return dictionary_; }
  const NameTable& nameTable() const { return names_; }
  const Collation& collation() const { return collation_; }

  // Reads a record into `pool`; its root is bound to where it lives. With
  // `valuesOf`, only those fields carry their values.
  RCODE retrieve(uint32_t store, uint16_t container, uint32_t drn, PoolMemoryManager* pool,
                 Node** root, const ValueTags* valuesOf = nullptr);
  // Adds the tree at `root`. A `*drn` of 0 takes the container's next number
  // (one past its highest) and hands it back.
  RCODE add(uint32_t store, uint16_t container, uint32_t* drn, const Node* root);
  RCODE modify(uint32_t store, uint16_t container, uint32_t drn, const Node* root);
  RCODE remove(uint32_t store, uint16_t container, uint32_t drn);
  RCODE recordCount(uint32_t store, uint16_t container, uint32_t* count);
  // Whether a record is stored, without reading it.
  RCODE exists(uint32_t store, uint16_t container, uint32_t drn, bool* found);
  // Whether a record is among those kept from earlier reads, and so known to
  // be stored without asking SQLite; false says nothing.
  bool kept(uint32_t store, uint16_t container, uint32_t drn);
  // Hints that records are read soon, one after another: where they are
  // kept, the memory they are found in is fetched ahead, so that each read
  // does not wait for it in turn. The places of a list first, then the bytes
  // of the one read next.
  void prefetch(uint32_t store, uint16_t container, const std::vector<uint32_t>& drns);
  void prefetchNext(uint32_t store, uint16_t container, uint32_t drn);
  // Every (store, container) that holds a record, in store and container
  // order.
  RCODE containersInUse(std::vector<std::pair<uint32_t, uint16_t>>* out);

  // Without an explicit transaction every write commits by itself.
  RCODE transBegin();
  RCODE transCommit();
  RCODE transAbort();
  bool transActive() const { return transActive_; }
  // For a load of millions of records in a few transactions.
  RCODE journalInMemory();

  // For the query engine: SQL on this database and its cached statements.
  sqlite3* sql() const { return db_; }
  RCODE statement(std::string_view sql, sqlite3_stmt** stmt) { return statements_.get(sql, stmt); }

  // What earlier key probes and queries found; null where another connection
  // could change the records and keys behind the cache's back.
  AnswerCache* answerCache() { return cachesRecords() ? &answers_ : nullptr; }

  // The share of the session's cache limit this database may use: SQLite's
  // pages, and, where no one else can write, half of it for records read and
  // answers found.
  void setCacheLimit(uint32_t kilobytes);

  // The live database behind a handle; null for a handle that was closed.
  static Database* fromHandle(void* handle);

  // Record ids in the record table.
  static int64_t recordId(uint32_t store, uint16_t container, uint32_t drn) {
    return (int64_t{store} << 48) | (int64_t{container} << 32) | drn;
  }

 private:
  friend class Session;
  Database(Session& session, std::string path, uint32_t flags);
  static RCODE create(Session& session, const char* path, const Dictionary& dictionary,
                      std::unique_ptr<Database>* out);
  static RCODE open(Session& session, const char* path, uint32_t flags,
                    std::unique_ptr<Database>* out);
  RCODE connect(int sqliteFlags);
  RCODE connectForOpen();
  void disconnect();
  static RCODE rollBackAbandonedJournal(const std::string& path);
  RCODE reservePageChecksums();
  RCODE checkTarget(uint32_t store, uint16_t container) const;
  RCODE checkRecord(uint32_t store, uint16_t container, uint32_t drn) const;
  bool cachesRecords() const;
  RCODE nextDrn(uint32_t store, uint16_t container, uint32_t* drn);
  void rememberNextDrn(int64_t container, uint32_t used, bool assigned);
  RCODE readBlob(int64_t id, std::string* blob, bool* found);
  RCODE writeKeys(uint32_t store, uint16_t container, uint32_t drn, const Node* root, bool insert);
  RCODE writeKeysOfStored(uint32_t store, uint16_t container, uint32_t drn, const std::string& blob);
  RCODE writeRecord(const char* sql, int64_t id, const std::string* blob);
  template <class Op>
  RCODE atomically(Op op);
  RCODE storedRecord(uint32_t store, uint16_t container, uint32_t drn, std::string* blob);

  Session& session_;
  std::string path_;
  uint32_t flags_;
  sqlite3* db_ = nullptr;
  StatementCache statements_;
  FileGuard guard_;
  Dictionary dictionary_;
  NameTable names_{dictionary_};
  Collation collation_;
  bool transActive_ = false;
  BlobCache records_;
  AnswerCache answers_;
  // Next free numbers by container, known only while this connection holds
  // the write lock of an explicit transaction.
  std::unordered_map<int64_t, uint32_t> nextDrns_;
};

}  // namespace flm

#endif

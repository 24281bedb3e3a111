#include "flm/Sql.h"

namespace flm {

RCODE fromSqlite(int sqliteCode) {
  switch (sqliteCode & 0xFF) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
      return FERR_OK;
    case SQLITE_NOMEM:
      return FERR_MEM;
    case SQLITE_FULL:
      return FERR_IO_DISK_FULL;
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return FERR_PERMISSION;
    case SQLITE_CORRUPT:
      return FERR_DATA_ERROR;
    case SQLITE_NOTADB:
      return FERR_NOT_FLAIM;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return FERR_IO_FILE_LOCK_ERR;
    case SQLITE_CANTOPEN:
      return FERR_IO_OPEN_ERR;
    case SQLITE_CONSTRAINT:
      return FERR_EXISTS;
    case SQLITE_TOOBIG:
      return FERR_VALUE_TOO_LARGE;
    case SQLITE_IOERR:
      if (sqliteCode == SQLITE_IOERR_DATA) return FERR_BLOCK_CHECKSUM;
      return sqliteCode == SQLITE_IOERR_READ || sqliteCode == SQLITE_IOERR_SHORT_READ
                 ? FERR_READING_FILE
                 : FERR_WRITING_FILE;
    default:
      return FERR_FAILURE;
  }
}

StatementCache::~StatementCache() { clear(); }

RCODE StatementCache::get(std::string_view sql, sqlite3_stmt** stmt) {
  auto found = statements_.find(sql);
  if (found != statements_.end()) {
    *stmt = found->second;
    return FERR_OK;
  }
  *stmt = nullptr;
  int rc = sqlite3_prepare_v3(db_, sql.data(), static_cast<int>(sql.size()),
                              SQLITE_PREPARE_PERSISTENT, stmt, nullptr);
  if (rc != SQLITE_OK) return fromSqlite(rc);
  statements_.emplace(std::string(sql), *stmt);
  return FERR_OK;
}

RCODE StatementCache::run(std::string_view sql) {
  sqlite3_stmt* stmt = nullptr;
  RCODE rc = get(sql, &stmt);
  if (rc) return rc;
  StatementUse use(stmt);
  return fromSqlite(sqlite3_step(stmt));
}

void StatementCache::clear() {
  for (auto& entry : statements_) sqlite3_finalize(entry.second);
  statements_.clear();
}

RCODE execute(sqlite3* db, const char* sql) {
  return fromSqlite(sqlite3_exec(db, sql, nullptr, nullptr, nullptr));
}

}  // namespace flm

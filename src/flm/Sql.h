// The engine's use of SQLite: its result codes in the engine's terms, and
// prepared statements that are made once per database and reused.
#ifndef CORVID5_FLM_SQL_H
#define CORVID5_FLM_SQL_H

#include <sqlite3.h>

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "flm/ErrorCodes.h"

namespace flm {

RCODE fromSqlite(int sqliteCode);

// Compiled statements by their SQL text.
class StatementCache {
 public:
  StatementCache() = default;
  ~StatementCache();
  StatementCache(const StatementCache&) = delete;
  StatementCache& operator=(const StatementCache&) = delete;

  void attach(sqlite3* db) { db_ = db; }
  RCODE get(std::string_view sql, sqlite3_stmt** stmt);
  // Runs a cached statement that takes no parameters and returns no rows.
  RCODE run(std::string_view sql);
  void clear();

 private:
  // Looked up by the text as given, without copying it into a string first.
  struct TextHash {
    using is_transparent = void;
    size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
  };

  sqlite3* db_ = nullptr;
  std::unordered_map<std::string, sqlite3_stmt*, TextHash, std::equal_to<>> statements_;
};

// One use of a cached statement: reset and unbound when it goes out of scope,
// so that no read holds SQLite's locks longer than it runs.
class StatementUse {
 public:
  explicit StatementUse(sqlite3_stmt* stmt) : stmt_(stmt) {}
  ~StatementUse() {
    sqlite3_reset(stmt_);
    sqlite3_clear_bindings(stmt_);
  }
  StatementUse(const StatementUse&) = delete;
  StatementUse& operator=(const StatementUse&) = delete;
  sqlite3_stmt* operator*() const { return stmt_; }

 private:
  sqlite3_stmt* stmt_;
};

// Runs SQL with no results.
RCODE execute(sqlite3* db, const char* sql);

}  // namespace flm

#endif

#include "flm/KeyProbe.h"

#include <unordered_set>

namespace flm {
namespace {

const char* columnName(KeyColumn column) {
  switch (column) {
    case KeyColumn::Exact: return "exact";
    case KeyColumn::Folded: return "folded";
    default: return "sortkey";
  }
}

KeyProbe probeHead(uint16_t index, uint32_t store, uint16_t component) {
  KeyProbe p;
  p.sql = "SELECT drn FROM flm_key WHERE ix = ?1 AND store = ?2 AND component = ?3";
  p.params = {{SqlParam::Integer, index, {}},
              {SqlParam::Integer, static_cast<int64_t>(store), {}},
              {SqlParam::Integer, component, {}}};
  return p;
}

void bind(sqlite3_stmt* stmt, int column, const SqlParam& p) {
  int size = static_cast<int>(p.bytes.size());
  if (p.kind == SqlParam::Integer)
    sqlite3_bind_int64(stmt, column, p.integer);
  else if (p.kind == SqlParam::Text)
    sqlite3_bind_text(stmt, column, p.bytes.data(), size, SQLITE_STATIC);
  else
    sqlite3_bind_blob(stmt, column, p.bytes.data(), size, SQLITE_STATIC);
}

// Runs a query whose first column is a record number (or, with `idBase`, a
// record id to subtract it from).
RCODE collect(Database* db, const std::string& sql, const std::vector<SqlParam>& params,
              int64_t idBase, std::vector<uint32_t>* drns) {
  sqlite3_stmt* stmt;
  RCODE rc = db->statement(sql, &stmt);
  if (rc) return rc;
  StatementUse use(stmt);
  for (size_t i = 0; i < params.size(); ++i) bind(stmt, static_cast<int>(i + 1), params[i]);
  int src;
  while ((src = sqlite3_step(stmt)) == SQLITE_ROW)
    drns->push_back(static_cast<uint32_t>(sqlite3_column_int64(stmt, 0) - idBase));
  return src == SQLITE_DONE ? FERR_OK : fromSqlite(src);
}

}  // namespace

KeyProbe probeEqual(uint16_t index, uint32_t store, uint16_t component, KeyColumn column,
                    SqlParam value) {
  KeyProbe p = probeHead(index, store, component);
  p.sql += std::string(" AND ") + columnName(column) + " = ?4";
  p.params.push_back(std::move(value));
  return p;
}

KeyProbe probeRange(uint16_t index, uint32_t store, uint16_t component, KeyColumn column,
                    const SqlParam* lower, bool lowerInclusive, const SqlParam* upper,
                    bool upperInclusive) {
  KeyProbe p = probeHead(index, store, component);
  std::string name = columnName(column);
  if (!lower && !upper) p.sql += " AND " + name + " IS NOT NULL";
  if (lower) {
    p.params.push_back(*lower);
    p.sql += " AND " + name + (lowerInclusive ? " >= ?" : " > ?") + std::to_string(p.params.size());
  }
  if (upper) {
    p.params.push_back(*upper);
    p.sql += " AND " + name + (upperInclusive ? " <= ?" : " < ?") + std::to_string(p.params.size());
  }
  return p;
}

RCODE runProbe(Database* db, const KeyProbe& probe, std::vector<uint32_t>* drns) {
  return collect(db, probe.sql, probe.params, 0, drns);
}

RCODE containerRecords(Database* db, uint32_t store, uint16_t container,
                       std::vector<uint32_t>* drns) {
  int64_t base = Database::recordId(store, container, 0);
  std::vector<SqlParam> params = {{SqlParam::Integer, base + 1, {}},
                                  {SqlParam::Integer, base + 0xFFFFFFFE, {}}};
  return collect(db,
                 "SELECT id FROM flm_record INDEXED BY flm_record_ids WHERE id BETWEEN ?1 AND ?2",
                 params, base, drns);
}

RCODE indexRecords(Database* db, uint16_t index, uint32_t store, uint16_t component, bool text,
                   std::vector<uint32_t>* drns) {
  KeyProbe p = probeHead(index, store, component);
  p.sql += text ? " AND sortkey IS NOT NULL ORDER BY sortkey, drn" : " ORDER BY exact, drn";
  std::vector<uint32_t> all;
  RCODE rc = collect(db, p.sql, p.params, 0, &all);
  std::unordered_set<uint32_t> seen;
  for (uint32_t drn : all)
    if (seen.insert(drn).second) drns->push_back(drn);
  return rc;
}

std::string prefixSuccessor(std::string prefix) {
  while (!prefix.empty()) {
    auto last = static_cast<unsigned char>(prefix.back());
    if (last != 0xFF) {
      prefix.back() = static_cast<char>(last + 1);
      return prefix;
    }
    prefix.pop_back();
  }
  return prefix;
}

}  // namespace flm

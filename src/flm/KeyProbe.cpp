#include "flm/KeyProbe.h"

#include <array>
#include <unordered_set>

namespace flm {
namespace {

enum class Bound : uint8_t { None, Open, Closed };

constexpr char kHead[] = "SELECT drn FROM flm_key WHERE ix = ?1 AND store = ?2 AND component = ?3";

const char* columnName(KeyColumn column) {
  switch (column) {
    case KeyColumn::Exact: return "exact";
    case KeyColumn::Folded: return "folded";
    default: return "sortkey";
  }
}

std::string rangeText(KeyColumn column, Bound lower, Bound upper) {
  std::string name = columnName(column);
  std::string sql = kHead;
  int param = 4;
  if (lower == Bound::None && upper == Bound::None) sql += " AND " + name + " IS NOT NULL";
  if (lower != Bound::None)
    sql += " AND " + name + (lower == Bound::Closed ? " >= ?" : " > ?") + std::to_string(param++);
  if (upper != Bound::None)
    sql += " AND " + name + (upper == Bound::Closed ? " <= ?" : " < ?") + std::to_string(param);
  return sql;
}

// The SQL of every probe shape, made once for the process, so that making a
// probe copies no text and finding its statement hashes the text only.
std::string_view equalSql(KeyColumn column) {
  static const std::array<std::string, 3> texts = [] {
    std::array<std::string, 3> made;
    for (int c = 0; c < 3; ++c)
      made[c] = std::string(kHead) + " AND " + columnName(static_cast<KeyColumn>(c)) + " = ?4";
    return made;
  }();
  return texts[static_cast<size_t>(column)];
}

std::string_view rangeSql(KeyColumn column, Bound lower, Bound upper) {
  static const std::array<std::string, 27> texts = [] {
    std::array<std::string, 27> made;
    for (int c = 0; c < 3; ++c)
      for (int l = 0; l < 3; ++l)
        for (int u = 0; u < 3; ++u)
          made[c * 9 + l * 3 + u] =
              rangeText(static_cast<KeyColumn>(c), static_cast<Bound>(l), static_cast<Bound>(u));
    return made;
  }();
  return texts[static_cast<size_t>(column) * 9 + static_cast<size_t>(lower) * 3 +
               static_cast<size_t>(upper)];
}

Bound bound(const SqlParam* value, bool inclusive) {
  return !value ? Bound::None : inclusive ? Bound::Closed : Bound::Open;
}

std::vector<SqlParam> headParams(uint16_t index, uint32_t store, uint16_t component) {
  std::vector<SqlParam> params;
  params.reserve(5);
  params.push_back({SqlParam::Integer, index, {}});
  params.push_back({SqlParam::Integer, static_cast<int64_t>(store), {}});
  params.push_back({SqlParam::Integer, component, {}});
  return params;
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
RCODE collect(Database* db, std::string_view sql, const std::vector<SqlParam>& params,
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

// The probe as a cache key: its SQL text (which lives as long as the process,
// so its address names it) and its values.
std::string_view question(const KeyProbe& probe) {
  thread_local std::string text;
  const char* sql = probe.sql.data();
  text.assign(1, kKeyProbeQuestion);
  text.append(reinterpret_cast<const char*>(&sql), sizeof sql);
  for (const SqlParam& p : probe.params) {
    text += static_cast<char>(p.kind);
    if (p.kind == SqlParam::Integer) {
      text.append(reinterpret_cast<const char*>(&p.integer), sizeof p.integer);
    } else {
      auto size = static_cast<uint32_t>(p.bytes.size());
      text.append(reinterpret_cast<const char*>(&size), sizeof size);
      text += p.bytes;
    }
  }
  return text;
}

}  // namespace

KeyProbe probeEqual(uint16_t index, uint32_t store, uint16_t component, KeyColumn column,
                    SqlParam value) {
  KeyProbe p{equalSql(column), headParams(index, store, component)};
  p.params.push_back(std::move(value));
  return p;
}

KeyProbe probeRange(uint16_t index, uint32_t store, uint16_t component, KeyColumn column,
                    const SqlParam* lower, bool lowerInclusive, const SqlParam* upper,
                    bool upperInclusive) {
  KeyProbe p{rangeSql(column, bound(lower, lowerInclusive), bound(upper, upperInclusive)),
             headParams(index, store, component)};
  if (lower) p.params.push_back(*lower);
  if (upper) p.params.push_back(*upper);
  return p;
}

RCODE runProbe(Database* db, const KeyProbe& probe, bool cached, std::vector<uint32_t>* drns) {
  AnswerCache* cache = cached ? db->answerCache() : nullptr;
  if (!cache) return collect(db, probe.sql, probe.params, 0, drns);
  std::string_view asked = question(probe);
  if (cache->find(asked, drns)) return FERR_OK;
  std::vector<uint32_t> found;
  RCODE rc = collect(db, probe.sql, probe.params, 0, &found);
  if (rc) return rc;
  cache->put(asked, found);
  drns->insert(drns->end(), found.begin(), found.end());
  return FERR_OK;
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
  // Texts the collation cannot tell apart (an ignorable character, a
  // tatweel) still differ: each spelling's records stay together, so that a
  // walk that skips repeats of the text just seen meets each spelling once.
  static const std::string byText =
      std::string(kHead) + " AND sortkey IS NOT NULL ORDER BY sortkey, exact, drn";
  static const std::string byValue = std::string(kHead) + " ORDER BY exact, drn";
  std::vector<uint32_t> all;
  RCODE rc = collect(db, text ? byText : byValue, headParams(index, store, component), 0, &all);
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

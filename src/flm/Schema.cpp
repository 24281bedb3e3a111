#include "flm/Schema.h"

#include <string>

#include "flm/Sql.h"

namespace flm {
namespace {

constexpr char kFormatName[] = "format";
// Files whose pages carry checksums (see PageChecksum.h) are of format 2;
// format 1 files, made before, have none and are still read.
constexpr char kFormat[] = "corvid5-flm 2";
constexpr char kUncheckedFormat[] = "corvid5-flm 1";

// Records are keyed by one integer: store, container and record number packed
// as store << 48 | container << 32 | number, so that a record is one B-tree
// probe and a container is one key range. The ids are indexed apart from the
// records as well: counting or listing a container then reads a few small
// pages instead of every record.
constexpr char kTables[] = R"sql(
CREATE TABLE flm_meta(name TEXT PRIMARY KEY, value TEXT NOT NULL) WITHOUT ROWID;
CREATE TABLE flm_field(number INTEGER PRIMARY KEY, name TEXT NOT NULL, type INTEGER NOT NULL);
CREATE TABLE flm_container(number INTEGER PRIMARY KEY, name TEXT NOT NULL);
CREATE TABLE flm_index(number INTEGER PRIMARY KEY, name TEXT NOT NULL, container INTEGER NOT NULL);
CREATE TABLE flm_index_component(ix INTEGER NOT NULL, component INTEGER NOT NULL, path TEXT NOT NULL,
  PRIMARY KEY(ix, component)) WITHOUT ROWID;
CREATE TABLE flm_record(id INTEGER PRIMARY KEY, data BLOB NOT NULL);
CREATE INDEX flm_record_ids ON flm_record(id);
CREATE TABLE flm_key(ix INTEGER NOT NULL, store INTEGER NOT NULL, component INTEGER NOT NULL,
  exact NOT NULL, folded TEXT, sortkey BLOB, drn INTEGER NOT NULL,
  PRIMARY KEY(ix, store, component, exact, drn)) WITHOUT ROWID;
CREATE INDEX flm_key_folded ON flm_key(ix, store, component, folded, drn) WHERE folded IS NOT NULL;
CREATE INDEX flm_key_sorted ON flm_key(ix, store, component, sortkey, drn) WHERE sortkey IS NOT NULL;
)sql";

RCODE step(sqlite3_stmt* stmt) {
  int rc = sqlite3_step(stmt);
  return rc == SQLITE_DONE || rc == SQLITE_ROW ? FERR_OK : fromSqlite(rc);
}

RCODE insertRow(sqlite3* db, const char* sql, int64_t a, const std::string& b, int64_t c) {
  sqlite3_stmt* stmt = nullptr;
  int src = sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr);
  if (src != SQLITE_OK) return fromSqlite(src);
  sqlite3_bind_int64(stmt, 1, a);
  sqlite3_bind_text(stmt, 2, b.c_str(), static_cast<int>(b.size()), SQLITE_TRANSIENT);
  sqlite3_bind_int64(stmt, 3, c);
  RCODE rc = step(stmt);
  sqlite3_finalize(stmt);
  return rc;
}

RCODE writeDictionary(sqlite3* db, const Dictionary& d) {
  std::string identity =
      std::string("INSERT INTO flm_meta VALUES('") + kFormatName + "', '" + kFormat + "')";
  RCODE rc = execute(db, identity.c_str());
  for (const FieldDef& f : d.fields)
    if (!rc) rc = insertRow(db, "INSERT INTO flm_field VALUES(?1, ?2, ?3)", f.number, f.name, f.type);
  for (const ContainerDef& c : d.containers)
    if (!rc) rc = insertRow(db, "INSERT INTO flm_container VALUES(?1, ?2)", c.number, c.name, 0);
  for (const IndexDef& ix : d.indexes) {
    if (!rc)
      rc = insertRow(db, "INSERT INTO flm_index VALUES(?1, ?2, ?3)", ix.number, ix.name, ix.container);
    for (size_t i = 0; i < ix.components.size() && !rc; ++i)
      rc = insertRow(db, "INSERT INTO flm_index_component VALUES(?1, ?3, ?2)", ix.number,
                     formatPath(ix.components[i]), static_cast<int64_t>(i + 1));
  }
  return rc;
}

// Runs a query and hands each row to `row`; stops at the first failure.
template <class RowFn>
RCODE eachRow(sqlite3* db, const char* sql, RowFn row) {
  sqlite3_stmt* stmt = nullptr;
  int src = sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr);
  if (src != SQLITE_OK) return fromSqlite(src);
  RCODE rc = FERR_OK;
  while ((src = sqlite3_step(stmt)) == SQLITE_ROW && !rc) rc = row(stmt);
  if (!rc && src != SQLITE_DONE && src != SQLITE_ROW) rc = fromSqlite(src);
  sqlite3_finalize(stmt);
  return rc;
}

std::string text(sqlite3_stmt* stmt, int column) {
  auto* p = sqlite3_column_text(stmt, column);
  return p ? reinterpret_cast<const char*>(p) : "";
}

uint16_t number(sqlite3_stmt* stmt, int column) {
  return static_cast<uint16_t>(sqlite3_column_int(stmt, column));
}

// A file of either format whose header says otherwise of its pages has had
// its header damaged.
RCODE checkFormat(sqlite3* db, bool pagesChecked) {
  std::string format;
  // A file that is SQLite but not ours has no such table: that is a foreign
  // file, not a damaged one.
  RCODE rc = eachRow(db, "SELECT value FROM flm_meta WHERE name = 'format'", [&](sqlite3_stmt* s) {
    format = text(s, 0);
    return FERR_OK;
  });
  if (rc == FERR_FAILURE || (!rc && format != kFormat && format != kUncheckedFormat))
    return FERR_NOT_FLAIM;
  if (!rc && (format == kFormat) != pagesChecked) return FERR_DATA_ERROR;
  return rc;
}

RCODE readIndexes(sqlite3* db, Dictionary* d) {
  RCODE rc = eachRow(db, "SELECT number, name, container FROM flm_index ORDER BY number",
                     [&](sqlite3_stmt* s) {
                       d->indexes.push_back({number(s, 0), text(s, 1), number(s, 2), {}});
                       return FERR_OK;
                     });
  if (rc) return rc;
  return eachRow(db, "SELECT ix, path FROM flm_index_component ORDER BY ix, component",
                 [&](sqlite3_stmt* s) {
                   FieldPath path;
                   for (IndexDef& ix : d->indexes)
                     if (ix.number == number(s, 0) && parsePath(text(s, 1), &path)) {
                       ix.components.push_back(path);
                       return FERR_OK;
                     }
                   return FERR_DATA_ERROR;
                 });
}

}  // namespace

RCODE createSchema(sqlite3* db, const Dictionary& dictionary) {
  RCODE rc = dictionary.validate();
  if (!rc) rc = execute(db, kTables);
  if (!rc) rc = writeDictionary(db, dictionary);
  return rc;
}

RCODE loadSchema(sqlite3* db, bool pagesChecked, Dictionary* d) {
  RCODE rc = checkFormat(db, pagesChecked);
  if (!rc)
    rc = eachRow(db, "SELECT number, name, type FROM flm_field ORDER BY number", [&](sqlite3_stmt* s) {
      int type = sqlite3_column_int(s, 2);
      if (type < 0 || type > FLM_TMSTAMP_TYPE) return FERR_DATA_ERROR;
      d->fields.push_back({number(s, 0), text(s, 1), static_cast<ValueType>(type)});
      return FERR_OK;
    });
  if (!rc)
    rc = eachRow(db, "SELECT number, name FROM flm_container ORDER BY number", [&](sqlite3_stmt* s) {
      d->containers.push_back({number(s, 0), text(s, 1)});
      return FERR_OK;
    });
  if (!rc) rc = readIndexes(db, d);
  return rc;
}

}  // namespace flm

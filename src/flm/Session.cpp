#include "flm/Session.h"

#include <algorithm>
#include <new>

namespace flm {

RCODE Session::create(uint32_t cacheKilobytes, uint32_t /*flags*/, Session** out) {
  *out = new (std::nothrow) Session(cacheKilobytes);
  return *out ? FERR_OK : FERR_MEM;
}

void Session::close(Session** session) {
  if (!*session) return;
  delete *session;
  *session = nullptr;
}

RCODE Session::config(Session* session, uint32_t option, uint32_t value) {
  if (!session) return FERR_OK;
  if (option != FLM_CACHE_LIMIT) return FERR_NOT_IMPLEMENTED;
  return session->setCacheLimit(value);
}

RCODE Session::setCacheLimit(uint32_t kilobytes) {
  cacheKilobytes_ = kilobytes;
  shareCache();
  return FERR_OK;
}

// Each open database gets an equal part of the limit.
void Session::shareCache() {
  if (databases_.empty()) return;
  uint32_t share = cacheKilobytes_ / static_cast<uint32_t>(databases_.size());
  for (auto& db : databases_) db->setCacheLimit(share);
}

RCODE Session::adopt(std::unique_ptr<Database> database, Database** out) {
  *out = database.get();
  databases_.push_back(std::move(database));
  shareCache();
  return FERR_OK;
}

RCODE Session::createDatabase(const char* path, const Dictionary& dictionary, Database** out) {
  *out = nullptr;
  std::unique_ptr<Database> db;
  RCODE rc = Database::create(*this, path, dictionary, &db);
  return rc ? rc : adopt(std::move(db), out);
}

RCODE Session::openDatabase(const char* path, const char* /*directory*/, uint32_t flags,
                            Database** out) {
  *out = nullptr;
  std::unique_ptr<Database> db;
  RCODE rc = Database::open(*this, path, flags, &db);
  return rc ? rc : adopt(std::move(db), out);
}

RCODE Session::closeDatabase(Database** database) {
  if (!*database) return FERR_OK;
  Database* db = Database::fromHandle(*database);
  if (!db) return FERR_BAD_HDL;
  Session& session = db->session();
  auto& list = session.databases_;
  list.erase(std::find_if(list.begin(), list.end(), [&](auto& d) { return d.get() == db; }));
  *database = nullptr;
  session.shareCache();
  return FERR_OK;
}

}  // namespace flm

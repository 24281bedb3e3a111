// A session: the databases opened through it and the cache limit they share.
#ifndef CORVID5_FLM_SESSION_H
#define CORVID5_FLM_SESSION_H

#include <cstdint>
#include <memory>
#include <vector>

#include "flm/Database.h"

namespace flm {

// Session configuration options.
constexpr uint32_t FLM_CACHE_LIMIT = 2;

class Session {
 public:
  static RCODE create(uint32_t cacheKilobytes, uint32_t flags, Session** out);
  // Closes every database still open in the session, frees it and nulls the
  // handle; a null handle is left alone.
  static void close(Session** session);

  // The limit, in kilobytes, on the memory all the session's databases keep
  // for cached pages. It takes effect at once.
  RCODE setCacheLimit(uint32_t kilobytes);
  uint32_t cacheLimit() const { return cacheKilobytes_; }
  // Option FLM_CACHE_LIMIT; on a null session nothing happens and all is well.
  static RCODE config(Session* session, uint32_t option, uint32_t value);

  // Makes a new database file with `dictionary`; an existing file is refused.
  RCODE createDatabase(const char* path, const Dictionary& dictionary, Database** out);
  // `directory` is accepted for the interface's sake; paths are taken as given.
  RCODE openDatabase(const char* path, const char* directory, uint32_t flags, Database** out);
  // Closes the database and nulls the handle; a handle that is not open (never
  // was, or was closed with its session) is refused.
  static RCODE closeDatabase(Database** database);

  size_t openCount() const { return databases_.size(); }

 private:
  explicit Session(uint32_t cacheKilobytes) : cacheKilobytes_(cacheKilobytes) {}
  RCODE adopt(std::unique_ptr<Database> database, Database** out);
  void shareCache();

  uint32_t cacheKilobytes_;
  std::vector<std::unique_ptr<Database>> databases_;
};

}  // namespace flm

#endif

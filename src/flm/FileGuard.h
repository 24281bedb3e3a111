// What stands between a path and SQLite: the file must exist, be a regular
// file, look like one of our databases, not be cut short, and not be held
// exclusively by anyone else.
#ifndef CORVID5_FLM_FILEGUARD_H
#define CORVID5_FLM_FILEGUARD_H

#include "flm/ErrorCodes.h"

namespace flm {

// An advisory lock on a database file, shared or exclusive, held for as long
// as the database is open. It is not SQLite's own locking (which works per
// transaction): it keeps a second opener out of an exclusively opened file.
class FileGuard {
 public:
  FileGuard() = default;
  ~FileGuard();
  FileGuard(const FileGuard&) = delete;
  FileGuard& operator=(const FileGuard&) = delete;

  // Checks the file and takes the lock; on failure nothing is held.
  RCODE acquire(const char* path, bool exclusive);
  void release();

 private:
  int fd_ = -1;
};

}  // namespace flm

#endif

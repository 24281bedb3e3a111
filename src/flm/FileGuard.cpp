#include "flm/FileGuard.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

namespace flm {
namespace {

constexpr char kMagic[] = "SQLite format 3";
constexpr size_t kHeaderSize = 100;

uint32_t bigEndian(const unsigned char* p, int bytes) {
  uint32_t v = 0;
  for (int i = 0; i < bytes; ++i) v = (v << 8) | p[i];
  return v;
}

RCODE openError(int err) {
  switch (err) {
    case ENOENT:
    case ENOTDIR:
      return FERR_IO_PATH_NOT_FOUND;
    case EACCES:
    case EPERM:
      return FERR_IO_ACCESS_DENIED;
    case ENAMETOOLONG:
      return FERR_IO_PATH_TOO_LONG;
    case EMFILE:
    case ENFILE:
      return FERR_IO_TOO_MANY_OPEN_FILES;
    default:
      return FERR_IO_OPEN_ERR;
  }
}

// The header names the page size and the page count; a file shorter than
// that has lost its tail.
RCODE checkHeader(int fd) {
  unsigned char header[kHeaderSize];
  ssize_t got = pread(fd, header, sizeof header, 0);
  if (got != static_cast<ssize_t>(sizeof header) || std::memcmp(header, kMagic, sizeof kMagic) != 0)
    return FERR_NOT_FLAIM;
  uint32_t pageSize = bigEndian(header + 16, 2);
  if (pageSize == 1) pageSize = 65536;
  uint32_t pages = bigEndian(header + 28, 4);
  bool countValid = bigEndian(header + 24, 4) == bigEndian(header + 92, 4);
  struct stat st;
  if (fstat(fd, &st) != 0) return FERR_GETTING_FILE_INFO;
  if (pageSize < 512 || (pageSize & (pageSize - 1)) || st.st_size % pageSize) return FERR_DATA_ERROR;
  if (countValid && static_cast<uint64_t>(st.st_size) < uint64_t{pages} * pageSize)
    return FERR_DATA_ERROR;
  return FERR_OK;
}

}  // namespace

FileGuard::~FileGuard() { release(); }

RCODE FileGuard::acquire(const char* path, bool exclusive) {
  release();
  if (!path || !*path) return FERR_IO_INVALID_PATH;
  // Only a regular file can be a database. Anything else is refused before
  // it is opened: opening a FIFO to read waits for a writer, and opening a
  // device can act on it.
  struct stat st;
  if (stat(path, &st) != 0) return openError(errno);
  if (!S_ISREG(st.st_mode)) return FERR_IO_OPEN_ERR;
  // Not waiting, should something else have taken the name meanwhile.
  int fd = ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return openError(errno);
  RCODE rc = fstat(fd, &st) != 0    ? FERR_GETTING_FILE_INFO
             : !S_ISREG(st.st_mode) ? FERR_IO_OPEN_ERR
                                    : checkHeader(fd);
  if (!rc && flock(fd, (exclusive ? LOCK_EX : LOCK_SH) | LOCK_NB) != 0)
    rc = errno == EWOULDBLOCK ? FERR_IO_FILE_LOCK_ERR : FERR_IO_OPEN_ERR;
  if (rc) {
    ::close(fd);
    return rc;
  }
  fd_ = fd;
  return FERR_OK;
}

void FileGuard::release() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
}

}  // namespace flm

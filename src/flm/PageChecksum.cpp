#include "flm/PageChecksum.h"

#include <cstring>
#include <mutex>
#include <new>
#include <vector>

namespace flm {
namespace {

constexpr char kVfsName[] = "corvid5-checksums";
// Asks a file of this VFS whether its pages are checked (an int, 1 or 0).
// Opcodes past 100 are the application's own.
constexpr int kFcntlPagesChecked = 0x4356;

constexpr char kMagic[] = "SQLite format 3";
constexpr int kHeaderBytes = 100;
constexpr int kPageSizeAt = 16;
constexpr int kReservedAt = 20;

uint64_t loadLittleEndian(const unsigned char* p) {
  uint64_t v = 0;
  for (int i = 7; i >= 0; --i) v = (v << 8) | p[i];
  return v;
}

void storeLittleEndian(unsigned char* p, uint64_t v) {
  for (int i = 0; i < 8; ++i, v >>= 8) p[i] = static_cast<unsigned char>(v);
}

uint64_t rotl(uint64_t v, int by) { return (v << by) | (v >> (64 - by)); }

// One database file: the system's file follows this struct in the same
// allocation, which SQLite makes as large as the VFS asks.
struct File {
  sqlite3_file base;
  sqlite3_file* real = nullptr;
  bool checked = false;
  uint32_t pageSize = 0;
  int lock = SQLITE_LOCK_NONE;
  // Mapped pages found good since the lock was taken, one bit per page: no
  // one else can write the file while it is held.
  std::vector<uint64_t> mappedGood;

  // Whether `amount` bytes at `offset` are whole pages. SQLite reads and
  // writes one page at a time, but a VACUUM to a smaller page size writes
  // the new pages several at a time.
  bool wholePages(int amount, sqlite3_int64 offset) const {
    return checked && pageSize && amount > 0 && amount % pageSize == 0 && offset % pageSize == 0;
  }
  uint32_t pageNumber(sqlite3_int64 offset) const {
    return static_cast<uint32_t>(offset / pageSize) + 1;
  }
  bool holds(const void* pages, int amount, sqlite3_int64 offset) const {
    auto* bytes = static_cast<const unsigned char*>(pages);
    for (int at = 0; at < amount; at += static_cast<int>(pageSize))
      if (pageChecksum(bytes + at, pageSize, pageNumber(offset + at)) !=
          loadLittleEndian(bytes + at + pageSize - kPageChecksumBytes))
        return false;
    return true;
  }
  bool knownGood(uint32_t page) const {
    size_t word = page / 64;
    return word < mappedGood.size() && (mappedGood[word] >> (page % 64) & 1);
  }
  void markGood(uint32_t page) {
    size_t word = page / 64;
    if (word >= mappedGood.size()) mappedGood.resize(word + 1);
    mappedGood[word] |= uint64_t{1} << (page % 64);
  }
  void forget(uint32_t page) {
    size_t word = page / 64;
    if (word < mappedGood.size()) mappedGood[word] &= ~(uint64_t{1} << (page % 64));
  }
  // The header names the page size and whether pages keep bytes for us.
  void learnFrom(const void* header, int amount) {
    if (amount < kHeaderBytes) return;
    auto* h = static_cast<const unsigned char*>(header);
    uint32_t size = (uint32_t{h[kPageSizeAt]} << 8) | h[kPageSizeAt + 1];
    if (size == 1) size = 65536;
    checked = std::memcmp(h, kMagic, sizeof kMagic) == 0 && h[kReservedAt] == kPageChecksumBytes &&
              size >= 512;
    pageSize = checked ? size : 0;
  }
};

File* fileOf(sqlite3_file* f) { return reinterpret_cast<File*>(f); }
sqlite3_vfs* systemVfs(sqlite3_vfs* vfs) { return static_cast<sqlite3_vfs*>(vfs->pAppData); }

constexpr size_t kFileBytes = (sizeof(File) + 15) & ~size_t{15};

int fileClose(sqlite3_file* f) {
  File* file = fileOf(f);
  int rc = file->real->pMethods ? file->real->pMethods->xClose(file->real) : SQLITE_OK;
  file->~File();
  return rc;
}

int fileRead(sqlite3_file* f, void* buffer, int amount, sqlite3_int64 offset) {
  File* file = fileOf(f);
  int rc = file->real->pMethods->xRead(file->real, buffer, amount, offset);
  if (rc != SQLITE_OK) return rc;
  if (offset == 0) file->learnFrom(buffer, amount);
  if (file->wholePages(amount, offset) && !file->holds(buffer, amount, offset))
    return SQLITE_IOERR_DATA;
  return SQLITE_OK;
}

// A VACUUM to a larger page size writes each new page as pieces of the old
// size, in order: the last piece gets the checksum of the whole page.
int writeLastPiece(File* file, const void* buffer, int amount, sqlite3_int64 offset) {
  const sqlite3_int64 start = offset + amount - file->pageSize;
  thread_local std::vector<unsigned char> page;
  page.resize(file->pageSize);
  const int before = static_cast<int>(offset - start);
  int rc = file->real->pMethods->xRead(file->real, page.data(), before, start);
  if (rc != SQLITE_OK) return rc;
  std::memcpy(page.data() + before, buffer, static_cast<size_t>(amount));
  const uint32_t number = file->pageNumber(start);
  file->forget(number);
  storeLittleEndian(page.data() + file->pageSize - kPageChecksumBytes,
                    pageChecksum(page.data(), file->pageSize, number));
  return file->real->pMethods->xWrite(file->real, page.data() + before, amount, offset);
}

int fileWrite(sqlite3_file* f, const void* buffer, int amount, sqlite3_int64 offset) {
  File* file = fileOf(f);
  if (offset == 0) file->learnFrom(buffer, amount);
  const bool lastPiece = file->checked && amount >= kPageChecksumBytes &&
                         static_cast<uint32_t>(amount) < file->pageSize &&
                         (offset + amount) % file->pageSize == 0;
  if (lastPiece) return writeLastPiece(file, buffer, amount, offset);
  if (!file->wholePages(amount, offset))
    return file->real->pMethods->xWrite(file->real, buffer, amount, offset);
  thread_local std::vector<unsigned char> pages;
  pages.assign(static_cast<const unsigned char*>(buffer),
               static_cast<const unsigned char*>(buffer) + amount);
  for (int at = 0; at < amount; at += static_cast<int>(file->pageSize)) {
    const uint32_t number = file->pageNumber(offset + at);
    file->forget(number);
    storeLittleEndian(pages.data() + at + file->pageSize - kPageChecksumBytes,
                      pageChecksum(pages.data() + at, file->pageSize, number));
  }
  return file->real->pMethods->xWrite(file->real, pages.data(), amount, offset);
}

int fileTruncate(sqlite3_file* f, sqlite3_int64 size) {
  File* file = fileOf(f);
  file->mappedGood.clear();
  return file->real->pMethods->xTruncate(file->real, size);
}

int fileSync(sqlite3_file* f, int flags) {
  return fileOf(f)->real->pMethods->xSync(fileOf(f)->real, flags);
}

int fileSize(sqlite3_file* f, sqlite3_int64* size) {
  return fileOf(f)->real->pMethods->xFileSize(fileOf(f)->real, size);
}

int fileLock(sqlite3_file* f, int level) {
  File* file = fileOf(f);
  int rc = file->real->pMethods->xLock(file->real, level);
  if (rc == SQLITE_OK) file->lock = level;
  return rc;
}

// Without a lock, others may write: what was found good may be so no longer.
int fileUnlock(sqlite3_file* f, int level) {
  File* file = fileOf(f);
  int rc = file->real->pMethods->xUnlock(file->real, level);
  if (level == SQLITE_LOCK_NONE) file->mappedGood.clear();
  if (rc == SQLITE_OK) file->lock = level;
  return rc;
}

int fileCheckReservedLock(sqlite3_file* f, int* out) {
  return fileOf(f)->real->pMethods->xCheckReservedLock(fileOf(f)->real, out);
}

int fileControl(sqlite3_file* f, int op, void* arg) {
  File* file = fileOf(f);
  if (op == kFcntlPagesChecked) {
    *static_cast<int*>(arg) = file->checked ? 1 : 0;
    return SQLITE_OK;
  }
  return file->real->pMethods->xFileControl(file->real, op, arg);
}

int fileSectorSize(sqlite3_file* f) {
  return fileOf(f)->real->pMethods->xSectorSize(fileOf(f)->real);
}

int fileDeviceCharacteristics(sqlite3_file* f) {
  return fileOf(f)->real->pMethods->xDeviceCharacteristics(fileOf(f)->real);
}

int fileShmMap(sqlite3_file* f, int region, int size, int extend, void volatile** out) {
  return fileOf(f)->real->pMethods->xShmMap(fileOf(f)->real, region, size, extend, out);
}

int fileShmLock(sqlite3_file* f, int offset, int n, int flags) {
  return fileOf(f)->real->pMethods->xShmLock(fileOf(f)->real, offset, n, flags);
}

void fileShmBarrier(sqlite3_file* f) { fileOf(f)->real->pMethods->xShmBarrier(fileOf(f)->real); }

int fileShmUnmap(sqlite3_file* f, int deleteFlag) {
  return fileOf(f)->real->pMethods->xShmUnmap(fileOf(f)->real, deleteFlag);
}

// A mapped page is checked on its first use under the lock. One that fails
// is not handed out: SQLite then reads it, and the read reports it.
int fileFetch(sqlite3_file* f, sqlite3_int64 offset, int amount, void** out) {
  File* file = fileOf(f);
  int rc = file->real->pMethods->xFetch(file->real, offset, amount, out);
  if (rc != SQLITE_OK || !*out || !file->wholePages(amount, offset)) return rc;
  const uint32_t page = file->pageNumber(offset);
  const bool onePage = amount == static_cast<int>(file->pageSize);
  if (onePage && file->knownGood(page)) return SQLITE_OK;
  if (file->holds(*out, amount, offset)) {
    if (onePage && file->lock >= SQLITE_LOCK_SHARED) file->markGood(page);
    return SQLITE_OK;
  }
  rc = file->real->pMethods->xUnfetch(file->real, offset, *out);
  *out = nullptr;
  return rc;
}

int fileUnfetch(sqlite3_file* f, sqlite3_int64 offset, void* page) {
  return fileOf(f)->real->pMethods->xUnfetch(fileOf(f)->real, offset, page);
}

const sqlite3_io_methods kMethods = {
    3,
    fileClose,
    fileRead,
    fileWrite,
    fileTruncate,
    fileSync,
    fileSize,
    fileLock,
    fileUnlock,
    fileCheckReservedLock,
    fileControl,
    fileSectorSize,
    fileDeviceCharacteristics,
    fileShmMap,
    fileShmLock,
    fileShmBarrier,
    fileShmUnmap,
    fileFetch,
    fileUnfetch,
};

// The header as the file holds it now; a new or empty file has none yet,
// and its first write of page 1 tells.
void readHeader(File* file) {
  unsigned char header[kHeaderBytes];
  sqlite3_int64 size = 0;
  if (file->real->pMethods->xFileSize(file->real, &size) != SQLITE_OK || size < kHeaderBytes)
    return;
  if (file->real->pMethods->xRead(file->real, header, kHeaderBytes, 0) == SQLITE_OK)
    file->learnFrom(header, kHeaderBytes);
}

// Journals and temporary files are the system VFS's own: only database
// pages carry checksums.
int vfsOpen(sqlite3_vfs* vfs, sqlite3_filename name, sqlite3_file* f, int flags, int* outFlags) {
  sqlite3_vfs* system = systemVfs(vfs);
  if (!(flags & SQLITE_OPEN_MAIN_DB)) return system->xOpen(system, name, f, flags, outFlags);
  File* file = new (f) File;
  file->base.pMethods = nullptr;
  file->real = reinterpret_cast<sqlite3_file*>(reinterpret_cast<char*>(f) + kFileBytes);
  int rc = system->xOpen(system, name, file->real, flags, outFlags);
  if (rc != SQLITE_OK) {
    if (file->real->pMethods) file->real->pMethods->xClose(file->real);
    file->~File();
    return rc;
  }
  readHeader(file);
  file->base.pMethods = &kMethods;
  return SQLITE_OK;
}

int vfsDelete(sqlite3_vfs* vfs, const char* name, int syncDir) {
  return systemVfs(vfs)->xDelete(systemVfs(vfs), name, syncDir);
}

int vfsAccess(sqlite3_vfs* vfs, const char* name, int flags, int* out) {
  return systemVfs(vfs)->xAccess(systemVfs(vfs), name, flags, out);
}

int vfsFullPathname(sqlite3_vfs* vfs, const char* name, int size, char* out) {
  return systemVfs(vfs)->xFullPathname(systemVfs(vfs), name, size, out);
}

void* vfsDlOpen(sqlite3_vfs* vfs, const char* name) {
  return systemVfs(vfs)->xDlOpen(systemVfs(vfs), name);
}

void vfsDlError(sqlite3_vfs* vfs, int size, char* out) {
  systemVfs(vfs)->xDlError(systemVfs(vfs), size, out);
}

void (*vfsDlSym(sqlite3_vfs* vfs, void* handle, const char* symbol))(void) {
  return systemVfs(vfs)->xDlSym(systemVfs(vfs), handle, symbol);
}

void vfsDlClose(sqlite3_vfs* vfs, void* handle) { systemVfs(vfs)->xDlClose(systemVfs(vfs), handle); }

int vfsRandomness(sqlite3_vfs* vfs, int size, char* out) {
  return systemVfs(vfs)->xRandomness(systemVfs(vfs), size, out);
}

int vfsSleep(sqlite3_vfs* vfs, int microseconds) {
  return systemVfs(vfs)->xSleep(systemVfs(vfs), microseconds);
}

int vfsCurrentTime(sqlite3_vfs* vfs, double* out) {
  return systemVfs(vfs)->xCurrentTime(systemVfs(vfs), out);
}

int vfsGetLastError(sqlite3_vfs* vfs, int size, char* out) {
  return systemVfs(vfs)->xGetLastError(systemVfs(vfs), size, out);
}

int vfsCurrentTimeInt64(sqlite3_vfs* vfs, sqlite3_int64* out) {
  return systemVfs(vfs)->xCurrentTimeInt64(systemVfs(vfs), out);
}

sqlite3_vfs* registered() {
  static sqlite3_vfs vfs;
  static std::once_flag once;
  std::call_once(once, [] {
    sqlite3_vfs* system = sqlite3_vfs_find(nullptr);
    vfs.iVersion = 2;
    vfs.szOsFile = static_cast<int>(kFileBytes) + system->szOsFile;
    vfs.mxPathname = system->mxPathname;
    vfs.zName = kVfsName;
    vfs.pAppData = system;
    vfs.xOpen = vfsOpen;
    vfs.xDelete = vfsDelete;
    vfs.xAccess = vfsAccess;
    vfs.xFullPathname = vfsFullPathname;
    vfs.xDlOpen = vfsDlOpen;
    vfs.xDlError = vfsDlError;
    vfs.xDlSym = vfsDlSym;
    vfs.xDlClose = vfsDlClose;
    vfs.xRandomness = vfsRandomness;
    vfs.xSleep = vfsSleep;
    vfs.xCurrentTime = vfsCurrentTime;
    vfs.xGetLastError = vfsGetLastError;
    vfs.xCurrentTimeInt64 = vfsCurrentTimeInt64;
    sqlite3_vfs_register(&vfs, 0);
  });
  return &vfs;
}

}  // namespace

const char* checksumVfs() { return registered()->zName; }

bool pagesChecked(sqlite3* db) {
  int checked = 0;
  return sqlite3_file_control(db, "main", kFcntlPagesChecked, &checked) == SQLITE_OK && checked;
}

// Four lanes, so that the multiplications of neighbouring words overlap;
// each step is a bijection of the lane for a given word and of the word for
// a given lane, so that any one changed word changes the result.
uint64_t pageChecksum(const unsigned char* page, size_t pageSize, uint32_t number) {
  constexpr uint64_t kOdd1 = 0x9E3779B185EBCA87ull, kOdd2 = 0xC2B2AE3D27D4EB4Full;
  uint64_t lanes[4] = {kOdd1 + number, kOdd2, ~kOdd1, number * kOdd2 + 1};
  const size_t words = (pageSize - kPageChecksumBytes) / 8;
  for (size_t i = 0; i < words; ++i) {
    uint64_t& lane = lanes[i % 4];
    lane = rotl((lane ^ loadLittleEndian(page + 8 * i)) * kOdd1, 29);
  }
  uint64_t h = rotl(lanes[0], 1) + rotl(lanes[1], 7) + rotl(lanes[2], 12) + rotl(lanes[3], 18);
  h ^= h >> 33;
  h *= kOdd2;
  h ^= h >> 29;
  return h;
}

}  // namespace flm

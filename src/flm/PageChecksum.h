// Checksums on the pages of a database file, kept in SQLite's reserved
// bytes, so that damage SQLite cannot see is found when a page is read.
//
// SQLite notices a page that does not parse, but not one that parses into
// something else: a smaller cell count, a child pointer to another valid
// page, a changed byte inside a record. Such a page reads as less data, and
// a read that stopped early would look like the end of it. So every page of
// a database file carries a checksum of its bytes and its page number in
// its last eight bytes, which SQLite leaves to us (the header's "reserved
// bytes" are set to eight when the file is made). A VFS over the system's
// own writes the checksum with every whole page and checks it where the
// page comes back in: on a read, and on the first use of a page mapped into
// memory while the lock that keeps writers out is held (read-only
// connections hold theirs for life, so a hot page costs one bit test after
// its first check). A page that fails is SQLITE_IOERR_DATA, which the engine
// reports as FLAIM's block checksum error.
//
// Page checksums rather than a checksum on each stored row: a row checksum
// sees a damaged record but not a damaged index page that simply lists fewer
// rows, which is the damage that makes a count or a walk come up short.
//
// Files whose header reserves no bytes (made before pages carried
// checksums) are read and written as they are, unchecked.
#ifndef CORVID5_FLM_PAGECHECKSUM_H
#define CORVID5_FLM_PAGECHECKSUM_H

#include <sqlite3.h>

#include <cstddef>
#include <cstdint>

namespace flm {

// The bytes at the end of each page that hold its checksum.
constexpr int kPageChecksumBytes = 8;

// The VFS's name for sqlite3_open_v2; registered on first use.
const char* checksumVfs();

// Whether the open database's pages carry checksums, as its file says.
bool pagesChecked(sqlite3* db);

// The checksum of page `number` (counted from 1) whose bytes are `page`,
// its last kPageChecksumBytes left out.
uint64_t pageChecksum(const unsigned char* page, size_t pageSize, uint32_t number);

}  // namespace flm

#endif

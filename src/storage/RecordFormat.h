// The record dump: one indented, tagged line per field, into a caller's
// buffer or a file.
#ifndef CORVID5_STORAGE_RECORDFORMAT_H
#define CORVID5_STORAGE_RECORDFORMAT_H

#include <cstdint>
#include <string>

#include "flm/Dictionary.h"
#include "flm/Node.h"

namespace storage {

// Who reads the dump. People read `Inspect`, the record dump as it has always
// been. `Reload` is read back into a database, so it writes the values that
// the dump's own forms lose: a number outside the unsigned 32-bit reading in
// signed decimal, the null record pointer as @4294967295@, a real with as many
// digits as it needs to come back unchanged. A value it cannot write so (one
// that cannot be read, a text with a line feed or one that would pass for the
// error note) ends the dump with its code rather than with a note on the line.
enum class DumpStyle : uint8_t { Inspect, Reload };

// What follows a field's name when its value could not be read, before the
// error's name.
inline constexpr char kErrorNote[] = "    # Error: ";

// `trees`: 0 dumps `first` and every following sibling tree, n at most n
// trees. `names` may be null (fields then show as TAG_n). A null `first`
// answers FERR_NULL_RECORD and writes nothing.
//
// `*size` is the buffer's capacity on entry and the dump's length on return,
// counted in 16 bits the way the dump always has been: when the dump does not
// fit, the count goes on past the capacity (and wraps past 65535) while the
// bytes beyond the buffer are dropped. Nothing is ever written outside
// `buffer[0, capacity)`; the part of the buffer after the dump is zeroed.
flm::RCODE formatTrees(uint32_t trees, const flm::Node* first, char* buffer, uint16_t* size,
                       const flm::NameTable* names, uint32_t codePage);

// The same into an open file descriptor, at its present position. A failed
// write ends the dump with its code.
flm::RCODE formatTreesToFile(uint32_t trees, const flm::Node* first, int fd,
                             const flm::NameTable* names, uint32_t codePage);

// The same appended to `text`, which has no size limit.
flm::RCODE formatTreesToString(uint32_t trees, const flm::Node* first, std::string* text,
                               const flm::NameTable* names, uint32_t codePage,
                               DumpStyle style = DumpStyle::Inspect);

}  // namespace storage

#endif

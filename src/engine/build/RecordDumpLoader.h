// Making records from text: the record dump read back into a database, so
// that a database can be written down, kept and made again.
#ifndef CORVID5_ENGINE_BUILD_RECORDDUMPLOADER_H
#define CORVID5_ENGINE_BUILD_RECORDDUMPLOADER_H

#include <string>

#include "flm/Database.h"

namespace build {

// Adds the records of `text` to `db`.
//
// The text is groups of records. Each group opens with the line
//     STORE <n> CONTAINER <n>
// (decimal, one space between the four words) naming where its records go;
// a group may be opened again later. Blank lines and lines that begin with
// "#" are skipped. Every other line is a field as the record dump writes it,
// ended by "\r\n" or "\n":
//     [spaces] <level> [@<n>@ ]<name>[ <value>]
// Indentation is not counted; the level is. Level 0 starts a record, which
// takes the number in its @n@ or else the container's next free number at
// the time it is added (records are added in the order of the text); a
// level is at most one deeper than the line before, and at most 255.
//
// A name is one of the database's field names, in any case, or TAG_<n>. The
// value is read by the field's type in the dictionary:
// - text: as written, except that the one double quote the dump puts before
//   a text that begins with one, and after a text that ends with one, is
//   taken off again; it must be UTF-8 without NUL bytes;
// - number: decimal with an optional "-". A number reads as itself: the
//   dumper writes a number that the dump's unsigned 32-bit reading cannot
//   show (a negative one among them) in signed decimal, so 4294967295 stays
//   4294967295 and -1 is written "-1";
// - record pointer: @<n>@, n up to 4294967295 (the null pointer);
// - real: as strtod reads it; date y-m-d; time h:m:s.hh; timestamp both
//   with a space between;
// - binary: the dump shows no bytes, so "[-binary-]" makes an empty binary.
// A value that is not in its field's form is read by its shape instead,
// because fields are not held to their dictionary type (record 12 keeps its
// layout version "1.3" under the number field PART_OF_SPEECH): @n@ is a
// record pointer, decimal digits (after an optional "-") a number,
// "[-binary-]" an empty binary and anything else text. Fields the dictionary does not know are read
// by shape. A value in a form that does not fit (a number past 64 bits, a month past 255) is an
// error, and so is the dump's note of a value it could not read. A field with nothing after its
// name has no value, whatever its type.
//
// Everything is added in one transaction of its own (a transaction already
// open is refused): on any error nothing of the text stays, `*error` (when
// not null) is "<sourceName>:<line>: <what is wrong>", and the code is
// returned.
flm::RCODE loadRecordDump(flm::Database* db, const std::string& text, const std::string& sourceName,
                          std::string* error);

}  // namespace build

#endif

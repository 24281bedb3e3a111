// A whole database as text: every record in the form `loadRecordDump` reads,
// so that dumping and loading into a fresh database with the same dictionary
// gives the same records.
#ifndef CORVID5_ENGINE_BUILD_DATABASEDUMP_H
#define CORVID5_ENGINE_BUILD_DATABASEDUMP_H

#include <string>

#include "flm/Database.h"

namespace build {

// Replaces `*text` with every record of `db`: one STORE <n> CONTAINER <n>
// line for each store and container that holds records, in store and then
// container order, each followed by its records in number order, every record
// in the record dump's lines with its @n@ and "\r\n" line ends.
//
// Values are written so that they load back as themselves, where the dump's
// own forms would lose them: a number outside the unsigned 32-bit reading (a
// negative one among them) in signed decimal, the null record pointer as
// @4294967295@, a real with the digits it needs. Two things cannot be kept:
// the bytes of a binary value (the dump shows only [-binary-], which loads as
// an empty binary) and the type of a value that the dictionary does not
// expect, which loads by its shape. A record that cannot be written so (a text
// with a line feed or one that would pass for the dump's note of an unreadable
// value, a value that cannot be read) fails the dump with its code;
// `*error`, when not null, then names the record, and `*text` is emptied.
flm::RCODE dumpDatabase(flm::Database* db, std::string* text, std::string* error = nullptr);

}  // namespace build

#endif

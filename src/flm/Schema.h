// The SQL tables behind a database: its identity, its dictionary, its records
// and the key table that its indexes write.
#ifndef CORVID5_FLM_SCHEMA_H
#define CORVID5_FLM_SCHEMA_H

#include <sqlite3.h>

#include "flm/Dictionary.h"

namespace flm {

// Writes the tables and the dictionary into an empty database.
RCODE createSchema(sqlite3* db, const Dictionary& dictionary);
// Checks that the file is one of ours, of the format its pages say, and
// reads its dictionary back.
RCODE loadSchema(sqlite3* db, bool pagesChecked, Dictionary* dictionary);

}  // namespace flm

#endif

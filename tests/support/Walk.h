// A client's walk through every collection of an open database: languages,
// meanings with their variants, examples, links and equivalences, the
// dictionary, the index records, the relations and the top ontology. Every
// text is read and released, every object destroyed, so that the sanitizers
// see whatever a damaged record does to the library.
#ifndef CORVID5_TESTS_WALK_H
#define CORVID5_TESTS_WALK_H

#include <cstddef>

class Polylex;

namespace clientwalk {

// Reads at most a few elements of any one collection, so that a database of
// any size is walked in bounded time, and answers how many it read. The
// library's own exceptions (PLXException, FlmError) end the part of the walk
// that met them and nothing else; anything else escapes.
size_t walkDatabase(Polylex& polylex);

// Opens the database at `path` read-only through the engine's session and
// walks it; a file that does not open is left at that.
void walkFile(const char* path);

}  // namespace clientwalk

#endif

// Telling a read that found nothing from a read that failed.
//
// Records and cursors answer 0 both when there is nothing to read (the end
// of a set, a record that is not stored, no record number to look for) and
// when reading failed (the file could not be read, a page or record is
// damaged); their error says which. Only the first is an answer. The second
// must reach the client as an exception, or a damaged database reads as one
// that holds less: a missing definition, a word with no meanings.
#ifndef CORVID5_ENGINE_READFAILURE_H
#define CORVID5_ENGINE_READFAILURE_H

#include <corvid5/FlmError.h>

namespace engine {

// The codes of a read that found nothing, and success.
bool foundNothing(const FlmError& error);

// Throws the FLAIM-kind PLXException, with the module and line, when the
// read behind `error` failed; a read that found nothing is left to the
// caller.
void throwIfReadFailed(const FlmError& error, const char* module, int line);

}  // namespace engine

#endif

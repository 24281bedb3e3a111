// Building database paths into the fixed buffers that handles keep.
#ifndef CORVID5_FLM_PATH_H
#define CORVID5_FLM_PATH_H

#include "flm/ErrorCodes.h"

namespace flm {

constexpr unsigned kPathSize = 240;

// Joins up to four optional parts (drive, directory, file name, extension)
// into `target` of kPathSize bytes: the directory gets a separator after it
// when it lacks one, the extension a dot before it. A null target is an
// invalid parameter; a result that would not fit, with its terminator, is too
// long, and leaves `target` as the empty string.
RCODE pathBuild(char* target, const char* drive, const char* directory, const char* name,
                const char* extension);

}  // namespace flm

#endif

#include <corvid5/Platform.h>

namespace {

// Each thread sees only the failures of its own calls, as callers expect when
// they read the code right after a failing call.
thread_local DWORD lastError = ERROR_SUCCESS;

}  // namespace

DWORD GetLastError(void) { return lastError; }

void SetLastError(DWORD error) { lastError = error; }

// The FLAIM sessions this layer has opened and not yet closed.
//
// Engines and FxSession objects copy their session handle member by member,
// so one session can be held by several objects. Every open and close goes
// through here, so that only the first close of a shared handle reaches
// FLAIM, and a handle whose session was closed through another holder is
// refused instead of followed.
#ifndef CORVID5_ENGINE_SESSIONTABLE_H
#define CORVID5_ENGINE_SESSIONTABLE_H

#include <cstdint>

#include "flm/Session.h"

namespace engine {

// Starts a session with the cache limit and no flags; *handle gets it, or
// null on failure.
flm::RCODE OpenSession(uint32_t cacheKilobytes, void** handle);

// The session behind the handle, or null when it is null or already closed.
flm::Session* LiveSession(void* handle);

// Closes the session, and every database open in it, if it is still open;
// nulls the handle either way.
void CloseSession(void** handle);

}  // namespace engine

#endif

#include "engine/SessionTable.h"

#include <unordered_set>

namespace engine {
namespace {

// Never destroyed: sessions are still closed by exit handlers and by the
// destructors of static objects, in an order this file cannot know.
std::unordered_set<flm::Session*>& OpenSessions() {
  static auto* sessions = new std::unordered_set<flm::Session*>;
  return *sessions;
}

}  // namespace

flm::RCODE OpenSession(uint32_t cacheKilobytes, void** handle) {
  flm::Session* session = nullptr;
  flm::RCODE rc = flm::Session::create(cacheKilobytes, 0, &session);
  if (rc == flm::FERR_OK)
    OpenSessions().insert(session);
  else
    flm::Session::close(&session);  // nothing half-made is handed out
  *handle = session;
  return rc;
}

flm::Session* LiveSession(void* handle) {
  auto* session = static_cast<flm::Session*>(handle);
  return session && OpenSessions().count(session) ? session : nullptr;
}

void CloseSession(void** handle) {
  flm::Session* session = LiveSession(*handle);
  if (session) {
    OpenSessions().erase(session);
    flm::Session::close(&session);
  }
  *handle = nullptr;
}

}  // namespace engine

#include <corvid5/FxSession.h>

#include "engine/SessionTable.h"
#include "flm/Session.h"

namespace {

constexpr uint16_t kDefaultCacheKilobytes = 32;

}  // namespace

FxSession::FxSession() : m_Error(0), m_hSession(nullptr), m_nCache(kDefaultCacheKilobytes) {}

FxSession::~FxSession() { Close(); }

int FxSession::Open() {
  Close();
  return m_Error.Success(engine::OpenSession(m_nCache, &m_hSession));
}

void FxSession::Close() { engine::CloseSession(&m_hSession); }

void FxSession::SetCache(uint16_t kilobytes) {
  m_nCache = kilobytes;
  if (!m_hSession) return;
  flm::Session* session = engine::LiveSession(m_hSession);
  m_Error = session ? flm::Session::config(session, flm::FLM_CACHE_LIMIT, kilobytes)
                    : static_cast<flm::RCODE>(flm::FERR_BAD_HDL);
}

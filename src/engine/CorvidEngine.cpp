#include <corvid5/CorvidEngine.h>

#include <corvid5/PLXException.h>

#include <cstdlib>

#include "engine/SessionTable.h"
#include "flm/Database.h"
#include "flm/Path.h"
#include "flm/Session.h"

namespace {

constexpr int16_t kStartCacheKilobytes = 32;

// OpenDatabase takes its path in a buffer of exactly the size FLAIM fills.
static_assert(flm::kPathSize == 240);

}  // namespace

CorvidEngine* CorvidEngine::m_pTheEngine = nullptr;

CorvidEngine::CorvidEngine() : m_Error(0), m_hSession(nullptr), m_nCache(0) {
  if (!Start()) throw PLXException(static_cast<uint32_t>(m_Error), nullptr, 0);
}

CorvidEngine::~CorvidEngine() { Stop(); }

CorvidEngine* CorvidEngine::GetInstance() {
  if (m_pTheEngine) return m_pTheEngine;
  m_pTheEngine = new CorvidEngine;
  // Once per instance: a second run after DestroyInstance finds no engine.
  std::atexit(DestroyInstance);
  return m_pTheEngine;
}

void CorvidEngine::DestroyInstance() {
  delete m_pTheEngine;
  m_pTheEngine = nullptr;
}

int CorvidEngine::Start() {
  Stop();
  if (!m_Error.Success(engine::OpenSession(kStartCacheKilobytes, &m_hSession))) return 0;
  m_nCache = kStartCacheKilobytes;
  return 1;
}

void CorvidEngine::Stop() { engine::CloseSession(&m_hSession); }

void CorvidEngine::SetCache(int16_t kilobytes) {
  // Config on a stopped engine succeeds and does nothing, so the value is
  // still kept for the caller to read back.
  m_Error = flm::Session::config(engine::LiveSession(m_hSession), flm::FLM_CACHE_LIMIT,
                                 static_cast<uint16_t>(kilobytes));
  if (!m_Error.Success()) throw PLXException(static_cast<uint32_t>(m_Error), nullptr, 0);
  m_nCache = kilobytes;
}

uint32_t CorvidEngine::OpenDatabase(unsigned char (*path)[240], unsigned char* directory,
                                    unsigned char flags, void** handle, Create_Options*) {
  // This FLAIM takes a new database's settings from its dictionary, so the
  // create options go no further.
  flm::Database* database = nullptr;
  flm::Session* session = engine::LiveSession(m_hSession);
  if (!session) {
    m_Error = flm::FERR_BAD_HDL;
  } else {
    m_Error = session->openDatabase(reinterpret_cast<const char*>(*path),
                                    reinterpret_cast<const char*>(directory), flags, &database);
  }
  *handle = database;
  return m_Error;
}

void CorvidEngine::CheckMemory() {}

int CorvidEngine::IsValidHeapPointer(const void*) { return 1; }

int32_t CorvidEngine::SetBreakAlloc(int32_t) { return 0; }

int CorvidEngine::SetDbgFlag(int) { return 0; }

void* CorvidEngine::SetReportFile(int, void*) { return nullptr; }

int CorvidEngine::SetReportMode(int, int) { return 0; }

#include <corvid5/FxDatabase.h>

#include "engine/SessionTable.h"
#include "flm/Database.h"
#include "flm/Path.h"
#include "flm/Session.h"

// The create options are FLAIM's to fill; they start zeroed only so that
// copying an object never reads indeterminate bytes.
FxDatabase::FxDatabase(FxSession& session)
    : m_Error(0), m_pSession(&session), m_szPath{}, m_hDatabase(nullptr), m_nFlags(0),
      m_CreateOptions() {
  static_assert(sizeof m_szPath == flm::kPathSize);
}

FxDatabase::~FxDatabase() { Close(); }

int FxDatabase::Open(const char* path, const char* directory, int readOnly, int exclusive) {
  FxSession& session = *m_pSession;
  if (!session.IsOpen() && !session.Open()) {
    m_Error = session.GetFlmError().GetError();
    return 0;
  }
  if (!m_Error.Success(flm::pathBuild(m_szPath, nullptr, nullptr, path, nullptr))) return 0;

  m_nFlags = static_cast<uint8_t>((exclusive ? flm::FO_EXCLUSIVE : 0) |
                                  (readOnly ? flm::FO_READ_ONLY : 0));

  // This FLAIM takes a new database's settings from its dictionary, so the
  // create options go no further.
  flm::Database* database = nullptr;
  flm::Session* flaim = engine::LiveSession(session);
  if (!flaim) {
    m_Error = flm::FERR_BAD_HDL;
    return 0;
  }
  m_Error = flaim->openDatabase(m_szPath, directory, m_nFlags, &database);
  m_hDatabase = database;
  return m_Error.Success();
}

int FxDatabase::Open(const char* path, int readOnly, int exclusive) {
  return Open(path, nullptr, readOnly, exclusive);
}

int FxDatabase::Close() {
  if (!m_hDatabase) return 1;
  auto* database = static_cast<flm::Database*>(m_hDatabase);
  m_Error = flm::Session::closeDatabase(&database);
  m_hDatabase = database;
  return m_Error.Success();
}

int FxDatabase::IsReadOnly() const {
  return m_hDatabase && (m_nFlags & flm::FO_READ_ONLY) ? 1 : 0;
}

int FxDatabase::IsExclusive() const {
  return m_hDatabase && (m_nFlags & flm::FO_EXCLUSIVE) ? 1 : 0;
}

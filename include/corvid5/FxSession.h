// A FLAIM session of the client's own, for work on a FLAIM database outside
// the engine's session.
#ifndef CORVID5_FXSESSION_H
#define CORVID5_FXSESSION_H

#include <corvid5/Export.h>
#include <corvid5/FlmError.h>

#include <stdint.h>

// Never throws: each operation keeps FLAIM's code, read through
// GetFlmError(), and answers 1 or 0.
//
// Copies hold the same session. The first of them to close it (by Close or
// its destructor) ends it for all; the others then still answer IsOpen() with
// 1, but closing through them does nothing and anything else asked of the
// session fails with FLAIM's bad-handle code.
class CORVID5_API FxSession {
 public:
  FxSession();
  FxSession(const FxSession&) = default;
  FxSession& operator=(const FxSession&) = default;
  // Closes the session, and with it every database still open in it.
  virtual ~FxSession();

  // Closes any session first, then starts one with the cache limit set here.
  int Open();
  void Close();
  int IsOpen() const { return m_hSession != nullptr ? 1 : 0; }

  // In kilobytes; 32 unless set. Applied at once to an open session, else
  // kept for the next Open.
  void SetCache(uint16_t kilobytes);
  uint16_t GetCache() const { return m_nCache; }

  const FlmError& GetFlmError() const { return m_Error; }

  // The FLAIM session; null when closed.
  operator void*() const { return m_hSession; }

 private:
  FlmError m_Error;
  void* m_hSession;
  uint16_t m_nCache;
};

#endif

// The process-wide engine: owner of the one FLAIM session through which the
// library opens its databases.
#ifndef CORVID5_CORVIDENGINE_H
#define CORVID5_CORVIDENGINE_H

#include <corvid5/CreateOptions.h>
#include <corvid5/Export.h>
#include <corvid5/FlmError.h>

#include <stdint.h>

// Made on first use by GetInstance and ended by DestroyInstance, which is
// also registered to run at process exit. Databases opened through the engine
// must be closed before it is destroyed: ending the session closes them.
//
// Not thread-safe: the library expects one client thread at a time.
class CORVID5_API CorvidEngine {
 public:
  // Throws PLXException carrying FLAIM's code when the session cannot start.
  static CorvidEngine* GetInstance();
  static void DestroyInstance();

  // A copy shares the session handle; it exists for old callers and is not
  // meant to be used.
  CorvidEngine(const CorvidEngine&) = default;
  CorvidEngine& operator=(const CorvidEngine&) = default;

  // Ends any session and starts a new one with a 32 KB cache. 1 on success;
  // on failure 0, with the code kept as the last error.
  int Start();
  // Ends the session, closing every database still open in it.
  void Stop();

  // In kilobytes, as last set; FLAIM is not asked.
  int16_t GetCache() const { return m_nCache; }
  // Read by FLAIM as an unsigned 16-bit count. With no session running only
  // the value is kept. Throws PLXException on failure, keeping the old value.
  void SetCache(int16_t kilobytes);

  // `path` is a normalised FLAIM path; `flags` combine 0x04 (read-only) and
  // 0x01 (exclusive). Returns FLAIM's code, also kept as the last error, and
  // puts the database handle (null on failure) in *handle. Never throws.
  uint32_t OpenDatabase(unsigned char (*path)[240], unsigned char* directory, unsigned char flags,
                        void** handle, Create_Options* options);

  // Debug-heap hooks that client programs call for diagnostics. The library
  // has no diagnostic heap, so they do nothing and answer as a clean one
  // would.
  static void CheckMemory();
  static int IsValidHeapPointer(const void* pointer);
  static int32_t SetBreakAlloc(int32_t allocation);
  static int SetDbgFlag(int flags);
  static void* SetReportFile(int reportType, void* file);
  static int SetReportMode(int reportType, int mode);

 protected:
  CorvidEngine();
  virtual ~CorvidEngine();

 private:
  static CorvidEngine* m_pTheEngine;

  FlmError m_Error;
  void* m_hSession;  // the FLAIM session; null when stopped
  int16_t m_nCache;
};

#endif

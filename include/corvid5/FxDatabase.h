// A FLAIM database opened in an FxSession.
#ifndef CORVID5_FXDATABASE_H
#define CORVID5_FXDATABASE_H

#include <corvid5/CreateOptions.h>
#include <corvid5/Export.h>
#include <corvid5/FlmError.h>
#include <corvid5/FxSession.h>

#include <stdint.h>

// Never throws: each operation keeps FLAIM's code, read through
// GetFlmError(), and answers 1 or 0.
//
// The session must outlive the object's use of it. Closing the session closes
// the database under the object; closing the object after that is refused
// with FLAIM's bad-handle code and is otherwise harmless.
//
// Copies hold the same database handle, and the session binding travels with
// assignment, so that a handle is always paired with the session it came
// from. Only one holder should close it; a close through another is refused
// as above.
class CORVID5_API FxDatabase {
 public:
  explicit FxDatabase(FxSession& session);
  FxDatabase(const FxDatabase&) = default;
  FxDatabase& operator=(const FxDatabase&) = default;
  // Closes the database.
  virtual ~FxDatabase();

  // Opens the session first if it is closed. An object that already holds a
  // database does not close it: the handle is overwritten, and the database
  // stays open until its session closes.
  int Open(const char* path, const char* directory, int readOnly, int exclusive);
  int Open(const char* path, int readOnly, int exclusive);
  // 1 at once, the last error untouched, when nothing is open.
  int Close();

  int IsOpen() const { return m_hDatabase != nullptr ? 1 : 0; }
  // Both 0 while closed, whatever the last open asked for.
  int IsReadOnly() const;
  int IsExclusive() const;

  const FlmError& GetFlmError() const { return m_Error; }

  // The FLAIM database; null when closed.
  operator void*() const { return m_hDatabase; }

 private:
  FlmError m_Error;
  FxSession* m_pSession;  // never null
  char m_szPath[240];
  void* m_hDatabase;
  uint8_t m_nFlags;
  Create_Options m_CreateOptions;
};

#endif

// The one exception the library throws at its clients.
#ifndef CORVID5_PLXEXCEPTION_H
#define CORVID5_PLXEXCEPTION_H

#include <corvid5/Export.h>
#include <corvid5/FlmError.h>

#include <stdint.h>

// The library's own error numbers. errFlaim and errLink are not errors in
// their own right: they mark an exception that carries a FLAIM code, or one
// raised for a link. The fixed width lets any 32-bit number travel in the
// field, known or not; unknown ones format as "Unexpected error".
enum ePLXError : int32_t {
  errUndefined = 0,
  errFlaim = 1,
  errLink = 2,
  errOutOfMemory = 100,
  errInvalidRelation = 101,
  errInvalidEqRelation = 102,
  errNoSiteRecord = 103,
  errInvalidVariantNumber = 104,
  errDataLayout = 105,
  errBufferTooSmall = 106,
  errIncompatibleDatabase = 107
};

// Why a link could not be followed. Only the fact that it was a link failure
// reaches the exception; the value itself is not kept.
enum LinkError : int32_t { linkUndefined = 0 };

// Thrown by value, caught by reference.
//
// The message is formatted on each conversion to const char*, into a fresh
// 400-byte buffer; the previous buffer is deliberately not freed, because
// the text handed out earlier may still be in the caller's hands. Only the
// last buffer is freed with the exception.
//
// Copies share the message buffer, as the exception is copied on its way
// through a throw. The buffer counts the exceptions that hold it and is freed
// by the last of them, so a copy and its source can both be destroyed in
// either order. Assignment gives up the target's buffer (freeing it when no
// other copy holds it) before sharing the source's.
class CORVID5_API PLXException {
 public:
  PLXException(uint32_t flaimCode, const char* file, int line);
  PLXException(LinkError error, const char* file, int line);
  PLXException(ePLXError error, const char* file, int line);
  PLXException(const PLXException& other);
  PLXException& operator=(const PLXException& other);
  virtual ~PLXException();

  ePLXError GetError() const { return m_nError; }
  // Only the low 16 bits: the part of a FLAIM code that names the error.
  uint32_t GetFLAIMError() const { return m_FlmError.GetError(); }

  // "FLAIM: <name> [0x<code>]" or "PLX API: <text> [<number>]", then
  // " -- <file>" and " (<line>)" when known. A message that would not fit
  // the buffer is cut short.
  operator const char*() const;

 private:
  struct MessageBuffer;

  void Share(MessageBuffer* buffer);
  void Release();

  FlmError m_FlmError;
  ePLXError m_nError;
  int32_t m_nReserved = 0;  // never set; zeroed so that copies read a value
  const char* m_pszFile;
  int32_t m_nLine;
  mutable MessageBuffer* m_pMessage = nullptr;
};

#endif

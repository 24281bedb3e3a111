// A FLAIM error code held by value, with its name and a one-line message.
#ifndef CORVID5_FLMERROR_H
#define CORVID5_FLMERROR_H

#include <corvid5/Export.h>

#include <stdint.h>

#include <string>

using String = std::string;

// The code is kept whole; GetError() gives the 16 bits that FLAIM's codes
// actually use, which is what clients compare against.
//
// Both conversions are implicit, as callers are used to. That makes bare
// `error == 0` and `if (error)` ambiguous: compare the result of a cast to
// uint32_t, or call Success().
class CORVID5_API FlmError {
 public:
  FlmError(uint32_t code = 0) : m_nCode(code) {}
  FlmError& operator=(uint32_t code) {
    m_nCode = code;
    return *this;
  }
  FlmError(const FlmError&) = default;
  FlmError& operator=(const FlmError&) = default;

  uint16_t GetError() const { return static_cast<uint16_t>(m_nCode); }
  operator uint32_t() const { return m_nCode; }

  int Success() const { return m_nCode == 0 ? 1 : 0; }
  // For the common `if (!error.Success(call(...)))` shape.
  int Success(uint32_t code) {
    m_nCode = code;
    return Success();
  }

  // FLAIM's constant name for the code; for a code FLAIM does not know, a
  // text showing the code that stays valid until the next unknown code.
  operator const char*() const;

  // "FLAIM error (0x<code>): <name>"
  String GetMessage() const;

 private:
  uint32_t m_nCode;
};

#endif

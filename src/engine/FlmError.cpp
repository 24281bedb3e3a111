#include <corvid5/FlmError.h>

#include <corvid5/Platform.h>

#include "flm/ErrorCodes.h"

FlmError::operator const char*() const { return flm::errorName(m_nCode); }

String FlmError::GetMessage() const {
  // wsprintfA's own limit; a name is far shorter.
  char text[1024];
  wsprintfA(text, "FLAIM error (0x%0X): %s", m_nCode, static_cast<const char*>(*this));
  return text;
}

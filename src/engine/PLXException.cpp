#include <corvid5/PLXException.h>

#include <corvid5/Platform.h>

#include <algorithm>
#include <cstring>

namespace {

// Room for the longest text of the table plus a module path.
constexpr size_t kMessageSize = 400;
// wsprintfA may write this much, so every piece is formatted here first and
// only then copied, cut to what is left of the message buffer.
constexpr size_t kPieceSize = 1024;

struct ErrorText {
  ePLXError error;
  const char* text;
};

// Scanned front to back; 106 stands before 105, and callers rely on neither
// position.
constexpr ErrorText kErrorTexts[] = {
    {errUndefined, "Undefined error"},
    {errOutOfMemory, "Out of memory"},
    {errInvalidRelation, "Invalid relation specified"},
    {errInvalidEqRelation, "Invalid equivalence relation specified"},
    {errNoSiteRecord, "Site record could not be retrieved from database"},
    {errInvalidVariantNumber, "Invalid concept variant number"},
    {errBufferTooSmall, "Buffer is too small"},
    {errDataLayout, "Internal data layout error"},
    {errIncompatibleDatabase, "This database is incompatible"},
};

const char* TextOf(ePLXError error) {
  for (const ErrorText& row : kErrorTexts) {
    if (row.error == error) return row.text;
  }
  return "Unexpected error";
}

// The buffer's size is fixed and nothing checks a module name's length, so
// whatever does not fit is cut off.
void Append(char* text, const char* piece) {
  const size_t used = std::strlen(text);
  const size_t count = std::min(std::strlen(piece), kMessageSize - 1 - used);
  std::memcpy(text + used, piece, count);
  text[used + count] = '\0';
}

}  // namespace

// The text comes first so that the address handed out is the allocation's.
struct PLXException::MessageBuffer {
  char text[kMessageSize];
  int32_t holders;
};

PLXException::PLXException(uint32_t flaimCode, const char* file, int line)
    : m_FlmError(flaimCode), m_nError(errFlaim), m_pszFile(file), m_nLine(line) {}

PLXException::PLXException(LinkError, const char* file, int line)
    : m_FlmError(0), m_nError(errLink), m_pszFile(file), m_nLine(line) {}

PLXException::PLXException(ePLXError error, const char* file, int line)
    : m_FlmError(0), m_nError(error), m_pszFile(file), m_nLine(line) {}

PLXException::PLXException(const PLXException& other)
    : m_FlmError(other.m_FlmError),
      m_nError(other.m_nError),
      m_nReserved(other.m_nReserved),
      m_pszFile(other.m_pszFile),
      m_nLine(other.m_nLine) {
  Share(other.m_pMessage);
}

PLXException& PLXException::operator=(const PLXException& other) {
  if (this == &other) return *this;
  Release();
  m_FlmError = other.m_FlmError;
  m_nError = other.m_nError;
  m_nReserved = other.m_nReserved;
  m_pszFile = other.m_pszFile;
  m_nLine = other.m_nLine;
  Share(other.m_pMessage);
  return *this;
}

PLXException::~PLXException() { Release(); }

void PLXException::Share(MessageBuffer* buffer) {
  m_pMessage = buffer;
  if (m_pMessage) ++m_pMessage->holders;
}

void PLXException::Release() {
  if (m_pMessage && --m_pMessage->holders == 0) delete m_pMessage;
  m_pMessage = nullptr;
}

PLXException::operator const char*() const {
  // The previous buffer is dropped, not freed: its text may still be in use.
  // It stays alive for as long as a copy of this exception holds it.
  if (m_pMessage) --m_pMessage->holders;
  m_pMessage = new MessageBuffer{{}, 1};

  char* text = m_pMessage->text;
  char piece[kPieceSize];
  if (m_nError == errFlaim) {
    wsprintfA(piece, "FLAIM: %s [0x%04X]", static_cast<const char*>(m_FlmError),
              static_cast<uint32_t>(m_FlmError));
  } else {
    wsprintfA(piece, "PLX API: %s [%u]", TextOf(m_nError), static_cast<uint32_t>(m_nError));
  }
  Append(text, piece);
  // A line means nothing without the module it belongs to.
  if (m_pszFile) {
    wsprintfA(piece, " -- %s", m_pszFile);
    Append(text, piece);
    if (m_nLine != 0) {
      wsprintfA(piece, " (%u)", static_cast<uint32_t>(m_nLine));
      Append(text, piece);
    }
  }
  return text;
}

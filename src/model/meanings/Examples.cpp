#include <corvid5/Examples.h>

#include <corvid5/PLXException.h>

#include "engine/Layout.h"
#include "model/meanings/FieldAccess.h"

using namespace layout;
using meanings::kPoolBlock;

namespace {

constexpr const char* kModule = "Examples";
constexpr short kLast = 32767;
constexpr uint32_t kNotFound = 0xC006;

}  // namespace

Examples::Examples() : FlmRecord(kExamples, kPoolBlock) {}

Examples::Examples(node* field) : FlmRecord(field, kPoolBlock) {}

Examples::Examples(const Examples& other) : FlmRecord(other) {}

Examples::~Examples() = default;

void Examples::Destroy() { delete this; }

short Examples::Ordinal(const VARIANT& which) {
  uint32_t value = 0;
  switch (which.vt) {
    case VT_I2:
      value = static_cast<uint16_t>(which.iVal);
      break;
    case VT_UI2:
      value = which.uiVal;
      break;
    case VT_I4:
      value = static_cast<uint32_t>(which.lVal);
      break;
    case VT_UI4:
      value = which.ulVal;
      break;
    case VT_INT:
      value = static_cast<uint32_t>(which.intVal);
      break;
    case VT_UINT:
      value = which.uintVal;
      break;
    default:
      throw PLXException(errUndefined, kModule, __LINE__);
  }
  return static_cast<short>(value & 0xFFFF);
}

void Examples::Add(const char* text) {
  if (!AddField(kExample, kLast, fsRoot, gmChild))
    throw PLXException(static_cast<uint32_t>(m_Error), kModule, __LINE__);
  Put(text);
}

void Examples::Remove(const VARIANT& which) {
  const short n = Ordinal(which);
  if (n < 1 || !DeleteField(kExample, n, fsRoot, faSubtree)) {
    // A search that finds nothing leaves no code in the record; say what
    // happened rather than throw whatever the last operation left.
    m_Error = kNotFound;
    throw PLXException(static_cast<uint32_t>(m_Error), kModule, __LINE__);
  }
}

unsigned short* Examples::GetItem(const VARIANT& which) {
  const short n = Ordinal(which);
  return n < 1 ? nullptr : FindGetBSTR(kExample, n, fsRoot, faSubtree);
}

int32_t Examples::GetCount() { return GetFieldCount(kExample, fsRoot, faSubtree); }

int Examples::ReadCurrent(unsigned short** out) {
  unsigned short* text = nullptr;
  if (!Get(&text)) return 0;
  *out = text;
  return 1;
}

int Examples::GetFirst(unsigned short** out) {
  return FindField(kExample, 1, fsRoot, faSubtree) ? ReadCurrent(out) : 0;
}

// The record layer counts occurrences as they come, so the last one is
// asked for by its number.
int Examples::GetLast(unsigned short** out) {
  const unsigned short count = GetFieldCount(kExample, fsRoot, faSubtree);
  if (count == 0 || !FindField(kExample, static_cast<short>(count), fsRoot, faSubtree)) return 0;
  return ReadCurrent(out);
}

int Examples::Step(int forward, unsigned short** out) {
  void* start = GetCurrentField();
  for (;;) {
    bool moved = false;
    if (forward) {
      moved = GotoChild();
      while (!moved) {
        if (GotoNext()) {
          moved = true;
        } else if (!GotoParent()) {
          break;
        }
      }
    } else if (GotoPrevious()) {
      while (GotoChild()) GotoLast();
      moved = true;
    } else {
      moved = GotoParent();
    }
    if (!moved) {
      SetCurrentField(start);
      return 0;
    }
    if (GetTag() == kExample) return ReadCurrent(out);
  }
}

int Examples::GetNext(unsigned short** out) { return Step(1, out); }

int Examples::GetPrevious(unsigned short** out) { return Step(0, out); }

int Examples::GetCurrent(unsigned short** out) { return ReadCurrent(out); }

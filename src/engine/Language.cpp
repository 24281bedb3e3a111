#include <corvid5/Language.h>
#include <corvid5/Platform.h>
#include <strings.h>

#include "engine/Layout.h"

namespace {
constexpr unsigned short kNoRoot = 0;
constexpr unsigned short kPoolBlock = 256;
// A name in another language reads "<two-letter code><separator><name>".
constexpr unsigned kCodeLength = 2;
constexpr unsigned kNameStart = 3;
constexpr unsigned short kEmpty[] = {0};
}  // namespace

Language::Language() : FlmRecord(kNoRoot, kPoolBlock) {}

Language::Language(const Language& other) : FlmRecord(other) {}

Language& Language::operator=(Language& other) {
  FlmRecord::operator=(other);
  return *this;
}

Language& Language::operator=(FlmRecord& other) {
  FlmRecord::operator=(other);
  return *this;
}

Language::~Language() = default;

void Language::Destroy() { delete this; }

unsigned short* Language::GetCode() { return FindGetBSTR(layout::kCode, 1, fsRoot, faSubtree); }

unsigned short* Language::GetName(const char* code) {
  if (!code) return FindGetBSTR(layout::kName, 1, fsRoot, faSubtree);
  void* keep = GetCurrentField();
  unsigned short* name = nullptr;
  if (FindField(layout::kName, 1, fsRoot, faSubtree) && GotoChild()) {
    do {
      // Read wide: the narrow getter refuses a whole name that does not fit
      // a short buffer, and only the code in front is wanted here.
      unsigned short* whole = nullptr;
      if (!Get(&whole)) continue;
      const UINT length = SysStringLen(whole);
      char prefix[kCodeLength + 1] = {};
      for (unsigned i = 0; i < kCodeLength && i < length; ++i)
        prefix[i] = whole[i] < 0x80 ? static_cast<char>(whole[i]) : '?';
      if (strcasecmp(prefix, code) == 0)
        name = length >= kNameStart ? SysAllocString(whole + kNameStart) : SysAllocString(kEmpty);
      SysFreeString(whole);
    } while (!name && GotoNext());
  }
  SetCurrentField(keep);
  return name;
}

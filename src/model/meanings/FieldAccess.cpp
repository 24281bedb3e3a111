#include "model/meanings/FieldAccess.h"

#include <corvid5/Platform.h>

#include <climits>
#include <vector>

namespace meanings {

bool hasField(FlmRecord& record, unsigned short tag) {
  KeepCurrent keep(record);
  return record.FindField(tag, 1, fsRoot, faSubtree) != 0;
}

bool gotoChild(FlmRecord& record, unsigned short tag) {
  void* start = record.GetCurrentField();
  if (!record.GotoChild()) return false;
  do {
    if (record.GetTag() == tag) return true;
  } while (record.GotoNext());
  record.SetCurrentField(start);
  return false;
}

std::u16string currentText(FlmRecord& record) {
  unsigned short* text = nullptr;
  std::u16string out;
  if (record.Get(&text)) out = fromBSTR(text);
  SysFreeString(text);
  return out;
}

std::u16string fromBSTR(const unsigned short* text) {
  std::u16string out;
  if (!text) return out;
  for (const unsigned short* p = text; *p; ++p) out.push_back(static_cast<char16_t>(*p));
  return out;
}

unsigned short* toBSTR(const std::u16string& text) {
  if (text.size() > UINT_MAX / 2) return nullptr;
  BSTR out = SysAllocStringLen(nullptr, static_cast<UINT>(text.size()));
  if (!out) return nullptr;
  for (size_t i = 0; i < text.size(); ++i) out[i] = static_cast<unsigned short>(text[i]);
  return out;
}

void appendAscii(std::u16string& out, const char* text) {
  for (; *text; ++text) out.push_back(static_cast<char16_t>(static_cast<unsigned char>(*text)));
}

std::string toNarrow(const std::u16string& text) {
  if (text.empty() || text.size() > INT_MAX / 4) return {};
  std::string out(text.size() * 3, '\0');
  // The converter takes the platform's wide type; copy the units across
  // rather than alias the two character types.
  std::vector<unsigned short> units(text.begin(), text.end());
  int written = WideCharToMultiByte(CP_ACP, 0, units.data(), static_cast<int>(units.size()),
                                    out.data(), static_cast<int>(out.size()), nullptr, nullptr);
  out.resize(written > 0 ? static_cast<size_t>(written) : 0);
  return out;
}

const char* partOfSpeechText(unsigned code) {
  static const char* const kTexts[] = {"?", "n", "v", "a", "b", "pn"};
  return code < sizeof kTexts / sizeof kTexts[0] ? kTexts[code] : "";
}

}  // namespace meanings

#include "model/meanings/UsageLabel.h"

#include "engine/Layout.h"
#include "model/meanings/FieldAccess.h"

using namespace layout;

std::u16string UsageLabel::GetName() {
  meanings::KeepCurrent keep(*this);
  return FindField(kName, 1, fsRoot, faSubtree) ? meanings::currentText(*this) : std::u16string();
}

// Definitions have been written with the value text under its number and
// beside it in one entry; both are read.
bool UsageLabel::FindValue(unsigned short number, std::u16string* text) {
  meanings::KeepCurrent keep(*this);
  for (short list = 1; FindField(kValues, list, fsRoot, faSubtree); ++list) {
    void* values = GetCurrentField();
    for (short n = 1; FindField(kValue, n, fsCurrent, faSubtree); ++n) {
      unsigned short value = 0;
      if (Get(&value) && value == number) {
        text->clear();
        if (FindField(kValueText, 1, fsCurrent, faSubtree) ||
            FindField(kValueText, 1, fsCurrent, faNextSiblings))
          *text = meanings::currentText(*this);
        return true;
      }
      SetCurrentField(values);
    }
    SetCurrentField(values);
  }
  return false;
}

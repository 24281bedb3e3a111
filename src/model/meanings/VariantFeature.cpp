#include "model/meanings/VariantFeature.h"

#include "engine/Layout.h"
#include "model/meanings/FieldAccess.h"

using namespace layout;

namespace {
// A feature's free text value; the same number as the site name.
constexpr unsigned short kFreeValue = 22;
}  // namespace

std::u16string VariantFeature::GetName() {
  meanings::KeepCurrent keep(*this);
  return FindField(kName, 1, fsRoot, faSubtree) ? meanings::currentText(*this) : std::u16string();
}

bool VariantFeature::TakesValue() {
  meanings::KeepCurrent keep(*this);
  for (short list = 1; FindField(kValues, list, fsRoot, faSubtree); ++list)
    if (FindField(kFreeValue, 1, fsCurrent, faSubtree)) return true;
  return false;
}

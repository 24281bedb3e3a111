// The definition of a variant feature: its id, its name and whether it
// takes a free text value. Made and released by ConceptVariant only.
#ifndef CORVID5_MODEL_MEANINGS_VARIANTFEATURE_H
#define CORVID5_MODEL_MEANINGS_VARIANTFEATURE_H

#include <corvid5/FlmRecord.h>

#include "model/meanings/FieldAccess.h"

#include <string>

class VariantFeature : public FlmRecord {
 public:
  VariantFeature() : FlmRecord(meanings::kNoRoot, meanings::kPoolBlock) {}

  std::u16string GetName();
  // A feature with a free value names it by a field 22 in its value list.
  bool TakesValue();
};

#endif

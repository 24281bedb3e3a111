// The definition of a usage label: its id, its name and the values it
// allows. Made and released by ConceptVariant only.
#ifndef CORVID5_MODEL_MEANINGS_USAGELABEL_H
#define CORVID5_MODEL_MEANINGS_USAGELABEL_H

#include <corvid5/FlmRecord.h>

#include "model/meanings/FieldAccess.h"

#include <string>

class UsageLabel : public FlmRecord {
 public:
  UsageLabel() : FlmRecord(meanings::kNoRoot, meanings::kPoolBlock) {}

  std::u16string GetName();
  // The text of value `number` in the allowed values (field 7); false when
  // the list does not hold it.
  bool FindValue(unsigned short number, std::u16string* text);
};

#endif

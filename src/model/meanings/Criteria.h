// The criteria pieces the word-meaning queries are built from.
#ifndef CORVID5_MODEL_MEANINGS_CRITERIA_H
#define CORVID5_MODEL_MEANINGS_CRITERIA_H

#include <corvid5/FlmCursor.h>

#include <cstdint>

namespace meanings {

enum CriteriaOp : unsigned short {
  kOpAnd = 18,
  kOpOr = 19,
  kOpEqual = 21,
  kOpOpen = 39,
  kOpClose = 40,
};

// The pseudo-field naming a record's own number.
constexpr unsigned short kRecordNumberField = 32171;

// "field == value" appended to the criteria; 0 when the cursor refused a
// piece (its error says why).
template <class V>
int addEquals(FlmCursor& cursor, unsigned short field, V value) {
  return cursor.AddField(field, 0, 0) && cursor.AddOp(kOpEqual) && cursor.AddValue(value);
}

// "pointer == id", and "relationField == relation" unless the relation is 0,
// then validated.
inline int pointsAt(FlmCursor& cursor, unsigned short pointer, uint32_t id,
                    unsigned short relationField, short relation) {
  if (!addEquals(cursor, pointer, id)) return 0;
  if (relation != 0 && !(cursor.AddOp(kOpAnd) && addEquals(cursor, relationField, relation)))
    return 0;
  return cursor.Validate();
}

}  // namespace meanings

#endif

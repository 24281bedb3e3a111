// The walk every cursor collection shares: a new element for each read,
// handed out before the read and released again when the read finds nothing.
// The collections' public members forward here, one line each.
#ifndef CORVID5_MODEL_CURSORCOLLECTION_H
#define CORVID5_MODEL_CURSORCOLLECTION_H

#include <corvid5/FlmCursor.h>
#include <corvid5/FlmRecord.h>

#include <new>

namespace collections {

// Only the library makes elements, so their default constructors are
// protected; each element class names its own maker a friend.
template <class E>
struct Element {
  static E* Make() { return new (std::nothrow) E; }
};

// The element goes into *out before `fill` reads into it. A failed read, or no
// memory for the element, releases it and answers 0 without resetting *out:
// callers test the result, never the pointer.
template <class E, class Fill>
int readInto(E** out, Fill fill) {
  E* element = Element<E>::Make();
  *out = element;
  if (element && fill(*element)) return 1;
  delete element;
  return 0;
}

// One of the cursor's reads (ReadFirst, ReadNext, ...) into a new element.
// Where the cursor leaves off is the cursor's business: an unpositioned one
// reads its first record on ReadNext.
template <class E>
int read(FlmCursor& cursor, int (FlmCursor::*move)(FlmRecord&), E** out) {
  return readInto(out, [&cursor, move](E& element) { return (cursor.*move)(element); });
}

}  // namespace collections

#endif

// How a record's cursor reads reach the engine cursor behind an FlmCursor
// without the record layer depending on the cursor class: FlmCursor installs
// the two answers once (from FlmCursor.cpp), and FlmRecord::CursorFirst and
// its siblings ask them.
#ifndef CORVID5_STORAGE_CURSORACCESS_H
#define CORVID5_STORAGE_CURSORACCESS_H

class FlmContext;
class FlmCursor;

namespace storage {

struct CursorAccess {
  // The engine cursor (an flm::Cursor*, what FlmCursor::GetCursor() gives);
  // null before the cursor is made or after it is freed.
  void* (*engineCursor)(FlmCursor& cursor);
  // The cursor as the context that records read through it are bound to.
  const FlmContext& (*context)(FlmCursor& cursor);
};

// Installs `access` (which must outlive its use) and returns the one it
// replaces, or null. Until something is installed, cursor reads answer
// FERR_BAD_HDL, as for a cursor that was never made.
const CursorAccess* installCursorAccess(const CursorAccess* access);
const CursorAccess* installedCursorAccess();

}  // namespace storage

#endif

#include <corvid5/PLXException.h>
#include <corvid5/Relations.h>

#include <memory>
#include <new>

#include "engine/Layout.h"
#include "engine/ReadFailure.h"
#include "model/CursorCollection.h"
#include "model/meanings/Criteria.h"
#include "model/meanings/FieldAccess.h"

using namespace layout;
using namespace meanings;

// ---- Relation ----

Relation::Relation() : FlmRecord(kNoRoot, kPoolBlock) {}

Relation::Relation(const Relation& other) : FlmRecord(other) {}

Relation& Relation::operator=(Relation& other) = default;

Relation::~Relation() = default;

void Relation::Destroy() { delete this; }

short Relation::GetRelationID() { return static_cast<short>(GetID()); }

unsigned short* Relation::GetName() { return FindGetBSTR(kName, 1, fsRoot, faSubtree); }

// ---- Relations ----

Relations::Relations() = default;

Relations::Relations(void* database, unsigned short container, uint32_t store)
    : FlmCursor(database, container, store) {}

Relations::Relations(const Relations& other) = default;

Relations& Relations::operator=(const Relations& other) = default;

Relations::~Relations() = default;

void Relations::Destroy() { delete this; }

int Relations::GetFirst(Relation** out) {
  return collections::read(*this, &FlmCursor::ReadFirst, out);
}

int Relations::GetNext(Relation** out) {
  return collections::read(*this, &FlmCursor::ReadNext, out);
}

int Relations::GetPrevious(Relation** out) {
  return collections::read(*this, &FlmCursor::ReadPrevious, out);
}

int Relations::GetLast(Relation** out) {
  return collections::read(*this, &FlmCursor::ReadLast, out);
}

int Relations::GetCurrent(Relation** out) {
  return collections::read(*this, &FlmCursor::ReadCurrent, out);
}

uint32_t Relations::GetCount() { return GetRecCount(); }

Relation* Relations::GetItem(short relationID) {
  std::unique_ptr<Relation> relation(new (std::nothrow) Relation);
  if (!relation) throw PLXException(errOutOfMemory, "Relations", __LINE__);
  if (!ReadRecord(static_cast<uint32_t>(static_cast<int32_t>(relationID)), *relation)) {
    engine::throwIfReadFailed(m_Error, "Relations", __LINE__);
    throw PLXException(errInvalidRelation, "Relations", __LINE__);
  }
  return relation.release();
}

int Relations::GetRelationName(short relationID, char* name, short size) {
  FlmRecord relation(kNoRoot, kPoolBlock);
  // Sign-extended on purpose: a negative id names no record.
  if (!relation.Retrieve(GetDatabase(), kSystemStore, kData,
                         static_cast<uint32_t>(static_cast<int32_t>(relationID)))) {
    engine::throwIfReadFailed(relation.GetFlmError(), "Relations", __LINE__);
    return 0;
  }
  if (!relation.FindField(kName, 1, fsRoot, faSubtree)) return 0;
  return relation.Get(name, static_cast<unsigned short>(size)) ? 1 : 0;
}

int Relations::GetRelationID(char* name, short* relationID) {
  // The collection's master index is not wanted here: any order finds a name.
  FlmCursor cursor(GetDatabase(), GetContainer(), GetStore());
  if (!(addEquals(cursor, kName, static_cast<const char*>(name)) && cursor.Validate())) return 0;
  FlmRecord relation(kNoRoot, kPoolBlock);
  if (!cursor.ReadFirst(relation)) {
    engine::throwIfReadFailed(cursor.GetFlmError(), "Relations", __LINE__);
    return 0;
  }
  *relationID = static_cast<short>(relation.GetID());
  return 1;
}

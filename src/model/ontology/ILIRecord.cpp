#include <corvid5/ILIRecord.h>
#include <corvid5/TopConcept.h>

#include <new>

#include "engine/Layout.h"
#include "engine/ReadFailure.h"
#include "model/CursorCollection.h"
#include "model/meanings/Criteria.h"
#include "model/meanings/FieldAccess.h"

using namespace layout;

// ---- ILIRecord ----

ILIRecord::ILIRecord() : FlmRecord(meanings::kNoRoot, meanings::kPoolBlock) {}

ILIRecord::ILIRecord(void* database) : FlmRecord(kIliRecord, meanings::kPoolBlock) {
  SetSource(database, kData, kIliStore, 0);
}

ILIRecord::ILIRecord(const ILIRecord& other) : FlmRecord(other) {}

ILIRecord& ILIRecord::operator=(ILIRecord& other) = default;

ILIRecord& ILIRecord::operator=(FlmRecord& other) {
  FlmRecord::operator=(other);
  return *this;
}

ILIRecord::~ILIRecord() = default;

void ILIRecord::Destroy() { delete this; }

int32_t ILIRecord::GetRecordID() { return static_cast<int32_t>(GetID()); }

unsigned short* ILIRecord::GetGloss() { return FindGetBSTR(kGloss, 1, fsRoot, faSubtree); }

unsigned short* ILIRecord::GetPartOfSpeech() {
  const unsigned short code = FindGetWUWORD(kPos, 1, fsRoot, faSubtree);
  if (code > kProperNoun) return nullptr;
  std::u16string text;
  meanings::appendAscii(text, meanings::partOfSpeechText(code));
  return meanings::toBSTR(text);
}

int32_t ILIRecord::GetWordNetOffset() {
  void* keep = GetCurrentField();
  int32_t offset = 0;
  if (!FindField(kWordNetOffset, 1, fsRoot, faSubtree) || !Get(&offset)) offset = 0;
  SetCurrentField(keep);
  return offset;
}

int ILIRecord::GetTopConcept(TopConcept** topConcept) {
  if (!topConcept || !*topConcept) return 0;
  // The key is the id of whatever record the caller passed in (see the
  // header); the record it points at need not be a TopConcept at all.
  FlmRecord* key = static_cast<FlmRecord*>(static_cast<void*>(*topConcept));
  const int32_t id = static_cast<int32_t>(key->GetID());
  FlmCursor cursor(GetDatabase(), kTopConcepts, kIliStore);
  if (!(meanings::addEquals(cursor, kTargetIli, id) && cursor.Validate())) return 0;
  FlmRecord found(meanings::kNoRoot, meanings::kPoolBlock);
  if (!cursor.ReadFirst(found)) {
    engine::throwIfReadFailed(cursor.GetFlmError(), "ILIRecord", __LINE__);
    return 0;
  }
  TopConcept* top = new (std::nothrow) TopConcept;
  if (!top) return 0;
  *top = found;
  *topConcept = top;
  return 1;
}

int ILIRecord::GetDomain(Domain**) { return 0; }

// ---- ILIRecords ----

ILIRecords::ILIRecords() = default;

ILIRecords::ILIRecords(void* database, unsigned short container, uint32_t store)
    : FlmCursor(database, container, store) {}

ILIRecords::ILIRecords(const ILIRecords& other) = default;

ILIRecords& ILIRecords::operator=(const ILIRecords& other) = default;

ILIRecords::~ILIRecords() = default;

void ILIRecords::Destroy() { delete this; }

int ILIRecords::GetFirst(ILIRecord** out) {
  return collections::read(*this, &FlmCursor::ReadFirst, out);
}

int ILIRecords::GetNext(ILIRecord** out) {
  return collections::read(*this, &FlmCursor::ReadNext, out);
}

int ILIRecords::GetPrevious(ILIRecord** out) {
  return collections::read(*this, &FlmCursor::ReadPrevious, out);
}

int ILIRecords::GetLast(ILIRecord** out) {
  return collections::read(*this, &FlmCursor::ReadLast, out);
}

int ILIRecords::GetCurrent(ILIRecord** out) {
  return collections::read(*this, &FlmCursor::ReadCurrent, out);
}

int32_t ILIRecords::GetCount() { return static_cast<int32_t>(GetRecCount()); }

// ---- ILI ----

ILI::ILI() = default;

ILI::ILI(const ILI& other) = default;

ILI& ILI::operator=(const ILI& other) = default;

ILI::~ILI() = default;

void ILI::Destroy() { delete this; }

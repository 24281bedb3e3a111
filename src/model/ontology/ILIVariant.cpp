#include <corvid5/ILIVariant.h>

#include "engine/Layout.h"
#include "model/CursorCollection.h"
#include "model/meanings/FieldAccess.h"

using namespace layout;

// ---- ILIVariant ----

ILIVariant::ILIVariant() : FlmRecord(meanings::kNoRoot, meanings::kPoolBlock) {}

ILIVariant::ILIVariant(const ILIVariant& other) : FlmRecord(other) {}

ILIVariant& ILIVariant::operator=(ILIVariant& other) = default;

ILIVariant& ILIVariant::operator=(FlmRecord& other) {
  FlmRecord::operator=(other);
  return *this;
}

ILIVariant::~ILIVariant() = default;

void ILIVariant::Destroy() { delete this; }

unsigned short* ILIVariant::GetLiteral() { return FindGetBSTR(kLiteral, 1, fsRoot, faSubtree); }

short ILIVariant::GetSense() { return FindGetWSWORD(kSense, 1, fsRoot, faSubtree); }

unsigned short* ILIVariant::GetStatus() { return FindGetBSTR(kStatus, 1, fsRoot, faSubtree); }

// ---- ILIVariants ----

ILIVariants::ILIVariants() = default;

ILIVariants::ILIVariants(void* database, unsigned short container, uint32_t store)
    : FlmCursor(database, container, store) {}

ILIVariants::ILIVariants(const ILIVariants& other) = default;

ILIVariants& ILIVariants::operator=(const ILIVariants& other) = default;

ILIVariants::~ILIVariants() = default;

void ILIVariants::Destroy() { delete this; }

int ILIVariants::GetFirst(ILIVariant** out) {
  return collections::read(*this, &FlmCursor::ReadFirst, out);
}

int ILIVariants::GetNext(ILIVariant** out) {
  return collections::read(*this, &FlmCursor::ReadNext, out);
}

int ILIVariants::GetPrevious(ILIVariant** out) {
  return collections::read(*this, &FlmCursor::ReadPrevious, out);
}

int ILIVariants::GetLast(ILIVariant** out) {
  return collections::read(*this, &FlmCursor::ReadLast, out);
}

int ILIVariants::GetCurrent(ILIVariant** out) {
  return collections::read(*this, &FlmCursor::ReadCurrent, out);
}

int32_t ILIVariants::GetCount() { return static_cast<int32_t>(GetRecCount()); }

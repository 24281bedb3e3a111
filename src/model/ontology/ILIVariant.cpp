#include <corvid5/ILIVariant.h>

#include <new>

#include "engine/Layout.h"
#include "model/meanings/FieldAccess.h"

using namespace layout;
using meanings::navigate;

// ---- ILIVariant ----

ILIVariant::ILIVariant() : FlmRecord(meanings::kNoRoot, meanings::kPoolBlock) {}

ILIVariant::ILIVariant(const ILIVariant& other) : FlmRecord(other) {}

ILIVariant& ILIVariant::operator=(ILIVariant& other) {
  FlmRecord::operator=(other);
  return *this;
}

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

ILIVariants& ILIVariants::operator=(const ILIVariants& other) {
  FlmCursor::operator=(other);
  return *this;
}

ILIVariants::~ILIVariants() = default;

void ILIVariants::Destroy() { delete this; }

int ILIVariants::GetFirst(ILIVariant** out) {
  return navigate(*this, out, &FlmCursor::ReadFirst, [] { return new (std::nothrow) ILIVariant; });
}

int ILIVariants::GetNext(ILIVariant** out) {
  return navigate(*this, out, &FlmCursor::ReadNext, [] { return new (std::nothrow) ILIVariant; });
}

int ILIVariants::GetPrevious(ILIVariant** out) {
  return navigate(*this, out, &FlmCursor::ReadPrevious,
                  [] { return new (std::nothrow) ILIVariant; });
}

int ILIVariants::GetLast(ILIVariant** out) {
  return navigate(*this, out, &FlmCursor::ReadLast, [] { return new (std::nothrow) ILIVariant; });
}

int ILIVariants::GetCurrent(ILIVariant** out) {
  return navigate(*this, out, &FlmCursor::ReadCurrent,
                  [] { return new (std::nothrow) ILIVariant; });
}

int32_t ILIVariants::GetCount() { return static_cast<int32_t>(GetRecCount()); }

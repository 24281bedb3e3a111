#include <corvid5/TopConceptVariant.h>

#include <new>

#include "engine/Layout.h"
#include "model/meanings/FieldAccess.h"

using namespace layout;
using meanings::navigate;

// ---- TopConceptVariant ----

TopConceptVariant::TopConceptVariant() : FlmRecord(meanings::kNoRoot, meanings::kPoolBlock) {}

TopConceptVariant::TopConceptVariant(const TopConceptVariant& other) : FlmRecord(other) {}

TopConceptVariant& TopConceptVariant::operator=(TopConceptVariant& other) {
  FlmRecord::operator=(other);
  return *this;
}

TopConceptVariant& TopConceptVariant::operator=(FlmRecord& other) {
  FlmRecord::operator=(other);
  return *this;
}

TopConceptVariant::~TopConceptVariant() = default;

void TopConceptVariant::Destroy() { delete this; }

unsigned short* TopConceptVariant::GetLiteral() {
  return FindGetBSTR(kLiteral, 1, fsRoot, faSubtree);
}

short TopConceptVariant::GetSense() { return FindGetWSWORD(kSense, 1, fsRoot, faSubtree); }

unsigned short* TopConceptVariant::GetStatus() {
  return FindGetBSTR(kStatus, 1, fsRoot, faSubtree);
}

// ---- TopConceptVariants ----

TopConceptVariants::TopConceptVariants() = default;

TopConceptVariants::TopConceptVariants(void* database, unsigned short container, uint32_t store)
    : FlmCursor(database, container, store) {}

TopConceptVariants::TopConceptVariants(const TopConceptVariants& other) = default;

TopConceptVariants& TopConceptVariants::operator=(const TopConceptVariants& other) {
  FlmCursor::operator=(other);
  return *this;
}

TopConceptVariants::~TopConceptVariants() = default;

void TopConceptVariants::Destroy() { delete this; }

int TopConceptVariants::GetFirst(TopConceptVariant** out) {
  return navigate(*this, out, &FlmCursor::ReadFirst,
                  [] { return new (std::nothrow) TopConceptVariant; });
}

int TopConceptVariants::GetNext(TopConceptVariant** out) {
  return navigate(*this, out, &FlmCursor::ReadNext,
                  [] { return new (std::nothrow) TopConceptVariant; });
}

int TopConceptVariants::GetPrevious(TopConceptVariant** out) {
  return navigate(*this, out, &FlmCursor::ReadPrevious,
                  [] { return new (std::nothrow) TopConceptVariant; });
}

int TopConceptVariants::GetLast(TopConceptVariant** out) {
  return navigate(*this, out, &FlmCursor::ReadLast,
                  [] { return new (std::nothrow) TopConceptVariant; });
}

int TopConceptVariants::GetCurrent(TopConceptVariant** out) {
  return navigate(*this, out, &FlmCursor::ReadCurrent,
                  [] { return new (std::nothrow) TopConceptVariant; });
}

int32_t TopConceptVariants::GetCount() { return static_cast<int32_t>(GetRecCount()); }

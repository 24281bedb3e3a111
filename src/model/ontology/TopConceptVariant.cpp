#include <corvid5/TopConceptVariant.h>

#include "engine/Layout.h"
#include "model/CursorCollection.h"
#include "model/meanings/FieldAccess.h"

using namespace layout;

// ---- TopConceptVariant ----

TopConceptVariant::TopConceptVariant() : FlmRecord(meanings::kNoRoot, meanings::kPoolBlock) {}

TopConceptVariant::TopConceptVariant(const TopConceptVariant& other) : FlmRecord(other) {}

TopConceptVariant& TopConceptVariant::operator=(TopConceptVariant& other) = default;

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

TopConceptVariants& TopConceptVariants::operator=(const TopConceptVariants& other) = default;

TopConceptVariants::~TopConceptVariants() = default;

void TopConceptVariants::Destroy() { delete this; }

int TopConceptVariants::GetFirst(TopConceptVariant** out) {
  return collections::read(*this, &FlmCursor::ReadFirst, out);
}

int TopConceptVariants::GetNext(TopConceptVariant** out) {
  return collections::read(*this, &FlmCursor::ReadNext, out);
}

int TopConceptVariants::GetPrevious(TopConceptVariant** out) {
  return collections::read(*this, &FlmCursor::ReadPrevious, out);
}

int TopConceptVariants::GetLast(TopConceptVariant** out) {
  return collections::read(*this, &FlmCursor::ReadLast, out);
}

int TopConceptVariants::GetCurrent(TopConceptVariant** out) {
  return collections::read(*this, &FlmCursor::ReadCurrent, out);
}

int32_t TopConceptVariants::GetCount() { return static_cast<int32_t>(GetRecCount()); }

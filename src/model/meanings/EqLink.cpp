#include <corvid5/EqLink.h>

#include "model/CursorCollection.h"
#include "model/meanings/FieldAccess.h"

// ---- EqLink ----

EqLink::EqLink() : FlmRecord(meanings::kNoRoot, meanings::kPoolBlock) {}

EqLink::EqLink(const EqLink& other) : FlmRecord(other) {}

EqLink& EqLink::operator=(EqLink& other) = default;

EqLink::~EqLink() = default;

void EqLink::Destroy() { delete this; }

// ---- EqLinks ----

EqLinks::EqLinks() = default;

EqLinks::EqLinks(void* database, unsigned short container, uint32_t store)
    : FlmCursor(database, container, store) {}

EqLinks::EqLinks(const EqLinks& other) = default;

EqLinks& EqLinks::operator=(const EqLinks& other) = default;

EqLinks::~EqLinks() = default;

void EqLinks::Destroy() { delete this; }

int EqLinks::GetFirst(EqLink** out) { return collections::read(*this, &FlmCursor::ReadFirst, out); }

int EqLinks::GetNext(EqLink** out) { return collections::read(*this, &FlmCursor::ReadNext, out); }

int EqLinks::GetPrevious(EqLink** out) {
  return collections::read(*this, &FlmCursor::ReadPrevious, out);
}

int EqLinks::GetLast(EqLink** out) { return collections::read(*this, &FlmCursor::ReadLast, out); }

int EqLinks::GetCurrent(EqLink** out) {
  return collections::read(*this, &FlmCursor::ReadCurrent, out);
}

int32_t EqLinks::GetCount() { return static_cast<int32_t>(GetRecCount()); }

#include <corvid5/EqLink.h>

#include <new>

#include "model/meanings/FieldAccess.h"

using meanings::navigate;

// ---- EqLink ----

EqLink::EqLink() : FlmRecord(meanings::kNoRoot, meanings::kPoolBlock) {}

EqLink::EqLink(const EqLink& other) : FlmRecord(other) {}

EqLink& EqLink::operator=(EqLink& other) {
  FlmRecord::operator=(other);
  return *this;
}

EqLink::~EqLink() = default;

void EqLink::Destroy() { delete this; }

// ---- EqLinks ----

EqLinks::EqLinks() = default;

EqLinks::EqLinks(void* database, unsigned short container, uint32_t store)
    : FlmCursor(database, container, store) {}

EqLinks::EqLinks(const EqLinks& other) = default;

EqLinks& EqLinks::operator=(const EqLinks& other) {
  FlmCursor::operator=(other);
  return *this;
}

EqLinks::~EqLinks() = default;

void EqLinks::Destroy() { delete this; }

int EqLinks::GetFirst(EqLink** out) {
  return navigate(*this, out, &FlmCursor::ReadFirst, [] { return new (std::nothrow) EqLink; });
}

int EqLinks::GetNext(EqLink** out) {
  return navigate(*this, out, &FlmCursor::ReadNext, [] { return new (std::nothrow) EqLink; });
}

int EqLinks::GetPrevious(EqLink** out) {
  return navigate(*this, out, &FlmCursor::ReadPrevious, [] { return new (std::nothrow) EqLink; });
}

int EqLinks::GetLast(EqLink** out) {
  return navigate(*this, out, &FlmCursor::ReadLast, [] { return new (std::nothrow) EqLink; });
}

int EqLinks::GetCurrent(EqLink** out) {
  return navigate(*this, out, &FlmCursor::ReadCurrent, [] { return new (std::nothrow) EqLink; });
}

int32_t EqLinks::GetCount() { return static_cast<int32_t>(GetRecCount()); }

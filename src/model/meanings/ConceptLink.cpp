#include <corvid5/ConceptLink.h>

#include <corvid5/Concept.h>
#include <corvid5/ConceptVariant.h>
#include <corvid5/PLXException.h>

#include <memory>
#include <new>

#include "engine/Layout.h"
#include "model/CursorCollection.h"
#include "model/meanings/FieldAccess.h"

using namespace layout;
using namespace meanings;

namespace {

constexpr const char* kModule = "ConceptLink";
constexpr uint32_t kBadRecordNumber = 0xC00A;

}  // namespace

// ---- ConceptLink ----

ConceptLink::ConceptLink() : FlmRecord(kNoRoot, kPoolBlock) {}

ConceptLink::ConceptLink(const ConceptLink& other) : FlmRecord(other) {}

ConceptLink::~ConceptLink() = default;

void ConceptLink::Destroy() { delete this; }

short ConceptLink::GetRelation() { return FindGetWSWORD(kRelation, 1, fsRoot, faSubtree); }

int32_t ConceptLink::GetSourceConceptID() {
  return static_cast<int32_t>(FindGetRecPtr(kSourceConcept, 1, fsRoot, faSubtree));
}

int32_t ConceptLink::GetTargetConceptID() {
  return static_cast<int32_t>(FindGetRecPtr(kTargetConcept, 1, fsRoot, faSubtree));
}

Concept* ConceptLink::GetSourceConcept() { return RetrieveConcept(kSourceConcept); }

Concept* ConceptLink::GetTargetConcept() { return RetrieveConcept(kTargetConcept); }

ConceptVariant* ConceptLink::GetSourceVariant() { return RetrieveVariant(kSourceConcept); }

ConceptVariant* ConceptLink::GetTargetVariant() { return RetrieveVariant(kTargetConcept); }

short ConceptLink::GetConjunctive() { return FindGetWSWORD(kConjunctive, 1, fsRoot, faSubtree); }

short ConceptLink::GetDisjunctive() { return FindGetWSWORD(kDisjunctive, 1, fsRoot, faSubtree); }

short ConceptLink::GetFactivity() {
  if (hasField(*this, kFactive)) return 1;
  return hasField(*this, kNonFactive) ? 2 : 0;
}

int ConceptLink::GetNegative() { return hasField(*this, kNegative) ? 1 : 0; }

int ConceptLink::GetReversed() { return hasField(*this, kReversed) ? 1 : 0; }

Concept* ConceptLink::RetrieveConcept(unsigned short tag) {
  const uint32_t id = FindGetRecPtr(tag, 1, fsRoot, faSubtree);
  if (!id) throw PLXException(kBadRecordNumber, kModule, __LINE__);
  std::unique_ptr<Concept> meaning(new (std::nothrow) Concept);
  if (!meaning) throw PLXException(errOutOfMemory, kModule, __LINE__);
  if (!meaning->Retrieve(GetDatabase(), GetStore(), kMeanings, id)) {
    m_Error = meaning->GetFlmError();
    throw PLXException(static_cast<uint32_t>(m_Error), kModule, __LINE__);
  }
  return meaning.release();
}

ConceptVariant* ConceptLink::RetrieveVariant(unsigned short tag) {
  uint32_t id = 0;
  {
    KeepCurrent keep(*this);
    if (!FindField(tag, 1, fsRoot, faSubtree) || !gotoChild(*this, kVariant)) return nullptr;
    if (!Get(&id)) throw PLXException(kBadRecordNumber, kModule, __LINE__);
  }
  std::unique_ptr<ConceptVariant> variant(new (std::nothrow) ConceptVariant);
  if (!variant) throw PLXException(errOutOfMemory, kModule, __LINE__);
  if (!variant->Retrieve(GetDatabase(), GetStore(), kData, id)) {
    m_Error = variant->GetFlmError();
    throw PLXException(static_cast<uint32_t>(m_Error), kModule, __LINE__);
  }
  return variant.release();
}

// ---- ConceptLinks ----

ConceptLinks::ConceptLinks() = default;

ConceptLinks::ConceptLinks(void* database, unsigned short container, uint32_t store)
    : FlmCursor(database, container, store) {}

ConceptLinks::ConceptLinks(const ConceptLinks& other) = default;

ConceptLinks& ConceptLinks::operator=(const ConceptLinks& other) = default;

ConceptLinks::~ConceptLinks() = default;

void ConceptLinks::Destroy() { delete this; }

int ConceptLinks::GetFirst(ConceptLink** out) {
  return collections::read(*this, &FlmCursor::ReadFirst, out);
}

int ConceptLinks::GetNext(ConceptLink** out) {
  return collections::read(*this, &FlmCursor::ReadNext, out);
}

int ConceptLinks::GetPrevious(ConceptLink** out) {
  return collections::read(*this, &FlmCursor::ReadPrevious, out);
}

int ConceptLinks::GetLast(ConceptLink** out) {
  return collections::read(*this, &FlmCursor::ReadLast, out);
}

int ConceptLinks::GetCurrent(ConceptLink** out) {
  return collections::read(*this, &FlmCursor::ReadCurrent, out);
}

int32_t ConceptLinks::GetCount() { return static_cast<int32_t>(GetRecCount()); }

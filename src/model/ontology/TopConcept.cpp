#include <corvid5/PLXException.h>
#include <corvid5/TopConcept.h>
#include <corvid5/TopConceptVariant.h>

#include <memory>
#include <new>

#include "engine/Layout.h"
#include "engine/ReadFailure.h"
#include "model/CursorCollection.h"
#include "model/meanings/Criteria.h"
#include "model/meanings/FieldAccess.h"

using namespace layout;

namespace {

constexpr const char* kModule = "TopConcept";
// Where PutGloss inserts a gloss the record lacks.
constexpr short kGlossPosition = -32767;

int variantCriteria(FlmCursor& cursor, uint32_t topConcept) {
  cursor.SetMasterIndex(kTopConceptVariantsByConcept, 1);
  return meanings::addEquals(cursor, kTargetTopConcept, topConcept) && cursor.Validate();
}

// A top concept read afresh from the ontology; null when it is not there or
// could not be read, and `error` (when given) then says which.
TopConcept* readTopConcept(void* database, uint32_t id, FlmError* error = nullptr) {
  FlmRecord record(meanings::kNoRoot, meanings::kPoolBlock);
  const int read = record.Retrieve(database, kIliStore, kTopConcepts, id);
  if (error) *error = record.GetFlmError();
  if (!read) return nullptr;
  TopConcept* topConcept = collections::Element<TopConcept>::Make();
  if (topConcept) *topConcept = record;
  return topConcept;
}

}  // namespace

// ---- TopConcept ----

TopConcept::TopConcept() : FlmRecord(meanings::kNoRoot, meanings::kPoolBlock) {}

TopConcept::TopConcept(const TopConcept& other) : FlmRecord(other) {}

TopConcept& TopConcept::operator=(TopConcept& other) = default;

TopConcept& TopConcept::operator=(FlmRecord& other) {
  FlmRecord::operator=(other);
  return *this;
}

TopConcept::~TopConcept() = default;

void TopConcept::Destroy() { delete this; }

int32_t TopConcept::GetRecordID() { return static_cast<int32_t>(GetID()); }

unsigned short* TopConcept::GetGloss() { return FindGetBSTR(kGloss, 1, fsRoot, faSubtree); }

void TopConcept::PutGloss(const char* gloss) {
  AssignField(kGloss, gloss, 1, kGlossPosition, fsRoot, faSubtree);
}

int TopConcept::GetSuper(TopConcept** super) {
  *super = nullptr;
  uint32_t id = 0;
  {
    meanings::KeepCurrent keep(*this);
    if (!FindField(kOntologyLinks, 1, fsRoot, faSubtree)) return 0;
    if (!FindField(kSuperConcept, 1, fsCurrent, faSubtree)) return 0;
    if (!Get(&id)) return 0;
  }
  FlmError error;
  *super = readTopConcept(GetDatabase(), id, &error);
  if (!*super) engine::throwIfReadFailed(error, kModule, __LINE__);
  return *super ? 1 : 0;
}

int TopConcept::GetSubs(LinkedTopConcepts** subs) {
  return GetLinkedTopConcepts(kSubConcept, subs);
}

int TopConcept::GetSimilars(LinkedTopConcepts** similars) {
  return GetLinkedTopConcepts(kSimilarConcept, similars);
}

int TopConcept::GetOpposites(LinkedTopConcepts** opposites) {
  return GetLinkedTopConcepts(kOppositeConcept, opposites);
}

int TopConcept::GetLinkedTopConcepts(unsigned short tag, LinkedTopConcepts** list) {
  *list = nullptr;
  meanings::KeepCurrent keep(*this);
  if (!FindField(kOntologyLinks, 1, fsRoot, faSubtree)) return 0;
  const unsigned short count = GetFieldCount(tag, fsCurrent, faSubtree);
  if (count == 0 || !GetDatabase()) return 0;
  LinkedTopConcepts* linked = new (std::nothrow) LinkedTopConcepts(GetDatabase(), count);
  if (!linked) return 0;
  *list = linked;
  for (unsigned short i = 1; i <= count; ++i) {
    FindField(kOntologyLinks, 1, fsRoot, faSubtree);
    const uint32_t id = FindGetRecPtr(tag, static_cast<short>(i), fsCurrent, faSubtree);
    // A list with a hole is refused whole rather than handed out shortened.
    if (id == 0) {
      linked->Destroy();
      return 0;
    }
    linked->SetRecPtr(i, id);
  }
  return 1;
}

TopConceptVariants* TopConcept::GetTopConceptVariants(uint32_t storeID) {
  std::unique_ptr<TopConceptVariants> variants(new (std::nothrow) TopConceptVariants);
  if (!variants) throw PLXException(errOutOfMemory, kModule, __LINE__);
  variants->Init(GetDatabase(), kData, storeID);
  if (!variantCriteria(*variants, GetID())) {
    m_Error = variants->GetFlmError().GetError();
    throw PLXException(static_cast<uint32_t>(m_Error), kModule, __LINE__);
  }
  return variants.release();
}

short TopConcept::GetTopConceptVariantCount(uint32_t storeID) {
  FlmCursor cursor(GetDatabase(), kData, storeID);
  if (!variantCriteria(cursor, GetID())) {
    m_Error = cursor.GetFlmError().GetError();
    throw PLXException(static_cast<uint32_t>(m_Error), kModule, __LINE__);
  }
  return static_cast<short>(cursor.GetRecCount());
}

TopConceptVariant* TopConcept::GetTopConceptVariant(uint32_t storeID, short n) {
  FlmCursor cursor(GetDatabase(), kData, storeID);
  if (!variantCriteria(cursor, GetID())) {
    m_Error = cursor.GetFlmError().GetError();
    throw PLXException(static_cast<uint32_t>(m_Error), kModule, __LINE__);
  }
  FlmRecord record(meanings::kNoRoot, meanings::kPoolBlock);
  int read = cursor.ReadFirst(record);
  for (short counter = 1; read && counter != n; ++counter) read = cursor.ReadNext(record);
  if (!read) {
    engine::throwIfReadFailed(cursor.GetFlmError(), kModule, __LINE__);
    throw PLXException(errInvalidVariantNumber, nullptr, 0);
  }
  std::unique_ptr<TopConceptVariant> variant(new (std::nothrow) TopConceptVariant);
  if (!variant) throw PLXException(errOutOfMemory, kModule, __LINE__);
  *variant = record;
  return variant.release();
}

// ---- CursorTopConcepts ----

CursorTopConcepts::CursorTopConcepts() = default;

CursorTopConcepts::CursorTopConcepts(void* database, unsigned short container, uint32_t store)
    : FlmCursor(database, container, store) {}

CursorTopConcepts::CursorTopConcepts(const CursorTopConcepts& other) = default;

CursorTopConcepts& CursorTopConcepts::operator=(const CursorTopConcepts& other) = default;

CursorTopConcepts::~CursorTopConcepts() = default;

void CursorTopConcepts::Destroy() { delete this; }

short CursorTopConcepts::GetCount() { return static_cast<short>(GetRecCount()); }

int CursorTopConcepts::GetFirst(TopConcept** out) {
  return collections::read(*this, &FlmCursor::ReadFirst, out);
}

int CursorTopConcepts::GetNext(TopConcept** out) {
  return collections::read(*this, &FlmCursor::ReadNext, out);
}

int CursorTopConcepts::GetPrevious(TopConcept** out) {
  return collections::read(*this, &FlmCursor::ReadPrevious, out);
}

int CursorTopConcepts::GetLast(TopConcept** out) {
  return collections::read(*this, &FlmCursor::ReadLast, out);
}

int CursorTopConcepts::GetCurrent(TopConcept** out) {
  return collections::read(*this, &FlmCursor::ReadCurrent, out);
}

// ---- LinkedTopConcepts ----

// Shared by copies; the last one to let go frees it.
struct LinkedTopConcepts::Ids {
  explicit Ids(int32_t count) : ids(new (std::nothrow) uint32_t[count > 0 ? count : 1]()) {}
  ~Ids() { delete[] ids; }
  int32_t references = 1;
  uint32_t* ids;
};

LinkedTopConcepts::LinkedTopConcepts(void* database, int count)
    : FlmContext(database, kData, kDatabaseStore),
      m_pIds(new (std::nothrow) Ids(count)),
      m_nCount(m_pIds && m_pIds->ids ? count : 0),
      m_nPosition(0) {}

LinkedTopConcepts::LinkedTopConcepts(const LinkedTopConcepts& other)
    : FlmContext(other),
      TopConcepts(other),
      m_pIds(other.m_pIds),
      m_nCount(other.m_nCount),
      m_nPosition(other.m_nPosition) {
  if (m_pIds) ++m_pIds->references;
}

LinkedTopConcepts& LinkedTopConcepts::operator=(const LinkedTopConcepts& other) {
  if (this == &other) return *this;
  if (other.m_pIds) ++other.m_pIds->references;
  Release();
  FlmContext::operator=(other);
  m_pIds = other.m_pIds;
  m_nCount = other.m_nCount;
  m_nPosition = other.m_nPosition;
  return *this;
}

LinkedTopConcepts::~LinkedTopConcepts() { Release(); }

void LinkedTopConcepts::Release() {
  if (m_pIds && --m_pIds->references == 0) delete m_pIds;
  m_pIds = nullptr;
}

void LinkedTopConcepts::Destroy() { delete this; }

short LinkedTopConcepts::GetCount() { return static_cast<short>(m_nCount); }

void LinkedTopConcepts::SetRecPtr(int position, uint32_t id) {
  if (position >= 1 && position <= m_nCount) m_pIds->ids[position - 1] = id;
}

int LinkedTopConcepts::Goto(int position, TopConcept** topConcept) {
  *topConcept = nullptr;
  if (position < 1 || position > m_nCount) return 0;
  // Walking throws nothing: a linked concept that cannot be read ends the
  // walk short of the count, which is how a client can tell.
  *topConcept = readTopConcept(GetDatabase(), m_pIds->ids[position - 1]);
  if (!*topConcept) return 0;
  m_nPosition = position;
  return 1;
}

int LinkedTopConcepts::GetFirst(TopConcept** out) { return Goto(1, out); }

int LinkedTopConcepts::GetNext(TopConcept** out) { return Goto(m_nPosition + 1, out); }

int LinkedTopConcepts::GetPrevious(TopConcept** out) { return Goto(m_nPosition - 1, out); }

int LinkedTopConcepts::GetLast(TopConcept** out) { return Goto(m_nCount, out); }

int LinkedTopConcepts::GetCurrent(TopConcept** out) { return Goto(m_nPosition, out); }

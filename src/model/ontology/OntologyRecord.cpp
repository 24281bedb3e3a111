#include <corvid5/OntologyRecord.h>

#include "engine/Layout.h"
#include "model/meanings/FieldAccess.h"

using namespace layout;

namespace {
constexpr short kLast = 32767;
}  // namespace

// ---- OntologyRecord ----

OntologyRecord::OntologyRecord(unsigned short rootTag, int allowOpposites)
    : FlmRecord(rootTag, meanings::kPoolBlock),
      m_nRootTag(rootTag),
      m_bAllowOpposites(allowOpposites) {}

OntologyRecord::OntologyRecord(const OntologyRecord& other)
    : FlmRecord(other), m_nRootTag(other.m_nRootTag), m_bAllowOpposites(other.m_bAllowOpposites) {}

OntologyRecord& OntologyRecord::operator=(OntologyRecord& other) {
  FlmRecord::operator=(other);
  m_nRootTag = other.m_nRootTag;
  m_bAllowOpposites = other.m_bAllowOpposites;
  return *this;
}

OntologyRecord& OntologyRecord::operator=(FlmRecord& other) {
  FlmRecord::operator=(other);
  return *this;
}

OntologyRecord::~OntologyRecord() = default;

void OntologyRecord::Destroy() { delete this; }

int32_t OntologyRecord::GetRecordID() { return static_cast<int32_t>(GetID()); }

int OntologyRecord::GetGloss(unsigned short** gloss) {
  meanings::KeepCurrent keep(*this);
  if (!FindField(kGloss, 1, fsRoot, faSubtree)) return 0;
  *gloss = nullptr;
  return Get(gloss) ? 1 : 0;
}

int OntologyRecord::PutGloss(const char* gloss) {
  if (!FindField(kGloss, 1, fsRoot, faSubtree) && !AddField(kGloss, kLast, fsRoot, gmChild))
    return 0;
  return Put(gloss) ? 1 : 0;
}

int OntologyRecord::Link(eOntologyRelation kind, uint32_t) {
  if (kind == olOpposite && !m_bAllowOpposites) return 0;
  if (!FindField(kOntologyLinks, 1, fsRoot, faSubtree))
    AddField(kOntologyLinks, kLast, fsRoot, gmChild);
  return 0;
}

// ---- OntologyRecords ----

OntologyRecords::OntologyRecords(void* database, unsigned short container, uint32_t store)
    : FlmCursor(database, container, store) {}

OntologyRecords::OntologyRecords(const OntologyRecords& other) = default;

OntologyRecords& OntologyRecords::operator=(const OntologyRecords& other) = default;

OntologyRecords::~OntologyRecords() = default;

void OntologyRecords::Destroy() { delete this; }

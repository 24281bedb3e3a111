#include <corvid5/Concept.h>
#include <corvid5/ConceptVariant.h>
#include <corvid5/Dictionary.h>
#include <corvid5/ILIVariant.h>
#include <corvid5/Language.h>
#include <corvid5/LanguageWordNet.h>
#include <corvid5/PLXException.h>
#include <corvid5/TopConceptVariant.h>

#include <memory>
#include <new>
#include <string>

#include "engine/Layout.h"
#include "engine/ReadFailure.h"
#include "model/meanings/ConceptExporter.h"
#include "model/meanings/Criteria.h"
#include "model/meanings/FieldAccess.h"

using namespace layout;
using namespace meanings;

namespace {

constexpr const char* kModule = "LanguageWordNet";
// What a descriptor found by its code answers when it names no store.
constexpr uint32_t kNoStore = 0xC083;
constexpr unsigned short kCaseSensitive = 1;
constexpr unsigned char kFirstComponent = 1;
constexpr unsigned char kSecondComponent = 2;

bool isLanguageStore(uint32_t store) {
  return store >= kFirstLanguageStore && store <= kLastLanguageStore;
}

template <class C>
std::unique_ptr<C> made(C* collection) {
  if (!collection) throw PLXException(errOutOfMemory, kModule, __LINE__);
  return std::unique_ptr<C>(collection);
}

int pathEquals(FlmCursor& cursor, unsigned short root, unsigned short field, uint32_t id) {
  unsigned short path[] = {root, field};
  return cursor.AddField(path, 2, 0) && cursor.AddOp(kOpEqual) && cursor.AddValue(id) &&
         cursor.Validate();
}

}  // namespace

// ---- LanguageWordNet ----

LanguageWordNet::LanguageWordNet() : FlmRecord(kNoRoot, kPoolBlock), m_pExporter(nullptr) {}

LanguageWordNet::LanguageWordNet(const LanguageWordNet& other)
    : FlmRecord(other), m_pExporter(nullptr) {
  if (other.m_pExporter) m_pExporter = new ConceptExporter(GetDatabase(), GetStoreID());
}

LanguageWordNet& LanguageWordNet::operator=(LanguageWordNet& other) {
  return *this = static_cast<FlmRecord&>(other);
}

LanguageWordNet& LanguageWordNet::operator=(FlmRecord& record) {
  FlmRecord::operator=(record);
  const uint32_t store = GetStoreID();
  void* database = GetDatabase();
  if (database && isLanguageStore(store)) {
    SetSource(database, kDescriptorSource, store, 0);
    delete m_pExporter;
    m_pExporter = nullptr;
    m_pExporter = new ConceptExporter(database, store);
  }
  return *this;
}

LanguageWordNet::~LanguageWordNet() { delete m_pExporter; }

void LanguageWordNet::Destroy() { delete this; }

uint32_t LanguageWordNet::GetStoreID() {
  // FindGetWSDWORD reads 16 bits only; the store id is a whole 32-bit number.
  KeepCurrent keep(*this);
  int32_t store = 0;
  if (!FindField(kStoreId, 1, fsRoot, faSubtree) || !Get(&store)) store = 0;
  return static_cast<uint32_t>(store);
}

Language* LanguageWordNet::GetLanguage() {
  Language* language = new (std::nothrow) Language;
  if (!language) throw PLXException(errOutOfMemory, kModule, __LINE__);
  *language = static_cast<FlmRecord&>(*this);
  return language;
}

Concepts* LanguageWordNet::GetConcepts() {
  return made(new (std::nothrow) Concepts(GetDatabase(), kMeanings, GetStoreID())).release();
}

Concepts* LanguageWordNet::GetConcepts(const char* literal) {
  auto concepts = made(new (std::nothrow) Concepts);
  const uint32_t store = GetStoreID();
  // The join reads in its context sets alone; the cursor's own place is what
  // the meanings it hands out report as theirs, and they need it to reach
  // their variants and links.
  concepts->Init(GetDatabase(), kMeanings, store);
  const unsigned short variants = concepts->OpenContextSet();
  concepts->AddContextToSet(variants, GetDatabase(), store, kData);
  const unsigned short meanings = concepts->OpenContextSet();
  concepts->AddContextToSet(meanings, GetDatabase(), store, kMeanings);
  concepts->SetIndex(kMeaningsByType, kMeaningsByType);
  unsigned short meaningOfVariant[] = {kVariant, kConcept};
  unsigned short literalOfVariant[] = {kVariant, kLiteral};
  const int built = concepts->AddField(meaningOfVariant, 2, static_cast<short>(variants)) &&
                    concepts->AddOp(kOpEqual) &&
                    concepts->AddField(kRecordNumberField, meanings, 0) &&
                    concepts->AddOp(kOpAnd) &&
                    concepts->AddField(literalOfVariant, 2, static_cast<short>(variants)) &&
                    concepts->AddOp(kOpEqual) && concepts->AddValue(literal ? literal : "") &&
                    concepts->Validate();
  if (!built) {
    m_Error = concepts->GetFlmError().GetError();
    throw PLXException(static_cast<uint32_t>(m_Error), kModule, __LINE__);
  }
  return concepts.release();
}

Concepts* LanguageWordNet::GetConcepts(uint32_t iliRecordID, short relation) {
  const uint32_t store = GetStoreID();
  FlmCursor links(GetDatabase(), kEqLinks, store);
  links.SetIndex(0, kEqLinksByIli);
  if (!pointsAt(links, kTargetIli, iliRecordID, kEqRelation, relation) || links.GetRecCount() == 0)
    return nullptr;
  std::unique_ptr<Concepts> concepts(new (std::nothrow) Concepts(GetDatabase(), kMeanings, store));
  if (!concepts) return nullptr;
  FlmRecord link(kNoRoot, kPoolBlock);
  bool first = true;
  for (int read = links.ReadFirst(link); read; read = links.ReadNext(link), first = false) {
    const uint32_t meaning = link.FindGetRecPtr(kConcept, 1, fsRoot, faSubtree);
    if (!(first || concepts->AddOp(kOpOr))) return nullptr;
    if (!(addEquals(*concepts, kRecordNumberField, meaning) && concepts->Validate()))
      return nullptr;
  }
  engine::throwIfReadFailed(links.GetFlmError(), kModule, __LINE__);
  return concepts.release();
}

ConceptVariants* LanguageWordNet::GetConceptVariants(const char* literal) {
  auto variants = made(new (std::nothrow) ConceptVariants(GetDatabase(), kData, GetStoreID()));
  variants->SetMasterIndex(kByLiteral, kFirstComponent);
  variants->CaseSensitive(kCaseSensitive);
  variants->Wildcards(0);
  unsigned short path[] = {kVariant, kLiteral};
  if (!(variants->AddField(path, 2, 0) && variants->AddOp(kOpEqual) &&
        variants->AddValue(literal ? literal : "") && variants->Validate())) {
    m_Error = variants->GetFlmError().GetError();
    throw PLXException(static_cast<uint32_t>(m_Error), kModule, __LINE__);
  }
  return variants.release();
}

Dictionary* LanguageWordNet::GetDictionary() {
  auto dictionary = made(new (std::nothrow) Dictionary(GetDatabase(), kData, GetStoreID()));
  dictionary->SetMasterIndex(kByLiteral, kSecondComponent);
  return dictionary.release();
}

ILIVariants* LanguageWordNet::GetILIVariants(uint32_t iliRecordID) {
  auto variants = made(new (std::nothrow) ILIVariants(GetDatabase(), kData, GetStoreID()));
  variants->SetMasterIndex(kIliVariantsByRecord, kFirstComponent);
  if (!pathEquals(*variants, kIliVariant, kTargetIli, iliRecordID)) {
    m_Error = variants->GetFlmError().GetError();
    throw PLXException(static_cast<uint32_t>(m_Error), kModule, __LINE__);
  }
  return variants.release();
}

TopConceptVariants* LanguageWordNet::GetTopConceptVariants(uint32_t topConceptID) {
  auto variants = made(new (std::nothrow) TopConceptVariants(GetDatabase(), kData, GetStoreID()));
  variants->SetMasterIndex(kTopConceptVariantsByConcept, kFirstComponent);
  if (!pathEquals(*variants, kTopConceptVariant, kTargetTopConcept, topConceptID)) {
    m_Error = variants->GetFlmError().GetError();
    throw PLXException(static_cast<uint32_t>(m_Error), kModule, __LINE__);
  }
  return variants.release();
}

int LanguageWordNet::ExportConcept(Concept* meaning, unsigned short** text) {
  *text = nullptr;
  if (!meaning || !m_pExporter) return 0;
  FlmRecord record(*meaning);
  std::u16string written;
  if (!m_pExporter->Export(record, written)) return 0;
  *text = ConceptExporter::MakeBSTR(written);
  return *text ? 1 : 0;
}

// ---- LanguageWordNets ----

LanguageWordNets::LanguageWordNets() = default;

LanguageWordNets::LanguageWordNets(void* database, unsigned short container, uint32_t store)
    : FlmCursor(database, container, store) {}

LanguageWordNets::LanguageWordNets(const LanguageWordNets& other) = default;

LanguageWordNets& LanguageWordNets::operator=(const LanguageWordNets& other) = default;

LanguageWordNets::~LanguageWordNets() = default;

void LanguageWordNets::Destroy() { delete this; }

int LanguageWordNets::Read(int (FlmCursor::*read)(FlmRecord&), LanguageWordNet** out) {
  FlmRecord descriptor(kNoRoot, kPoolBlock);
  if (!(this->*read)(descriptor)) {
    *out = nullptr;
    return 0;
  }
  std::unique_ptr<LanguageWordNet> wordnet(new (std::nothrow) LanguageWordNet);
  *out = nullptr;
  if (!wordnet) return 0;
  // Loading makes the exporter, which reads the database and may throw: the
  // wordnet is then released here, since the caller never got it.
  *wordnet = descriptor;
  *out = wordnet.release();
  return 1;
}

int LanguageWordNets::GetFirst(LanguageWordNet** out) { return Read(&FlmCursor::ReadFirst, out); }

int LanguageWordNets::GetNext(LanguageWordNet** out) { return Read(&FlmCursor::ReadNext, out); }

int LanguageWordNets::GetPrevious(LanguageWordNet** out) {
  return Read(&FlmCursor::ReadPrevious, out);
}

int LanguageWordNets::GetLast(LanguageWordNet** out) { return Read(&FlmCursor::ReadLast, out); }

int LanguageWordNets::GetCurrent(LanguageWordNet** out) {
  return Read(&FlmCursor::ReadCurrent, out);
}

short LanguageWordNets::GetCount() { return static_cast<short>(GetRecCount()); }

LanguageWordNet* LanguageWordNets::GetItem(uint32_t recordID) {
  FlmRecord descriptor(kNoRoot, kPoolBlock);
  if (!ReadRecord(recordID, descriptor))
    throw PLXException(static_cast<uint32_t>(m_Error), kModule, __LINE__);
  std::unique_ptr<LanguageWordNet> wordnet(made(new (std::nothrow) LanguageWordNet));
  *wordnet = descriptor;
  wordnet->SetSource(GetDatabase(), kMeanings, wordnet->GetStoreID(), 0);
  return wordnet.release();
}

LanguageWordNet* LanguageWordNets::GetItem(const char* code) {
  ClearCriteria();
  FlmRecord descriptor(kNoRoot, kPoolBlock);
  if (!(addEquals(*this, kCode, code ? code : "") && Validate() && ReadFirst(descriptor)))
    throw PLXException(static_cast<uint32_t>(m_Error), kModule, __LINE__);
  std::unique_ptr<LanguageWordNet> wordnet(made(new (std::nothrow) LanguageWordNet));
  *wordnet = descriptor;
  const uint32_t store = wordnet->GetStoreID();
  if (store == 0) throw PLXException(kNoStore, kModule, __LINE__);
  wordnet->SetSource(GetDatabase(), kMeanings, store, 0);
  return wordnet.release();
}

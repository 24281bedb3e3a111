#include <corvid5/Concept.h>
#include <corvid5/ConceptLink.h>
#include <corvid5/ConceptVariant.h>
#include <corvid5/EqLink.h>
#include <corvid5/ILIRecord.h>
#include <corvid5/PLXException.h>
#include <corvid5/Platform.h>

#include <cstring>
#include <memory>
#include <new>

#include "engine/Layout.h"
#include "engine/ReadFailure.h"
#include "model/CursorCollection.h"
#include "model/meanings/Criteria.h"
#include "model/meanings/FieldAccess.h"
#include "model/meanings/RecordExport.h"

using namespace layout;
using namespace meanings;

namespace {

constexpr const char* kModule = "Concept";
constexpr short kLast = 32767;
// The write flag new meanings have always been added with.
constexpr int kAddFlags = 2;

// Compared in this order, case-insensitively; "p" and "r" are accepted on
// input only.
struct PosName {
  const char* text;
  unsigned short code;
};
constexpr PosName kPosNames[] = {{"n", kNoun},      {"pn", kProperNoun}, {"p", kProperNoun},
                                 {"v", kVerb},      {"a", kAdjective},   {"b", kAdverb},
                                 {"r", kAdverb}};

bool sameLetters(const char* a, const char* b) {
  for (; *a && *b; ++a, ++b) {
    char x = *a >= 'A' && *a <= 'Z' ? static_cast<char>(*a - 'A' + 'a') : *a;
    if (x != *b) return false;
  }
  return *a == *b;
}

unsigned short posCode(const char* text) {
  if (!text) return kNoPos;
  for (const PosName& p : kPosNames)
    if (sameLetters(text, p.text)) return p.code;
  return kNoPos;
}

// The collection, allocated and opened on its place; gone again if the
// cursor layer throws on the way.
template <class C, class Make>
std::unique_ptr<C> openCollection(Make make, void* database, unsigned short container,
                                  uint32_t store, int line) {
  std::unique_ptr<C> collection(make());
  if (!collection) throw PLXException(errOutOfMemory, kModule, line);
  collection->Init(database, container, store);
  return collection;
}

int variantCriteria(FlmCursor& cursor, uint32_t meaning) {
  cursor.SetMasterIndex(kVariantsByConcept, 0);
  return pointsAt(cursor, kConcept, meaning, 0, 0);
}

}  // namespace

// ---- Concept ----

Concept::Concept() : FlmRecord(kNoRoot, kPoolBlock) {}

Concept::Concept(void* database, uint32_t store) : FlmRecord(kConcept, kPoolBlock) {
  SetSource(database, kMeanings, store, 0);
}

Concept::Concept(const Concept& other) : FlmRecord(other) {}

Concept& Concept::operator=(Concept& other) = default;

Concept& Concept::operator=(FlmRecord& other) {
  FlmRecord::operator=(other);
  return *this;
}

Concept::~Concept() = default;

void Concept::Destroy() { delete this; }

int32_t Concept::GetRecordID() { return static_cast<int32_t>(GetID()); }

short Concept::GetType() { return static_cast<short>(FindGetWUWORD(kType, 1, fsRoot, faSubtree)); }

short Concept::GetPartOfSpeechCode() {
  return static_cast<short>(FindGetWUWORD(kPos, 1, fsRoot, faSubtree));
}

unsigned short* Concept::GetPartOfSpeech() {
  std::u16string text;
  appendAscii(text, partOfSpeechText(static_cast<unsigned short>(GetPartOfSpeechCode())));
  return toBSTR(text);
}

short Concept::GetPartOfSpeech(char* buffer, short size) {
  if (!buffer || size < 1) return 0;
  const char* text = partOfSpeechText(static_cast<unsigned short>(GetPartOfSpeechCode()));
  const size_t length = std::strlen(text);
  if (static_cast<size_t>(size) > length) {
    std::memcpy(buffer, text, length + 1);
    return static_cast<short>(length);
  }
  buffer[0] = '\0';
  return 0;
}

ConceptVariants* Concept::GetConceptVariants() {
  auto variants = openCollection<ConceptVariants>(
      [] { return new (std::nothrow) ConceptVariants; }, GetDatabase(), kData, GetStore(),
      __LINE__);
  if (!variantCriteria(*variants, GetID())) {
    m_Error = variants->GetFlmError();
    throw PLXException(static_cast<uint32_t>(m_Error), kModule, __LINE__);
  }
  return variants.release();
}

ConceptVariant* Concept::GetConceptVariant(short n) {
  FlmCursor cursor(GetDatabase(), kData, GetStore());
  if (!variantCriteria(cursor, GetID())) {
    m_Error = cursor.GetFlmError();
    throw PLXException(static_cast<uint32_t>(m_Error), kModule, __LINE__);
  }
  std::unique_ptr<ConceptVariant> variant(new (std::nothrow) ConceptVariant);
  if (!variant) throw PLXException(errOutOfMemory, kModule, __LINE__);
  int read = n >= 1 && cursor.ReadFirst(*variant);
  for (short count = 1; read && count < n; ++count) read = cursor.ReadNext(*variant);
  if (!read) {
    engine::throwIfReadFailed(cursor.GetFlmError(), kModule, __LINE__);
    throw PLXException(errInvalidVariantNumber, kModule, __LINE__);
  }
  return variant.release();
}

short Concept::GetConceptVariantCount() {
  FlmCursor cursor(GetDatabase(), kData, GetStore());
  if (!variantCriteria(cursor, GetID())) {
    m_Error = cursor.GetFlmError();
    throw PLXException(static_cast<uint32_t>(m_Error), kModule, __LINE__);
  }
  return static_cast<short>(cursor.GetRecCount());
}

ConceptLinks* Concept::GetConceptLinks(short relation) {
  auto links = openCollection<ConceptLinks>([] { return new (std::nothrow) ConceptLinks; },
                                            GetDatabase(), kConceptLinks, GetStore(), __LINE__);
  links->SetMasterIndex(kLinksBySource, 0);
  if (!pointsAt(*links, kSourceConcept, GetID(), kRelation, relation)) {
    m_Error = links->GetFlmError();
    throw PLXException(static_cast<uint32_t>(m_Error), kModule, __LINE__);
  }
  return links.release();
}

Concepts* Concept::GetLinkedConcepts(short relation) {
  auto concepts = openCollection<Concepts>([] { return new (std::nothrow) Concepts; }, nullptr,
                                           kData, 0, __LINE__);
  const unsigned short links = concepts->OpenContextSet();
  concepts->AddContextToSet(links, GetDatabase(), GetStore(), kConceptLinks);
  const unsigned short meanings = concepts->OpenContextSet();
  concepts->AddContextToSet(meanings, GetDatabase(), GetStore(), kMeanings);
  concepts->SetIndex(0, kLinksBySource);
  // Both terms read the link's source: see the header.
  const int built = concepts->AddOp(kOpOpen) && concepts->AddField(kSourceConcept, links, 0) &&
                    concepts->AddOp(kOpEqual) &&
                    concepts->AddField(kRecordNumberField, meanings, 0) &&
                    concepts->AddOp(kOpClose) && concepts->AddOp(kOpAnd) &&
                    pointsAt(*concepts, kSourceConcept, GetID(), kRelation, relation);
  if (!built) {
    m_Error = concepts->GetFlmError();
    throw PLXException(static_cast<uint32_t>(m_Error), nullptr, 0);
  }
  return concepts.release();
}

Concepts* Concept::GetHyperonyms() { return GetLinkedConcepts(kHyperonym); }

Concepts* Concept::GetHyponyms() { return GetLinkedConcepts(kHyponym); }

EqLinks* Concept::GetEqLinks(short eqRelation) {
  auto links = openCollection<EqLinks>([] { return new (std::nothrow) EqLinks; }, GetDatabase(),
                                       kEqLinks, GetStore(), __LINE__);
  links->SetIndex(0, kEqLinksByConcept);
  if (!pointsAt(*links, kConcept, GetID(), kEqRelation, eqRelation)) {
    m_Error = links->GetFlmError();
    throw PLXException(static_cast<uint32_t>(m_Error), kModule, __LINE__);
  }
  return links.release();
}

short Concept::GetEqRelation(uint32_t iliRecordID) {
  FlmCursor cursor(GetDatabase(), kEqLinks, GetStore());
  cursor.SetIndex(0, kEqLinksByIli);
  if (!(addEquals(cursor, kTargetIli, iliRecordID) && cursor.AddOp(kOpAnd) &&
        addEquals(cursor, kConcept, GetID()) && cursor.Validate())) {
    m_Error = cursor.GetFlmError();
    throw PLXException(static_cast<uint32_t>(m_Error), kModule, __LINE__);
  }
  FlmRecord link(kNoRoot, kPoolBlock);
  if (!cursor.ReadFirst(link)) {
    engine::throwIfReadFailed(cursor.GetFlmError(), kModule, __LINE__);
    return 0;
  }
  return link.FindGetWSWORD(kEqRelation, 1, fsRoot, faSubtree);
}

int Concept::GetEqSynonym(ILIRecord** out) {
  *out = nullptr;
  std::unique_ptr<EqLinks> links(GetEqLinks(kEqSynonym));
  EqLink* first = nullptr;
  if (links->GetCount() != 1) return 0;
  if (!links->GetFirst(&first)) {
    engine::throwIfReadFailed(links->GetFlmError(), kModule, __LINE__);
    return 0;
  }
  std::unique_ptr<EqLink> link(first);
  const uint32_t target = link->FindGetRecPtr(kTargetIli, 1, fsRoot, faSubtree);
  std::unique_ptr<ILIRecord> record(new (std::nothrow) ILIRecord(GetDatabase()));
  if (record && !record->Retrieve(GetDatabase(), kIliStore, kData, target)) {
    engine::throwIfReadFailed(record->GetFlmError(), kModule, __LINE__);
    record.reset();
  }
  *out = record.release();
  return *out ? 1 : 0;
}

int Concept::GetILIRecords(short eqRelation, ILIRecords** out) {
  *out = nullptr;
  std::unique_ptr<EqLinks> links(GetEqLinks(eqRelation));
  if (links->GetCount() == 0) return 0;
  auto records = openCollection<ILIRecords>([] { return new (std::nothrow) ILIRecords; },
                                            GetDatabase(), kData, kIliStore, __LINE__);
  EqLink* next = nullptr;
  for (bool first = true; links->GetNext(&next); first = false) {
    std::unique_ptr<EqLink> link(next);
    if (!first) records->AddOp(kOpOr);
    addEquals(*records, kRecordNumberField, link->FindGetRecPtr(kTargetIli, 1, fsRoot, faSubtree));
  }
  engine::throwIfReadFailed(links->GetFlmError(), kModule, __LINE__);
  *out = records.release();
  return 1;
}

namespace {

template <class C, class E>
void exportSection(ExportBuffer& out, C* collection, const char* header,
                   const ConversionEntry* table, NameLookup& names) {
  std::unique_ptr<C> held(collection);
  if (held->GetCount() < 1) return;
  out.Need(20, __LINE__);
  out.Append(header, __LINE__);
  E* next = nullptr;
  while (held->GetNext(&next)) {
    std::unique_ptr<E> record(next);
    writeRecord(out, *record, table, names);
  }
  engine::throwIfReadFailed(held->GetFlmError(), kModule, __LINE__);
}

}  // namespace

void Concept::Export(char* buffer, int size, unsigned int) {
  if (!buffer || size < 20) throw PLXException(errBufferTooSmall, kModule, __LINE__);
  ExportBuffer out(buffer, size);
  char line[64];
  wsprintfA(line, "0 @%lu@ %s\n", GetID(), GetType() == 1 ? "WORD_MEANING" : "WORD_INSTANCE");
  out.Append(line, __LINE__);
  const unsigned short code = static_cast<unsigned short>(GetPartOfSpeechCode());
  if (code == kNoPos) throw PLXException(errDataLayout, kModule, __LINE__);
  out.Need(30, __LINE__);
  wsprintfA(line, "  1 PART_OF_SPEECH \"%s\"\n", partOfSpeechText(code));
  out.Append(line, __LINE__);

  NameLookup names(GetDatabase());
  exportSection<ConceptVariants, ConceptVariant>(out, GetConceptVariants(), "  1 VARIANTS\n",
                                                 kVariantTable, names);
  exportSection<ConceptLinks, ConceptLink>(out, GetConceptLinks(0), "  1 INTERNAL_LINKS\n",
                                           kLinkTable, names);
  exportSection<EqLinks, EqLink>(out, GetEqLinks(0), "  1 EQ_LINKS\n", kEqLinkTable, names);
}

// ---- Concepts ----

Concepts::Concepts() = default;

Concepts::Concepts(void* database, unsigned short container, uint32_t store)
    : FlmCursor(database, container, store) {}

Concepts::Concepts(const Concepts& other) = default;

Concepts& Concepts::operator=(const Concepts& other) = default;

Concepts::~Concepts() = default;

void Concepts::Destroy() { delete this; }

int Concepts::GetFirst(Concept** out) {
  return collections::read(*this, &FlmCursor::ReadFirst, out);
}

int Concepts::GetNext(Concept** out) { return collections::read(*this, &FlmCursor::ReadNext, out); }

int Concepts::GetPrevious(Concept** out) {
  return collections::read(*this, &FlmCursor::ReadPrevious, out);
}

int Concepts::GetLast(Concept** out) { return collections::read(*this, &FlmCursor::ReadLast, out); }

int Concepts::GetCurrent(Concept** out) {
  return collections::read(*this, &FlmCursor::ReadCurrent, out);
}

int32_t Concepts::GetCount() { return static_cast<int32_t>(GetRecCount()); }

int Concepts::GetItem(uint32_t id, Concept** out) {
  return collections::readInto(out,
                               [this, id](Concept& meaning) { return ReadRecord(id, meaning); });
}

int Concepts::GetItem(const char* text, Concept** out) {
  ClearCriteria();
  if (!(addEquals(*this, kLiteral, text) && Validate()))
    throw PLXException(static_cast<uint32_t>(m_Error), kModule, __LINE__);
  return GetFirst(out);
}

Concept* Concepts::AddStored(unsigned short type, unsigned short partOfSpeech) {
  Concept record(GetDatabase(), GetStore());
  const bool built = record.AddField(kType, kLast, fsRoot, gmChild) && record.Put(type) == 0 &&
                     record.AddField(kPos, kLast, fsRoot, gmChild) &&
                     record.Put(partOfSpeech) == 0;
  if (!built || !AddRecord(record, 0, kAddFlags)) return nullptr;
  return new (std::nothrow) Concept(record);
}

Concept* Concepts::AddMeaning(const char* partOfSpeech) {
  const unsigned short code = posCode(partOfSpeech);
  return code == kNoPos ? nullptr : AddStored(1, code);
}

Concept* Concepts::AddInstance() { return AddStored(2, kProperNoun); }

Concept* Concepts::AddCoordinate(Concept& model) {
  std::unique_ptr<Concept> meaning(new (std::nothrow) Concept(GetDatabase(), GetStore()));
  if (!meaning) return nullptr;
  for (unsigned short tag : {static_cast<unsigned short>(kType), static_cast<unsigned short>(kPos)}) {
    if (!hasField(model, tag)) continue;
    const unsigned short value = model.FindGetWUWORD(tag, 1, fsRoot, faSubtree);
    if (!meaning->AddField(tag, kLast, fsRoot, gmChild) || meaning->Put(value) != 0)
      return nullptr;
  }
  meaning->GotoRoot();
  return meaning.release();
}

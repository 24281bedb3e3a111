#include <corvid5/ConceptVariant.h>

#include <corvid5/Concept.h>
#include <corvid5/Examples.h>
#include <corvid5/PLXException.h>

#include <memory>
#include <new>

#include "engine/Layout.h"
#include "engine/ReadFailure.h"
#include "model/CursorCollection.h"
#include "model/meanings/Criteria.h"
#include "model/meanings/FieldAccess.h"
#include "model/meanings/UsageLabel.h"
#include "model/meanings/VariantFeature.h"

using namespace layout;
using namespace meanings;

namespace {

constexpr const char* kModule = "ConceptVariant";
// FLAIM's codes for a missing record pointer and a record not found.
constexpr uint32_t kBadRecordNumber = 0xC00A;
constexpr uint32_t kNotFound = 0xC006;
constexpr unsigned short kFreeValue = 22;

// Where the definitions of one kind lie: this wordnet's own for ids below
// 1, the shared ones of store 96 for the others.
struct DefinitionPlace {
  unsigned short idTag;
  unsigned short localContainer, localIndex;
  unsigned short sharedContainer, sharedIndex;
};
constexpr DefinitionPlace kLabelPlace = {kUsageLabel, kLocalUsageLabels, kLocalUsageLabelsById,
                                     kSharedUsageLabels, kSharedUsageLabelsById};
constexpr DefinitionPlace kFeaturePlace = {kFeature, kLocalFeatures, kLocalFeaturesById,
                                       kSharedFeatures, kSharedFeaturesById};

template <class D>
D* findDefinition(void* database, uint32_t store, int32_t id, const DefinitionPlace& place) {
  if (!database || !store) return nullptr;
  const bool local = id < 1;
  FlmCursor cursor(database, local ? place.localContainer : place.sharedContainer,
                   local ? store : kSystemStore);
  cursor.SetIndex(0, local ? place.localIndex : place.sharedIndex);
  if (!(addEquals(cursor, place.idTag, id) && cursor.Validate())) return nullptr;
  std::unique_ptr<D> definition(new (std::nothrow) D);
  if (!definition) return nullptr;
  if (!cursor.ReadFirst(*definition)) {
    engine::throwIfReadFailed(cursor.GetFlmError(), kModule, __LINE__);
    return nullptr;
  }
  return definition.release();
}

void quoted(std::u16string& out, const std::u16string& text) {
  out += u'"';
  out += text;
  out += u'"';
}

}  // namespace

// ---- ConceptVariant ----

ConceptVariant::ConceptVariant() : FlmRecord(kNoRoot, kPoolBlock) {}

ConceptVariant::ConceptVariant(const ConceptVariant& other) : FlmRecord(other) {}

ConceptVariant& ConceptVariant::operator=(ConceptVariant& other) = default;

ConceptVariant& ConceptVariant::operator=(FlmRecord& other) {
  FlmRecord::operator=(other);
  return *this;
}

ConceptVariant::~ConceptVariant() = default;

void ConceptVariant::Destroy() { delete this; }

unsigned short* ConceptVariant::GetLiteral() { return FindGetBSTR(kLiteral, 1, fsRoot, faSubtree); }

short ConceptVariant::GetSense() { return FindGetWSWORD(kSense, 1, fsRoot, faSubtree); }

unsigned short* ConceptVariant::GetDefinition() {
  return FindGetBSTR(kDefinition, 1, fsRoot, faSubtree);
}

unsigned short* ConceptVariant::GetStatus() { return FindGetBSTR(kStatus, 1, fsRoot, faSubtree); }

unsigned short ConceptVariant::GetPartOfSpeechCode() {
  return FindGetWUWORD(kPos, 1, fsRoot, faSubtree);
}

unsigned short* ConceptVariant::GetPartOfSpeech() {
  std::u16string text;
  appendAscii(text, partOfSpeechText(GetPartOfSpeechCode()));
  return toBSTR(text);
}

int32_t ConceptVariant::GetBaseConceptID() {
  const uint32_t id = FindGetRecPtr(kConcept, 1, fsRoot, faSubtree);
  if (!id) throw PLXException(kBadRecordNumber, kModule, __LINE__);
  return static_cast<int32_t>(id);
}

Concept* ConceptVariant::GetBaseConcept() {
  const uint32_t id = static_cast<uint32_t>(GetBaseConceptID());
  std::unique_ptr<Concept> meaning(new (std::nothrow) Concept);
  if (!meaning) throw PLXException(errOutOfMemory, kModule, __LINE__);
  if (!meaning->Retrieve(GetDatabase(), GetStore(), kMeanings, id)) {
    engine::throwIfReadFailed(meaning->GetFlmError(), kModule, __LINE__);
    throw PLXException(kNotFound, kModule, __LINE__);
  }
  return meaning.release();
}

Examples* ConceptVariant::GetExamples() {
  KeepCurrent keep(*this);
  Examples* examples = FindField(kExamples, 1, fsRoot, faSubtree)
                           ? new (std::nothrow) Examples(static_cast<node*>(GetCurrentField()))
                           : new (std::nothrow) Examples;
  if (!examples) throw PLXException(errOutOfMemory, kModule, __LINE__);
  return examples;
}

UsageLabel* ConceptVariant::GetUsageLabel(int32_t id) {
  return findDefinition<UsageLabel>(GetDatabase(), GetStore(), id, kLabelPlace);
}

VariantFeature* ConceptVariant::GetVariantFeature(int32_t id) {
  return findDefinition<VariantFeature>(GetDatabase(), GetStore(), id, kFeaturePlace);
}

unsigned short* ConceptVariant::GetUsageLabels() {
  KeepCurrent keep(*this);
  if (!FindField(kUsageLabels, 1, fsRoot, faSubtree) || !GotoChild()) return nullptr;
  std::u16string text;
  do {
    void* child = GetCurrentField();
    int32_t id = 0;
    if (GetTag() != kUsageLabel) {
      appendAscii(text, "Error! Invalid usage label tag");
    } else if (!Get(&id)) {
      appendAscii(text, "Error! Invalid label ID");
    } else if (std::unique_ptr<UsageLabel> label{GetUsageLabel(id)}; !label) {
      appendAscii(text, "Error! Unknown label");
    } else {
      text += label->GetName();
      appendAscii(text, " = ");
      // A value that does not read as a number reads as 0.
      unsigned short value = 0;
      std::u16string valueText;
      const bool hasValue = GotoChild();
      if (hasValue) Get(&value);
      if (!hasValue)
        appendAscii(text, "<missing value>");
      else if (value == 0)
        appendAscii(text, "<zero value>");
      else if (!label->FindValue(value, &valueText))
        appendAscii(text, "<unexpected value>");
      else
        quoted(text, valueText);
    }
    appendAscii(text, "\r\n");
    SetCurrentField(child);
  } while (GotoNext());
  return toBSTR(text);
}

unsigned short* ConceptVariant::GetFeatures() {
  KeepCurrent keep(*this);
  if (!FindField(kFeatures, 1, fsRoot, faSubtree) || !GotoChild()) return nullptr;
  std::u16string text;
  do {
    void* child = GetCurrentField();
    int32_t id = 0;
    if (GetTag() != kFeature) {
      appendAscii(text, "Error! Invalid feature tag");
    } else if (!Get(&id)) {
      appendAscii(text, "Error! Invalid feature ID");
    } else if (std::unique_ptr<VariantFeature> feature{GetVariantFeature(id)}; !feature) {
      appendAscii(text, "Error! Unknown feature");
    } else {
      text += feature->GetName();
      if (feature->TakesValue()) {
        appendAscii(text, " = ");
        if (FindField(kFreeValue, 1, fsCurrent, faSubtree))
          quoted(text, currentText(*this));
        else
          appendAscii(text, "<missing feature value>");
      }
    }
    appendAscii(text, "\r\n");
    SetCurrentField(child);
  } while (GotoNext());
  return toBSTR(text);
}

// ---- ConceptVariants ----

ConceptVariants::ConceptVariants() = default;

ConceptVariants::ConceptVariants(void* database, unsigned short container, uint32_t store)
    : FlmCursor(database, container, store) {}

ConceptVariants::ConceptVariants(const ConceptVariants& other) = default;

ConceptVariants& ConceptVariants::operator=(const ConceptVariants& other) = default;

ConceptVariants::~ConceptVariants() = default;

void ConceptVariants::Destroy() { delete this; }

int ConceptVariants::GetFirst(ConceptVariant** out) {
  return collections::read(*this, &FlmCursor::ReadFirst, out);
}

int ConceptVariants::GetNext(ConceptVariant** out) {
  return collections::read(*this, &FlmCursor::ReadNext, out);
}

int ConceptVariants::GetPrevious(ConceptVariant** out) {
  return collections::read(*this, &FlmCursor::ReadPrevious, out);
}

int ConceptVariants::GetLast(ConceptVariant** out) {
  return collections::read(*this, &FlmCursor::ReadLast, out);
}

int ConceptVariants::GetCurrent(ConceptVariant** out) {
  return collections::read(*this, &FlmCursor::ReadCurrent, out);
}

int32_t ConceptVariants::GetCount() { return static_cast<int32_t>(GetRecCount()); }

ConceptVariant* ConceptVariants::GetItem(const VARIANT&) { return nullptr; }

ConceptVariant* ConceptVariants::Add(const char*, short) { return nullptr; }

void ConceptVariants::Remove(const VARIANT&) {}

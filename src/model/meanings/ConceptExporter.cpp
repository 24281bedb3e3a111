#include "model/meanings/ConceptExporter.h"

#include <corvid5/FlmCursor.h>
#include <corvid5/FlmError.h>
#include <corvid5/PLXException.h>
#include <corvid5/Platform.h>

#include <charconv>

#include "engine/Layout.h"
#include "engine/ReadFailure.h"
#include "model/meanings/Criteria.h"
#include "model/meanings/FieldAccess.h"

using namespace layout;
using namespace meanings;

namespace {

constexpr const char* kModule = "ConceptExporter";
constexpr unsigned short kFreeValue = 22;
constexpr unsigned short kShortName = 5;

// 2 x level spaces and the level digit; "*" for a level that has no digit.
void prefix(std::u16string& out, int level) {
  if (level > 0) out.append(static_cast<size_t>(level) * 2, u' ');
  out += level >= 0 && level <= 9 ? static_cast<char16_t>(u'0' + level) : u'*';
  out += u' ';
}

void line(std::u16string& out, int level, const char* item) {
  prefix(out, level);
  appendAscii(out, item);
  appendAscii(out, "\r\n");
}

void textLine(std::u16string& out, int level, const char* item, const std::u16string& value) {
  prefix(out, level);
  appendAscii(out, item);
  appendAscii(out, " \"");
  out += value;
  appendAscii(out, "\"\r\n");
}

void numberLine(std::u16string& out, int level, const char* item, int64_t value) {
  char digits[24];
  char* end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  prefix(out, level);
  appendAscii(out, item);
  out += u' ';
  out.append(digits, end);
  appendAscii(out, "\r\n");
}

void unsignedLine(std::u16string& out, int level, const char* item, uint32_t value) {
  numberLine(out, level, item, value);
}

void signedLine(std::u16string& out, int level, const char* item, int32_t value) {
  numberLine(out, level, item, value);
}

void shortLine(std::u16string& out, int level, const char* item, short value) {
  numberLine(out, level, item, value);
}

std::u16string letter(unsigned short code) {
  static const char kLetters[] = "?nvabp";
  return std::u16string(1, static_cast<char16_t>(code <= 5 ? kLetters[code] : '?'));
}

std::u16string textOf(FlmRecord& record, unsigned short tag, eFindStart start) {
  unsigned short* value = record.FindGetBSTR(tag, 1, start, faSubtree);
  std::u16string text = fromBSTR(value);
  SysFreeString(value);
  return text;
}

// 32 bits: the record layer's find-and-get reads only 16.
template <class T>
T numberOf(FlmRecord& record, unsigned short tag, eFindStart start) {
  KeepCurrent keep(record);
  T value = 0;
  if (record.FindField(tag, 1, start, faSubtree)) record.Get(&value);
  return value;
}

template <class T>
T currentNumber(FlmRecord& record) {
  T value = 0;
  record.Get(&value);
  return value;
}

// Calls `each` on every child of the current field, with the child current.
template <class F>
void eachChild(FlmRecord& record, F each) {
  if (!record.GotoChild()) return;
  do {
    void* child = record.GetCurrentField();
    each();
    record.SetCurrentField(child);
  } while (record.GotoNext());
}

// The current field is a source id (131).
void sourceBlock(FlmRecord& record, std::u16string& out, int level) {
  KeepCurrent keep(record);
  unsignedLine(out, level, "SOURCE_ID", currentNumber<uint32_t>(record));
  if (gotoChild(record, kTextKey)) {
    textLine(out, level + 1, "TEXT_KEY", currentText(record));
  } else if (gotoChild(record, kNumberKey)) {
    unsignedLine(out, level + 1, "NUMBER_KEY", currentNumber<uint32_t>(record));
  }
}

void recordSourceBlock(FlmRecord& record, std::u16string& out, int level) {
  KeepCurrent keep(record);
  if (record.FindField(kSourceId, 1, fsRoot, faSubtree)) sourceBlock(record, out, level);
}

void targetLines(std::u16string& out, unsigned short pos, const std::u16string& literal,
                 short sense) {
  line(out, 3, "TARGET_CONCEPT");
  textLine(out, 4, "PART_OF_SPEECH", letter(pos));
  textLine(out, 4, "LITERAL", literal);
  shortLine(out, 5, "SENSE", sense);
}

}  // namespace

ConceptExporter::ConceptExporter(void* database, uint32_t store)
    : m_hDatabase(database), m_nStore(store) {
  LoadDefinitions(m_UsageLabels, kUsageLabel, kSharedUsageLabels, kSystemStore);
  LoadDefinitions(m_UsageLabels, kUsageLabel, kLocalUsageLabels, store);
  LoadDefinitions(m_Features, kFeature, kSharedFeatures, kSystemStore);
  LoadDefinitions(m_Features, kFeature, kLocalFeatures, store);
}

void ConceptExporter::LoadDefinitions(std::vector<Definition>& cache, unsigned short idTag,
                                      unsigned short container, uint32_t store) {
  if (cache.size() >= kCacheSize) return;
  FlmCursor cursor(m_hDatabase, container, store);
  FlmRecord record(kNoRoot, kPoolBlock);
  int read = cursor.ReadFirst(record);
  for (; read && cache.size() < kCacheSize; read = cursor.ReadNext(record))
    cache.push_back({numberOf<int32_t>(record, idTag, fsRoot), textOf(record, kName, fsRoot)});
  if (!read && !engine::foundNothing(cursor.GetFlmError()) && m_LoadError.Success())
    m_LoadError = cursor.GetFlmError();
}

const ConceptExporter::Definition* ConceptExporter::Cached(const std::vector<Definition>& cache,
                                                           int32_t id) const {
  for (const Definition& d : cache)
    if (d.id == id) return &d;
  return nullptr;
}

unsigned short* ConceptExporter::MakeBSTR(const std::u16string& text) { return toBSTR(text); }

int ConceptExporter::Export(FlmRecord& meaning, std::u16string& text) {
  m_Names.clear();
  try {
    engine::throwIfReadFailed(m_LoadError, kModule, __LINE__);
    KeepCurrent keep(meaning);
    char head[64];
    const unsigned short type = meaning.FindGetWUWORD(kType, 1, fsRoot, faSubtree);
    wsprintfA(head, "@%lu@ %s", meaning.GetID(), type == 1 ? "WORD_MEANING" : "WORD_INSTANCE");
    line(text, 0, head);
    textLine(text, 1, "PART_OF_SPEECH", letter(meaning.FindGetWUWORD(kPos, 1, fsRoot, faSubtree)));
    WriteVariants(meaning, text);
    WriteLinks(meaning, text);
    WriteEqLinks(meaning, text);
  } catch (const PLXException& e) {
    appendAscii(text, "\r\n# An exception occurred: ");
    appendAscii(text, e);
    appendAscii(text, "\r\n");
    throw;
  } catch (const FlmError& e) {
    PLXException passed(static_cast<uint32_t>(e), kModule, __LINE__);
    appendAscii(text, "\r\n# An exception occurred: ");
    appendAscii(text, passed);
    appendAscii(text, "\r\n");
    throw passed;
  }
  return 1;
}

std::u16string ConceptExporter::SystemName(unsigned short container, unsigned short field,
                                           short id) {
  const auto key = std::make_pair(container, id);
  auto known = m_Names.find(key);
  if (known != m_Names.end()) return known->second;
  FlmCursor cursor(m_hDatabase, container, kSystemStore);
  FlmRecord record(kNoRoot, kPoolBlock);
  std::u16string name;
  if (addEquals(cursor, field, id) && cursor.Validate()) {
    if (cursor.ReadFirst(record))
      name = textOf(record, kShortName, fsRoot);
    else
      engine::throwIfReadFailed(cursor.GetFlmError(), kModule, __LINE__);
  }
  m_Names.emplace(key, name);
  return name;
}

// ---- Variants ----

void ConceptExporter::WriteVariants(FlmRecord& meaning, std::u16string& text) {
  FlmCursor cursor(m_hDatabase, kData, m_nStore);
  cursor.SetIndex(0, kVariantsByConcept);
  FlmRecord variant(kNoRoot, kPoolBlock);
  if (!pointsAt(cursor, kConcept, meaning.GetID(), 0, 0)) return;
  int read = cursor.ReadLast(variant);
  if (read) line(text, 1, "VARIANTS");
  for (; read; read = cursor.ReadPrevious(variant)) WriteVariant(variant, text);
  engine::throwIfReadFailed(cursor.GetFlmError(), kModule, __LINE__);
}

void ConceptExporter::WriteVariant(FlmRecord& variant, std::u16string& text) {
  KeepCurrent keep(variant);
  textLine(text, 2, "LITERAL", textOf(variant, kLiteral, fsRoot));
  shortLine(text, 3, "SENSE", variant.FindGetWSWORD(kSense, 1, fsRoot, faSubtree));
  if (hasField(variant, kDefinition))
    textLine(text, 3, "DEFINITION", textOf(variant, kDefinition, fsRoot));
  if (hasField(variant, kStatus)) textLine(text, 3, "STATUS", textOf(variant, kStatus, fsRoot));

  if (variant.FindField(kExamples, 1, fsRoot, faSubtree)) {
    line(text, 3, "EXAMPLES");
    eachChild(variant, [&] { textLine(text, 4, "EXAMPLE", currentText(variant)); });
  }
  if (variant.FindField(kTranslations, 1, fsRoot, faSubtree)) {
    line(text, 3, "TRANSLATIONS");
    eachChild(variant, [&] { textLine(text, 4, "TRANSLATION", currentText(variant)); });
  }
  if (variant.FindField(kUsageLabels, 1, fsRoot, faSubtree)) {
    line(text, 3, "USAGE_LABELS");
    eachChild(variant, [&] {
      int32_t id = 0;
      const Definition* label = variant.Get(&id) ? Cached(m_UsageLabels, id) : nullptr;
      if (!label) return;
      textLine(text, 4, "USAGE_LABEL", label->name);
      std::u16string value;
      if (variant.FindField(kValue, 1, fsCurrent, faSubtree)) value = currentText(variant);
      textLine(text, 5, "USAGE_LABEL_VALUE", value);
    });
  }
  if (variant.FindField(kFeatures, 1, fsRoot, faSubtree)) {
    line(text, 3, "FEATURES");
    eachChild(variant, [&] {
      int32_t id = 0;
      const Definition* feature = variant.Get(&id) ? Cached(m_Features, id) : nullptr;
      if (!feature) return;
      textLine(text, 4, "FEATURE", feature->name);
      if (variant.FindField(kFreeValue, 1, fsCurrent, faSubtree))
        textLine(text, 5, "FEATURE_VALUE", currentText(variant));
    });
  }
  if (variant.FindField(kExternalInfo, 1, fsRoot, faSubtree)) {
    line(text, 3, "EXTERNAL_INFO");
    eachChild(variant, [&] {
      switch (variant.GetTag()) {
        case kSourceId:
          sourceBlock(variant, text, 4);
          break;
        case kCorpusId:
          unsignedLine(text, 4, "CORPUS_ID", currentNumber<uint32_t>(variant));
          eachChild(variant, [&] {
            if (variant.GetTag() == kFrequency)
              unsignedLine(text, 5, "FREQUENCY", currentNumber<uint32_t>(variant));
          });
          break;
        case kParoleId:
          unsignedLine(text, 4, "PAROLE", currentNumber<uint32_t>(variant));
          break;
        default:
          break;
      }
    });
  }
}

// ---- Concept links ----

void ConceptExporter::WriteLinks(FlmRecord& meaning, std::u16string& text) {
  FlmCursor cursor(m_hDatabase, kConceptLinks, m_nStore);
  cursor.SetIndex(0, kLinksBySource);
  FlmRecord link(kNoRoot, kPoolBlock);
  if (!pointsAt(cursor, kSourceConcept, meaning.GetID(), 0, 0)) return;
  int read = cursor.ReadFirst(link);
  if (read) line(text, 1, "INTERNAL_LINKS");
  for (; read; read = cursor.ReadNext(link)) WriteLink(link, text);
  engine::throwIfReadFailed(cursor.GetFlmError(), kModule, __LINE__);
}

void ConceptExporter::WriteLink(FlmRecord& link, std::u16string& text) {
  KeepCurrent keep(link);
  textLine(text, 2, "RELATION",
           SystemName(kData, kRelation, link.FindGetWSWORD(kRelation, 1, fsRoot, faSubtree)));
  WriteTarget(link, text);
  if (hasField(link, kConjunctive))
    shortLine(text, 4, "CONJUNCTIVE", link.FindGetWSWORD(kConjunctive, 1, fsRoot, faSubtree));
  if (hasField(link, kDisjunctive))
    shortLine(text, 4, "DISJUNCTIVE", link.FindGetWSWORD(kDisjunctive, 1, fsRoot, faSubtree));
  if (hasField(link, kFactive))
    line(text, 4, "FACTIVE");
  else if (hasField(link, kNonFactive))
    line(text, 4, "NON_FACTIVE");
  if (hasField(link, kNegative)) line(text, 4, "NEGATIVE");
  if (hasField(link, kReversed)) line(text, 4, "REVERSED");
  if (hasField(link, kVariant)) {
    line(text, 4, "VARIANT_TO_VARIANT");
    const struct {
      unsigned short end;
      const char* item;
    } ends[] = {{kSourceConcept, "SOURCE_VARIANT"}, {kTargetConcept, "TARGET_VARIANT"}};
    for (const auto& end : ends) {
      // The variant pointer carries the variant's literal and sense below it.
      std::u16string literal;
      short sense = 0;
      if (link.FindField(end.end, 1, fsRoot, faSubtree) && gotoChild(link, kVariant)) {
        literal = textOf(link, kLiteral, fsCurrent);
        sense = link.FindGetWSWORD(kSense, 1, fsCurrent, faSubtree);
      }
      char senseText[16];
      wsprintfA(senseText, " %d", static_cast<int>(sense));
      std::u16string value = u"\"" + literal + u"\"";
      appendAscii(value, senseText);
      prefix(text, 5);
      appendAscii(text, end.item);
      text += u' ';
      text += value;
      appendAscii(text, "\r\n");
    }
  }
  if (hasField(link, kFeatures)) line(text, 3, "FEATURES");
  recordSourceBlock(link, text, 3);
}

void ConceptExporter::WriteTarget(FlmRecord& link, std::u16string& text) {
  KeepCurrent keep(link);
  // Without a target field there is no target meaning either: the target is
  // told in the link itself, where nothing tells it.
  if (!link.FindField(kTargetConcept, 1, fsRoot, faSubtree)) {
    targetLines(text, kNoPos, u"", 0);
    return;
  }
  void* target = link.GetCurrentField();
  uint32_t meaning = 0;
  if (!link.Get(&meaning) || meaning == 0) {
    // The target is told in the link itself.
    targetLines(text, link.FindGetWUWORD(kPos, 1, fsCurrent, faSubtree),
                textOf(link, kLiteral, fsCurrent),
                link.FindGetWSWORD(kSense, 1, fsCurrent, faSubtree));
    return;
  }
  FlmRecord variant(kNoRoot, kPoolBlock);
  bool found = false;
  uint32_t shown = 0;
  if (gotoChild(link, kTargetVariantRef) && link.Get(&shown)) {
    found = variant.Retrieve(m_hDatabase, m_nStore, kData, shown) != 0;
    if (!found) engine::throwIfReadFailed(variant.GetFlmError(), kModule, __LINE__);
  }
  link.SetCurrentField(target);
  if (!found) {
    FlmCursor cursor(m_hDatabase, kData, m_nStore);
    cursor.SetIndex(0, kVariantsByConcept);
    found = pointsAt(cursor, kConcept, meaning, 0, 0) && cursor.ReadLast(variant);
    if (!found) engine::throwIfReadFailed(cursor.GetFlmError(), kModule, __LINE__);
  }
  if (!found) {
    char item[48];
    wsprintfA(item, "TARGET_CONCEPT @%lu@", meaning);
    line(text, 3, item);
    return;
  }
  targetLines(text, variant.FindGetWUWORD(kPos, 1, fsRoot, faSubtree),
              textOf(variant, kLiteral, fsRoot),
              variant.FindGetWSWORD(kSense, 1, fsRoot, faSubtree));
}

// ---- Equivalence links ----

void ConceptExporter::WriteEqLinks(FlmRecord& meaning, std::u16string& text) {
  FlmCursor cursor(m_hDatabase, kEqLinks, m_nStore);
  cursor.SetIndex(0, kEqLinksByConcept);
  FlmRecord link(kNoRoot, kPoolBlock);
  if (!pointsAt(cursor, kConcept, meaning.GetID(), 0, 0)) return;
  int read = cursor.ReadFirst(link);
  if (read) line(text, 1, "EQ_LINKS");
  for (; read; read = cursor.ReadNext(link)) WriteEqLink(link, text);
  engine::throwIfReadFailed(cursor.GetFlmError(), kModule, __LINE__);
}

void ConceptExporter::WriteEqLink(FlmRecord& link, std::u16string& text) {
  KeepCurrent keep(link);
  textLine(text, 2, "EQ_RELATION",
           SystemName(kEqRelations, kEqRelation,
                      link.FindGetWSWORD(kEqRelation, 1, fsRoot, faSubtree)));
  const uint32_t target = link.FindGetRecPtr(kTargetIli, 1, fsRoot, faSubtree);
  FlmRecord record(kNoRoot, kPoolBlock);
  const bool read = record.Retrieve(m_hDatabase, kIliStore, kData, target) != 0;
  if (!read) engine::throwIfReadFailed(record.GetFlmError(), kModule, __LINE__);
  if (read && (hasField(record, kWordNetOffset) || hasField(record, kAddOnId))) {
    line(text, 3, "TARGET_ILI");
    textLine(text, 4, "PART_OF_SPEECH", letter(record.FindGetWUWORD(kPos, 1, fsRoot, faSubtree)));
    if (hasField(record, kWordNetOffset))
      signedLine(text, 4, "WORDNET_OFFSET", numberOf<int32_t>(record, kWordNetOffset, fsRoot));
    else
      signedLine(text, 4, "ADD_ON_ID", numberOf<int32_t>(record, kAddOnId, fsRoot));
  } else {
    char item[48];
    wsprintfA(item, "TARGET_ILI @%lu@", target);
    line(text, 3, item);
  }
  recordSourceBlock(link, text, 3);
}

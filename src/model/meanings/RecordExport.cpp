#include "model/meanings/RecordExport.h"

#include <corvid5/FlmCursor.h>
#include <corvid5/FlmError.h>
#include <corvid5/PLXException.h>
#include <corvid5/Platform.h>

#include <charconv>
#include <cstring>
#include <vector>

#include "engine/Layout.h"
#include "engine/ReadFailure.h"
#include "model/meanings/Criteria.h"
#include "model/meanings/FieldAccess.h"

namespace meanings {

using namespace layout;

const ConversionEntry kVariantTable[] = {
    {kVariant, 0, kSkipped, "", 0},
    {kConcept, 1, kSkipped, "", 0},
    {kPos, 2, kSkipped, "", 0},
    {kLiteral, 1, kWideText, "LITERAL", 2},
    {kSense, 2, kUnsigned16, "SENSE", 3},
    {kDefinition, 1, kWideText, "DEFINITION", 3},
    {kExamples, 1, kNameOnly, "EXAMPLES", 3},
    {kExample, 2, kWideText, "EXAMPLE", 4},
    {kMultiWordInfo, 1, kNameOnly, "MULTI_WORD_INFO", 3},
    {kMultiWordToken, 2, kUnsigned16, "MULTI_WORD_TOKEN", 4},
    {kPos, 3, kPartOfSpeechName, "PART_OF_SPEECH", 5},
    {kUsageLabels, 1, kNameOnly, "USAGE_LABELS", 3},
    {kExternalInfo, 1, kNameOnly, "EXTERNAL_INFO", 3},
    {kCorpusId, 2, kUnsigned32, "CORPUS_ID", 4},
    {kFrequency, 3, kUnsigned32, "FREQUENCY", 5},
    {kSourceId, 2, kUnsigned32, "SOURCE_ID", 4},
    {kNumberKey, 3, kUnsigned32, "NUMBER_KEY", 5},
    {kTextKey, 3, kWideText, "TEXT_KEY", 5},
    {kParoleId, 2, kUnsigned32, "PAROLE_ID", 4},
    {kStatus, 1, kWideText, "STATUS", 3},
    {0, 0, 0, nullptr, 0},
};

const ConversionEntry kLinkTable[] = {
    {kConceptLink, 0, kSkipped, "", 0},
    {kRelation, 1, kRelationName, "RELATION", 2},
    {kSourceConcept, 1, kSkipped, "", 0},
    {kTargetConcept, 1, kRecordPointer, "TARGET_CONCEPT", 3},
    {kConjunctive, 1, kUnsigned16, "CONJUNCTIVE", 4},
    {kDisjunctive, 1, kUnsigned16, "DISJUNCTIVE", 4},
    {kFactive, 1, kNameOnly, "FACTIVE", 4},
    {kNonFactive, 1, kNameOnly, "NON_FACTIVE", 4},
    {kNegative, 1, kNameOnly, "NEGATIVE", 4},
    {kReversed, 1, kNameOnly, "REVERSED", 4},
    {0, 0, 0, nullptr, 0},
};

const ConversionEntry kEqLinkTable[] = {
    {kEqLink, 0, kSkipped, "", 0},
    {kEqRelation, 1, kEqRelationName, "EQ_RELATION", 2},
    {kConcept, 1, kSkipped, "", 0},
    {kTargetIli, 1, kRecordPointer, "TARGET_ILI", 3},
    {0, 0, 0, nullptr, 0},
};

namespace {

constexpr const char* kModule = "Concept";
// The longest name a lookup reads, terminator included.
constexpr unsigned short kNameSize = 100;

// Room each value kind asks for before it is written.
constexpr int kRoomUnsigned16 = 6;
constexpr int kRoomUnsigned32 = 16;
constexpr int kRoomRecordPointer = 18;
constexpr int kRoomMarker = 40;
constexpr int kRoomIndent = 3;
constexpr int kRoomLineEnd = 2;

const ConversionEntry* entryFor(const ConversionEntry* table, unsigned short tag, unsigned depth) {
  for (const ConversionEntry* e = table; e->tag; ++e)
    if (e->tag == tag && e->depth == depth) return e;
  return nullptr;
}

// Numbers are written often enough that the formatter's parsing shows.
void appendNumber(ExportBuffer& out, const char* before, uint32_t value, const char* after) {
  char text[24];
  char* end = text;
  for (const char* p = before; *p;) *end++ = *p++;
  end = std::to_chars(end, text + sizeof text, value).ptr;
  for (const char* p = after; *p;) *end++ = *p++;
  out.Append(text, static_cast<size_t>(end - text), __LINE__);
}

void appendError(ExportBuffer& out, const FlmError& error) {
  out.Need(kRoomMarker, __LINE__);
  char text[1024];
  wsprintfA(text, "{Error: %s-0x%04X}", static_cast<const char*>(error),
            static_cast<unsigned>(error.GetError()));
  out.Append(text, __LINE__);
}

void appendQuoted(ExportBuffer& out, const std::string& text) {
  out.Append(" \"", 2, __LINE__);
  out.Append(text.data(), text.size(), __LINE__);
  out.Append("\"", 1, __LINE__);
}

// Native text of any length: the record layer converts into a buffer of
// the caller's size, so the size is taken from the value first.
bool readNative(FlmRecord& record, std::string* text) {
  unsigned short units = 0;
  if (!record.StringLength(&units)) return false;
  std::vector<char> buffer(static_cast<size_t>(units) * 3 + 1);
  unsigned short size = buffer.size() > 0xFFFF ? 0xFFFF : static_cast<unsigned short>(buffer.size());
  if (!record.Get(buffer.data(), size)) return false;
  *text = buffer.data();
  return true;
}

void appendValue(ExportBuffer& out, FlmRecord& record, uint8_t kind, NameLookup& names) {
  switch (kind) {
    case kWideText: {
      unsigned short* value = nullptr;
      if (!record.Get(&value)) return appendError(out, record.GetFlmError());
      std::string narrow = toNarrow(fromBSTR(value));
      SysFreeString(value);
      out.Need(static_cast<int>(narrow.size()) + 5, __LINE__);
      return appendQuoted(out, narrow);
    }
    case kNativeText: {
      std::string narrow;
      if (!readNative(record, &narrow)) return appendError(out, record.GetFlmError());
      out.Need(static_cast<int>(narrow.size()) + 4, __LINE__);
      return appendQuoted(out, narrow);
    }
    case kUnsigned16: {
      out.Need(kRoomUnsigned16, __LINE__);
      unsigned short value = 0;
      if (!record.Get(&value)) return appendError(out, record.GetFlmError());
      return appendNumber(out, " ", value, "");
    }
    case kUnsigned32:
    case kRecordPointer: {
      out.Need(kind == kUnsigned32 ? kRoomUnsigned32 : kRoomRecordPointer, __LINE__);
      uint32_t value = 0;
      if (!record.Get(&value)) return appendError(out, record.GetFlmError());
      return appendNumber(out, kind == kUnsigned32 ? " " : " @", value,
                          kind == kUnsigned32 ? "" : "@");
    }
    case kNameOnly:
      return;
    case kRelationName:
    case kEqRelationName:
    case kPartOfSpeechName: {
      int32_t id = 0;
      if (kind == kRelationName) {
        short relation = 0;
        if (!record.Get(&relation)) return appendError(out, record.GetFlmError());
        id = relation;
      } else {
        unsigned short code = 0;
        if (!record.Get(&code)) return appendError(out, record.GetFlmError());
        id = code;
      }
      std::string name;
      if (!names.Find(kind, id, &name)) return;
      out.Need(static_cast<int>(name.size()) + 4, __LINE__);
      return appendQuoted(out, name);
    }
    default:
      throw PLXException(errUndefined, kModule, __LINE__);
  }
}

void writeField(ExportBuffer& out, FlmRecord& record, unsigned depth,
                const ConversionEntry* table, NameLookup& names) {
  const unsigned short tag = record.GetTag();
  const ConversionEntry* entry = entryFor(table, tag, depth);
  char text[64];
  if (!entry) {
    // No line end: the next line runs on from here.
    out.Need(kRoomMarker, __LINE__);
    wsprintfA(text, "{Cannot convert tag %u, level %u}", static_cast<unsigned>(tag), depth);
    return out.Append(text, __LINE__);
  }
  if (entry->kind == kSkipped) return;
  for (unsigned i = 0; i < entry->level; ++i) {
    out.Need(kRoomIndent, __LINE__);
    out.Append("  ", 2, __LINE__);
  }
  const size_t nameLength = std::strlen(entry->name);
  out.Need(static_cast<int>(nameLength) + 4, __LINE__);
  appendNumber(out, "", entry->level, " ");
  out.Append(entry->name, nameLength, __LINE__);
  appendValue(out, record, entry->kind, names);
  out.Need(kRoomLineEnd, __LINE__);
  out.Append("\n", 1, __LINE__);
}

}  // namespace

void ExportBuffer::Need(int bytes, int line) const {
  if (Remaining() < bytes) throw PLXException(errBufferTooSmall, kModule, line);
}

void ExportBuffer::Append(const char* text, size_t length, int line) {
  if (length >= static_cast<size_t>(Remaining())) throw PLXException(errBufferTooSmall, kModule, line);
  std::memcpy(buffer_ + used_, text, length);
  used_ += static_cast<int>(length);
  buffer_[used_] = '\0';
}

void ExportBuffer::Append(const char* text, int line) { Append(text, std::strlen(text), line); }

bool NameLookup::Find(uint8_t kind, int32_t id, std::string* name) {
  auto key = std::make_pair(kind, id);
  auto known = known_.find(key);
  if (known == known_.end()) {
    unsigned short container = kData, field = kRelation;
    if (kind == kEqRelationName) {
      container = kEqRelations;
      field = kEqRelation;
    } else if (kind == kPartOfSpeechName) {
      container = kPartsOfSpeech;
      field = kPos;
    }
    FlmCursor cursor(database_, container, kSystemStore);
    std::optional<std::string> found;
    if (addEquals(cursor, field, id) && cursor.Validate()) {
      FlmRecord record(kNoRoot, kPoolBlock);
      if (cursor.ReadFirst(record)) {
        char text[kNameSize] = "";
        // A name too long for the buffer reads as an empty one.
        const unsigned short length =
            record.FindGetString(text, kNameSize, kName, 1, fsRoot, faSubtree);
        found = std::string(text, length);
      } else {
        engine::throwIfReadFailed(cursor.GetFlmError(), kModule, __LINE__);
      }
    }
    known = known_.emplace(key, found).first;
  }
  if (!known->second) return false;
  *name = *known->second;
  return true;
}

void writeRecord(ExportBuffer& out, FlmRecord& record, const ConversionEntry* table,
                 NameLookup& names) {
  KeepCurrent keep(record);
  record.GotoRoot();
  if (!record.GetCurrentField()) return;
  unsigned depth = 0;
  for (;;) {
    writeField(out, record, depth, table, names);
    if (record.GotoChild()) {
      ++depth;
      continue;
    }
    // Up until a level with a next sibling; the root has none to go to.
    for (;;) {
      if (depth == 0) return;
      if (record.GotoNext()) break;
      record.GotoParent();
      --depth;
    }
  }
}

}  // namespace meanings

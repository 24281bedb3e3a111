// The record-driven writer of a word meaning's text: stored records walked
// field by field and written through conversion tables into a caller's
// byte buffer (Concept::Export puts the sections together).
#ifndef CORVID5_MODEL_MEANINGS_RECORDEXPORT_H
#define CORVID5_MODEL_MEANINGS_RECORDEXPORT_H

#include <corvid5/FlmRecord.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace meanings {

enum ValueKind : uint8_t {
  kWideText = 0,
  kNativeText = 1,
  kUnsigned16 = 2,
  kUnsigned32 = 3,
  kRecordPointer = 4,
  kNameOnly = 5,
  kSkipped = 6,
  kRelationName = 7,
  kEqRelationName = 8,
  kPartOfSpeechName = 9,
};

// One known field: matched on tag and depth in its stored record; written
// as `name` at output level `level`. A table ends with tag 0.
struct ConversionEntry {
  uint16_t tag;
  uint8_t depth;
  uint8_t kind;
  const char* name;
  uint8_t level;
};

extern const ConversionEntry kVariantTable[];
extern const ConversionEntry kLinkTable[];
extern const ConversionEntry kEqLinkTable[];

// The caller's buffer, kept NUL-terminated. The room checks are the
// writer's own (Need); Append refuses on its own account only what would
// otherwise run past the end, which the checks do not always foresee
// (a five-digit number, a long error name, a header in a short buffer).
// Both throw error 106 with the line they are given.
class ExportBuffer {
 public:
  ExportBuffer(char* buffer, int size) : buffer_(buffer), size_(size) {}

  int Remaining() const { return size_ - used_; }
  void Need(int bytes, int line) const;
  void Append(const char* text, size_t length, int line);
  void Append(const char* text, int line);

 private:
  char* buffer_;
  int size_;
  int used_ = 0;
};

// The names that kinds 7 to 9 write, read from store 96 of one database and
// kept for the length of one export.
class NameLookup {
 public:
  explicit NameLookup(void* database) : database_(database) {}
  // False when no record carries the id.
  bool Find(uint8_t kind, int32_t id, std::string* name);

 private:
  void* database_;
  // Misses are kept too.
  std::map<std::pair<uint8_t, int32_t>, std::optional<std::string>> known_;
};

// Writes every field of `record`, root first, in document order.
void writeRecord(ExportBuffer& out, FlmRecord& record, const ConversionEntry* table,
                 NameLookup& names);

}  // namespace meanings

#endif

// Small reading helpers shared by the word-meaning classes: field presence
// without losing the current field, and wide text between the record layer's
// strings and the library's own builders.
#ifndef CORVID5_MODEL_MEANINGS_FIELDACCESS_H
#define CORVID5_MODEL_MEANINGS_FIELDACCESS_H

#include <corvid5/FlmRecord.h>

#include <cstdint>
#include <string>

namespace meanings {

// Records start empty (no root) unless a root tag is given; a literal 0
// would be as good a node pointer as a tag.
constexpr unsigned short kNoRoot = 0;
constexpr unsigned short kPoolBlock = 256;

// Lookups move the record's current field; the getters must not, since a
// client may be walking the record while it asks.
class KeepCurrent {
 public:
  explicit KeepCurrent(FlmRecord& record) : record_(record), field_(record.GetCurrentField()) {}
  ~KeepCurrent() { record_.SetCurrentField(field_); }
  KeepCurrent(const KeepCurrent&) = delete;
  KeepCurrent& operator=(const KeepCurrent&) = delete;

 private:
  FlmRecord& record_;
  void* field_;
};

// Anywhere in the record; the current field stays.
bool hasField(FlmRecord& record, unsigned short tag);
// Moves to the first direct child of the current field with the tag; stays
// put when there is none.
bool gotoChild(FlmRecord& record, unsigned short tag);
// The current field's text, or "" when it has none that reads as text.
std::u16string currentText(FlmRecord& record);

std::u16string fromBSTR(const unsigned short* text);
// A new string for the caller; null only when memory runs out.
unsigned short* toBSTR(const std::u16string& text);
void appendAscii(std::u16string& out, const char* text);
// UTF-8, as the record dump and the export write wide text.
std::string toNarrow(const std::u16string& text);

// The part-of-speech text of the meanings' table: "?" for 0, "" past 5.
const char* partOfSpeechText(unsigned code);

}  // namespace meanings

#endif

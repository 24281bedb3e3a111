// The word forms of one language wordnet in alphabetical order, each once.
#ifndef CORVID5_DICTIONARY_H
#define CORVID5_DICTIONARY_H

#include <corvid5/Export.h>
#include <corvid5/FlmCursor.h>
#include <corvid5/FlmRecord.h>
#include <stdint.h>

// The library's maker of the elements its collections hand out.
namespace collections {
template <class E>
struct Element;
}  // namespace collections

// A variant record seen for its literal only.
class CORVID5_API DictionaryEntry : public FlmRecord {
 public:
  DictionaryEntry(const DictionaryEntry& other);
  DictionaryEntry& operator=(DictionaryEntry& other);
  virtual ~DictionaryEntry();

  // A new string the caller frees, or null.
  unsigned short* GetLiteral();
  int HasConcepts();
  int HasDomains();
  int HasILIRecords();
  int HasTopConcepts();
  // Literals compared unit by unit, whatever case the filter ignores; two
  // entries without a literal are equal.
  int operator==(DictionaryEntry& other);
  int operator!=(DictionaryEntry& other);
  void Clear();
  void Destroy();

 protected:
  DictionaryEntry();
  friend class Dictionary;
  friend struct collections::Element<DictionaryEntry>;
};

// Walking skips the records that repeat the word form handed out last, so
// a GetFirst that lands on that same word form answers 0. Every entry is new
// and the caller's; on 0 *out holds a released entry (test the result).
class CORVID5_API Dictionary : public FlmCursor {
 public:
  Dictionary(const Dictionary& other);
  Dictionary& operator=(const Dictionary& other);
  virtual ~Dictionary();

  // Word forms from `from` (inclusive; none when null or empty) to `to`
  // (exclusive; none when null). Forgets the last entry.
  void SetFilter(const char* from, const char* to, int caseSensitive);
  // Wildcards on. Keeps the last entry.
  void SetFilter(const char* pattern, int caseSensitive);
  // Case-insensitive; replaces the filter for good. Throws 0xC006 when the
  // word form is not there.
  DictionaryEntry* GetEntry(const char* literal);
  int GetFirst(DictionaryEntry** out);
  int GetNext(DictionaryEntry** out);
  int GetPrevious(DictionaryEntry** out);
  int GetLast(DictionaryEntry** out);
  // No repeat test, and the last entry stays.
  int GetCurrent(DictionaryEntry** out);
  // Variant records, not distinct word forms.
  int32_t GetCount();
  void Destroy();

 protected:
  Dictionary();
  Dictionary(void* database, unsigned short container, uint32_t store);
  friend class LanguageWordNet;

 private:
  int ReadEnd(int (FlmCursor::*read)(FlmRecord&), DictionaryEntry** out);
  int ReadOn(int (FlmCursor::*read)(FlmRecord&), DictionaryEntry** out);
  // Throws the engine's code unless the criteria were built and validate.
  void Check(bool built);
  DictionaryEntry m_LastEntry;
};

#endif

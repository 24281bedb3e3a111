#include <corvid5/Dictionary.h>
#include <corvid5/PLXException.h>
#include <corvid5/Platform.h>

#include <memory>
#include <new>

#include "engine/Layout.h"
#include "engine/ReadFailure.h"
#include "model/CursorCollection.h"
#include "model/meanings/Criteria.h"
#include "model/meanings/FieldAccess.h"

using namespace layout;
using namespace meanings;

namespace {

constexpr uint32_t kNotFound = 0xC006;

enum : unsigned short { kOpLessThan = 26, kOpAtLeast = 29, kOpMatch = 22 };

int addTerm(FlmCursor& cursor, unsigned short op, const char* value) {
  return cursor.AddField(kLiteral, 0, 0) && cursor.AddOp(op) && cursor.AddValue(value);
}

}  // namespace

// ---- DictionaryEntry ----

DictionaryEntry::DictionaryEntry() : FlmRecord(kNoRoot, kPoolBlock) {}

DictionaryEntry::DictionaryEntry(const DictionaryEntry& other) : FlmRecord(other) {}

DictionaryEntry& DictionaryEntry::operator=(DictionaryEntry& other) = default;

DictionaryEntry::~DictionaryEntry() = default;

void DictionaryEntry::Destroy() { delete this; }

void DictionaryEntry::Clear() { FlmRecord::Clear(); }

unsigned short* DictionaryEntry::GetLiteral() {
  return FindGetBSTR(kLiteral, 1, fsRoot, faSubtree);
}

// Every word form of a wordnet names meanings, and nothing else is stored.
int DictionaryEntry::HasConcepts() { return 1; }

int DictionaryEntry::HasDomains() { return 0; }

int DictionaryEntry::HasILIRecords() { return 0; }

int DictionaryEntry::HasTopConcepts() { return 0; }

int DictionaryEntry::operator==(DictionaryEntry& other) {
  BSTR mine = GetLiteral();
  BSTR theirs = other.GetLiteral();
  int equal = 0;
  if (!mine || !theirs) {
    equal = !mine && !theirs;
  } else {
    const UINT length = SysStringLen(mine);
    equal = length == SysStringLen(theirs);
    for (UINT i = 0; equal && i < length; ++i) equal = mine[i] == theirs[i];
  }
  SysFreeString(mine);
  SysFreeString(theirs);
  return equal ? 1 : 0;
}

int DictionaryEntry::operator!=(DictionaryEntry& other) { return *this == other ? 0 : 1; }

// ---- Dictionary ----

Dictionary::Dictionary() = default;

Dictionary::Dictionary(void* database, unsigned short container, uint32_t store)
    : FlmCursor(database, container, store) {}

Dictionary::Dictionary(const Dictionary& other)
    : FlmCursor(other), m_LastEntry(other.m_LastEntry) {}

Dictionary& Dictionary::operator=(const Dictionary& other) {
  if (this == &other) return *this;
  FlmCursor::operator=(other);
  m_LastEntry = const_cast<DictionaryEntry&>(other.m_LastEntry);
  return *this;
}

Dictionary::~Dictionary() = default;

void Dictionary::Destroy() { delete this; }

void Dictionary::Check(bool built) {
  if (!built || !Validate()) throw PLXException(static_cast<uint32_t>(m_Error), nullptr, 0);
}

void Dictionary::SetFilter(const char* from, const char* to, int caseSensitive) {
  ClearCriteria();
  m_LastEntry.Clear();
  const bool lower = from && *from;
  bool built = !lower || addTerm(*this, kOpAtLeast, from);
  // An empty upper bound still counts: it lets nothing through.
  if (built && to) built = (!lower || AddOp(kOpAnd)) && addTerm(*this, kOpLessThan, to);
  Wildcards(0);
  CaseSensitive(caseSensitive);
  Check(built);
}

void Dictionary::SetFilter(const char* pattern, int caseSensitive) {
  ClearCriteria();
  const bool built = addTerm(*this, kOpMatch, pattern ? pattern : "");
  Wildcards(1);
  CaseSensitive(caseSensitive);
  Check(built);
}

DictionaryEntry* Dictionary::GetEntry(const char* literal) {
  ClearCriteria();
  const bool built = addTerm(*this, kOpEqual, literal ? literal : "");
  Wildcards(0);
  CaseSensitive(0);
  Check(built);
  std::unique_ptr<DictionaryEntry> entry(new (std::nothrow) DictionaryEntry);
  if (!entry || !ReadFirst(*entry)) {
    engine::throwIfReadFailed(m_Error, nullptr, 0);
    throw PLXException(kNotFound, nullptr, 0);
  }
  return entry.release();
}

int Dictionary::ReadEnd(int (FlmCursor::*read)(FlmRecord&), DictionaryEntry** out) {
  return collections::readInto(out, [this, read](DictionaryEntry& entry) {
    // The word form handed out last is not handed out again, even from the
    // other end.
    if (!(this->*read)(entry) || entry == m_LastEntry) return 0;
    m_LastEntry = entry;
    return 1;
  });
}

int Dictionary::ReadOn(int (FlmCursor::*read)(FlmRecord&), DictionaryEntry** out) {
  return collections::readInto(out, [this, read](DictionaryEntry& entry) {
    while ((this->*read)(entry)) {
      if (entry != m_LastEntry) {
        m_LastEntry = entry;
        return 1;
      }
    }
    return 0;
  });
}

int Dictionary::GetFirst(DictionaryEntry** out) { return ReadEnd(&FlmCursor::ReadFirst, out); }

int Dictionary::GetLast(DictionaryEntry** out) { return ReadEnd(&FlmCursor::ReadLast, out); }

int Dictionary::GetNext(DictionaryEntry** out) { return ReadOn(&FlmCursor::ReadNext, out); }

int Dictionary::GetPrevious(DictionaryEntry** out) { return ReadOn(&FlmCursor::ReadPrevious, out); }

int Dictionary::GetCurrent(DictionaryEntry** out) {
  return collections::read(*this, &FlmCursor::ReadCurrent, out);
}

int32_t Dictionary::GetCount() { return static_cast<int32_t>(GetRecCount()); }

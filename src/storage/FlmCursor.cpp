#include <corvid5/FlmCursor.h>
#include <corvid5/Platform.h>

#include <climits>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "flm/Criteria.h"
#include "flm/Cursor.h"
#include "flm/Database.h"
#include "flm/Dictionary.h"
#include "storage/CriteriaTokenizer.h"

using flm::RCODE;

namespace {

constexpr unsigned short kNoContainer = flm::FLM_DATA_CONTAINER;
constexpr unsigned short kSetFree = 0;
constexpr unsigned short kSetInUse = 255;
constexpr unsigned short kSetCount = 8;
constexpr UINT kCodePage = CP_ACP;
constexpr DWORD kPrecomposed = 0x1;
constexpr uint32_t kWriteOptionBase = 0x100;

// The engine cursor behind `cursor`. A cursor whose database was closed
// under it must not reach the engine, which would read the freed database.
flm::Cursor* engineOf(const FlmCursor& cursor, RCODE* rc) {
  auto* engine = static_cast<flm::Cursor*>(cursor.GetCursor());
  void* database = cursor.GetDatabase();
  if (!engine || (database && !flm::Database::fromHandle(database))) {
    *rc = flm::FERR_BAD_HDL;
    return nullptr;
  }
  *rc = flm::FERR_OK;
  return engine;
}

void throwIf(FlmError& error, RCODE rc) {
  error = rc;
  if (rc) throw FlmError(rc);
}

// The record's whole tree, without disturbing its current field.
node* rootOf(FlmRecord& record) {
  void* keep = record.GetCurrentField();
  record.GotoRoot();
  auto* root = static_cast<node*>(record.GetCurrentField());
  record.SetCurrentField(keep);
  return root;
}

}  // namespace

// ---- Construction and lifecycle ----

FlmCursor::FlmCursor()
    : FlmContext(nullptr, kNoContainer, 0), m_Error(0), m_hCursor(nullptr), m_ContextSets{},
      m_nFlags(0) {}

FlmCursor::FlmCursor(const FlmContext& context)
    : FlmContext(context), m_Error(0), m_hCursor(nullptr), m_ContextSets{}, m_nFlags(0) {
  ClearContextSets();
  if (!Init()) throw FlmError(m_Error);
}

// Unlike the other constructors this one is not asked to free the
// context-set slots; they start out free all the same, since slots holding
// whatever the memory held could not even be read safely.
FlmCursor::FlmCursor(void* database, unsigned short container, uint32_t store)
    : FlmContext(database, container, store), m_Error(0), m_hCursor(nullptr), m_ContextSets{},
      m_nFlags(0) {
  if (!Init()) throw FlmError(m_Error);
}

// The engine cursor cannot be shared (both would free it) nor cloned, so a
// copy gets a fresh one on the same place.
FlmCursor::FlmCursor(const FlmCursor& other)
    : FlmContext(other), m_Error(0), m_hCursor(nullptr), m_ContextSets{},
      m_nFlags(other.m_nFlags) {
  if (!other.m_hCursor) return;
  uint32_t master = 0;
  static_cast<const flm::Cursor*>(other.m_hCursor)->getConfig(flm::FCURSOR_GET_INDEX, 0, &master);
  if (!Init()) throw FlmError(m_Error);
  if (!master) return;
  RCODE rc = static_cast<flm::Cursor*>(m_hCursor)->setMasterIndex(static_cast<uint16_t>(master), 0);
  if (rc) {
    ReleaseEngineCursor();
    throw FlmError(rc);
  }
}

// Copy first, then swap, so that a failed copy leaves this cursor as it was.
FlmCursor& FlmCursor::operator=(const FlmCursor& other) {
  if (this == &other) return *this;
  FlmCursor copy(other);
  FlmContext::operator=(copy);
  std::swap(m_hCursor, copy.m_hCursor);
  std::swap(m_ContextSets, copy.m_ContextSets);
  m_nFlags = copy.m_nFlags;
  m_Error = copy.m_Error;
  return *this;
}

FlmCursor::~FlmCursor() {
  try {
    Free();
  } catch (const FlmError&) {  // a destructor has no one to tell
  }
}

int FlmCursor::Init() {
  flm::Database* database = nullptr;
  if (m_hDatabase && !(database = flm::Database::fromHandle(m_hDatabase)))
    return m_Error.Success(flm::FERR_BAD_HDL);
  flm::Cursor* cursor = nullptr;
  RCODE rc = flm::Cursor::init(database, m_nStore, m_nContainer, &cursor);
  if (!rc) m_hCursor = cursor;
  return m_Error.Success(rc);
}

void FlmCursor::Init(void* database, unsigned short container, uint32_t store) {
  ReleaseEngineCursor();
  SetSource(database, container, store);
  if (!Init()) throw FlmError(m_Error);
}

void FlmCursor::ReleaseEngineCursor() {
  if (!m_hCursor) return;
  auto* cursor = static_cast<flm::Cursor*>(m_hCursor);
  m_hCursor = nullptr;
  m_Error = flm::Cursor::free(&cursor);
}

void FlmCursor::Free() {
  if (!m_hCursor) return;
  ReleaseEngineCursor();
  if (!m_Error.Success()) throw FlmError(m_Error);
  ClearSource();
}

void FlmCursor::ThrowError() { throw FlmError(m_Error); }

void FlmCursor::DeleteAndThrowError() {
  FlmError error(m_Error);
  delete this;
  throw error;
}

// ---- Index and scope ----

void FlmCursor::SetIndex(unsigned short first, unsigned short index) {
  RCODE rc = flm::FERR_OK;
  flm::Cursor* engine = engineOf(*this, &rc);
  if (engine) rc = engine->config(flm::FCURSOR_SET_INDEX, index, first);
  throwIf(m_Error, rc);
}

unsigned short FlmCursor::GetIndex(unsigned short which) {
  RCODE rc = flm::FERR_OK;
  flm::Cursor* engine = engineOf(*this, &rc);
  uint32_t index = 0;
  if (engine) rc = engine->getConfig(flm::FCURSOR_GET_INDEX, which, &index);
  return m_Error.Success(rc) ? static_cast<unsigned short>(index) : 0;
}

void FlmCursor::SetMasterIndex(unsigned short index, unsigned char mode) {
  RCODE rc = flm::FERR_OK;
  flm::Cursor* engine = engineOf(*this, &rc);
  if (engine) rc = engine->setMasterIndex(index, mode);
  throwIf(m_Error, rc);
}

unsigned short FlmCursor::GetMasterIndex() { return GetIndex(0); }

unsigned short FlmCursor::OpenContextSet() {
  for (unsigned short i = 0; i < kSetCount; ++i) {
    if (m_ContextSets[i] == kSetFree) {
      m_ContextSets[i] = kSetInUse;
      return static_cast<unsigned short>(i + 1);
    }
  }
  return 0;
}

void FlmCursor::CloseContextSet(unsigned short set) {
  if (set >= 1 && set <= kSetCount) m_ContextSets[set - 1] = kSetFree;
}

void FlmCursor::ClearContextSets() {
  for (unsigned short& slot : m_ContextSets) slot = kSetFree;
}

void FlmCursor::AddContextToSet(unsigned short set, void* database, uint32_t store,
                                unsigned short container) {
  RCODE rc = flm::FERR_OK;
  flm::Cursor* engine = engineOf(*this, &rc);
  if (engine) {
    flm::Database* joined = flm::Database::fromHandle(database);
    rc = joined ? engine->addContext(set, joined, store, container) : flm::FERR_BAD_HDL;
  }
  throwIf(m_Error, rc);
}

void FlmCursor::AddContextToSet(unsigned short set, const FlmContext& context) {
  AddContextToSet(set, context.GetDatabase(), context.GetStore(), context.GetContainer());
}

// ---- Criteria, piece by piece ----

int FlmCursor::AddField(unsigned short tag, unsigned short flags, short) {
  RCODE rc = flm::FERR_OK;
  if (flm::Cursor* engine = engineOf(*this, &rc)) rc = engine->addField(&tag, 1, flags);
  return m_Error.Success(rc);
}

int FlmCursor::AddField(unsigned short* path, unsigned short count, short set) {
  RCODE rc = flm::FERR_OK;
  if (flm::Cursor* engine = engineOf(*this, &rc))
    rc = engine->addField(path, count, static_cast<uint16_t>(set));
  return m_Error.Success(rc);
}

int FlmCursor::AddOp(unsigned short op) {
  RCODE rc = flm::FERR_OK;
  if (flm::Cursor* engine = engineOf(*this, &rc)) rc = engine->addOp(op);
  return m_Error.Success(rc);
}

namespace {

template <class T>
RCODE addNumber(const FlmCursor& cursor, uint32_t type, T value) {
  RCODE rc = flm::FERR_OK;
  if (flm::Cursor* engine = engineOf(cursor, &rc))
    rc = engine->addValue(type, &value, sizeof value);
  return rc;
}

}  // namespace

int FlmCursor::AddValue(unsigned short value) {
  return m_Error.Success(addNumber(*this, flm::FLM_UINT16_VAL, value));
}

int FlmCursor::AddValue(short value) {
  return m_Error.Success(addNumber(*this, flm::FLM_INT16_VAL, value));
}

int FlmCursor::AddValue(uint32_t value) {
  return m_Error.Success(addNumber(*this, flm::FLM_UINT32_VAL, value));
}

int FlmCursor::AddValue(int32_t value) {
  return m_Error.Success(addNumber(*this, flm::FLM_INT32_VAL, value));
}

// The text reaches the engine from a buffer of our own, as the narrow form's
// does, so that running out of memory throws alike for both. A null text goes
// to the engine as it is, which refuses it.
int FlmCursor::AddValue(const unsigned short* text) {
  RCODE rc = flm::FERR_OK;
  flm::Cursor* engine = engineOf(*this, &rc);
  if (!engine || !text) {
    if (engine) rc = engine->addValue(flm::FLM_UNICODE_VAL, text, 0);
    return m_Error.Success(rc);
  }
  size_t units = 0;
  while (text[units]) ++units;
  std::unique_ptr<unsigned short[]> copy(new (std::nothrow) unsigned short[units + 1]);
  if (!copy) {
    m_Error = flm::FERR_MEM;
    throw FlmError(flm::FERR_MEM);
  }
  std::memcpy(copy.get(), text, (units + 1) * sizeof(unsigned short));
  return m_Error.Success(engine->addValue(flm::FLM_UNICODE_VAL, copy.get(), units));
}

// A failed conversion keeps the system's reason, as a record's failed
// conversions do.
int FlmCursor::AddValue(const char* text) {
  RCODE rc = flm::FERR_OK;
  flm::Cursor* engine = engineOf(*this, &rc);
  if (!engine || !text) {
    if (engine) rc = engine->addValue(flm::FLM_UNICODE_VAL, text, 0);
    return m_Error.Success(rc);
  }
  size_t length = std::strlen(text);
  if (length >= INT_MAX) {
    m_Error = ERROR_INVALID_PARAMETER;
    return 0;
  }
  // UTF-8 never needs more UTF-16 units than it has bytes.
  BSTR wide = SysAllocStringLen(nullptr, static_cast<UINT>(length));
  if (!wide) {
    m_Error = flm::FERR_MEM;
    throw FlmError(flm::FERR_MEM);
  }
  int units = MultiByteToWideChar(kCodePage, kPrecomposed, text, static_cast<int>(length) + 1, wide,
                                  static_cast<int>(length) + 1);
  if (units <= 0) {
    m_Error = GetLastError();
    SysFreeString(wide);
    return 0;
  }
  rc = engine->addValue(flm::FLM_UNICODE_VAL, wide, static_cast<size_t>(units - 1));
  SysFreeString(wide);
  return m_Error.Success(rc);
}

int FlmCursor::AddValue(node* field, int) {
  RCODE rc = flm::FERR_OK;
  if (flm::Cursor* engine = engineOf(*this, &rc)) rc = engine->addFieldValue(field);
  return m_Error.Success(rc);
}

int FlmCursor::SetCriteria(const char* criteria) {
  if (!criteria) {
    ClearCriteria();
    return 1;
  }
  const uint16_t size = storage::criteriaBufferSize(std::strlen(criteria));
  std::unique_ptr<char[]> buffer(new (std::nothrow) char[size]);
  if (!buffer) return m_Error.Success(flm::FERR_MEM);

  flm::Database* database = flm::Database::fromHandle(m_hDatabase);
  if (!database) return m_Error.Success(flm::FERR_BAD_HDL);
  const flm::NameTable& names = database->nameTable();
  RCODE rc = flm::FERR_OK;
  flm::Cursor* engine = engineOf(*this, &rc);
  if (!engine) return m_Error.Success(rc);

  storage::CriteriaTokenizer tokens(criteria, buffer.get(), size);
  for (;;) {
    storage::CriteriaToken token = tokens.next(&names);
    switch (token.kind) {
      case storage::CriteriaToken::End:
        rc = engine->validate();
        break;
      case storage::CriteriaToken::Operator:
        rc = engine->addOp(token.op);
        break;
      case storage::CriteriaToken::Text:
        rc = engine->addValue(flm::FLM_STRING_VAL, token.text, token.length);
        break;
      case storage::CriteriaToken::Number:
        rc = engine->addValue(flm::FLM_UINT32_VAL, &token.number, sizeof token.number);
        break;
      case storage::CriteriaToken::Field:
        rc = engine->addField(&token.field, 1, 0);
        break;
    }
    if (rc || token.kind == storage::CriteriaToken::End) break;
  }
  return m_Error.Success(rc);
}

void FlmCursor::HandOverFlags() {
  RCODE rc = flm::FERR_OK;
  if (flm::Cursor* engine = engineOf(*this, &rc)) rc = engine->setMode(m_nFlags);
  throwIf(m_Error, rc);
}

void FlmCursor::Wildcards(int on) {
  unsigned flags = m_nFlags;
  flags = on ? (flags & ~flm::FLM_NO_WILD) | flm::FLM_WILD
             : (flags & ~flm::FLM_WILD) | flm::FLM_NO_WILD;
  m_nFlags = static_cast<unsigned short>(flags);
  HandOverFlags();
}

void FlmCursor::CaseSensitive(int on) {
  unsigned flags = m_nFlags;
  flags = on ? (flags & ~flm::FLM_NOCASE) | flm::FLM_CASE
             : (flags & ~flm::FLM_CASE) | flm::FLM_NOCASE;
  m_nFlags = static_cast<unsigned short>(flags);
  HandOverFlags();
}

void FlmCursor::ClearCriteria() {
  uint32_t master = 0;
  if (m_hCursor) {
    static_cast<const flm::Cursor*>(m_hCursor)->getConfig(flm::FCURSOR_GET_INDEX, 0, &master);
    ReleaseEngineCursor();
  }
  if (!Init()) throw FlmError(m_Error);
  auto* engine = static_cast<flm::Cursor*>(m_hCursor);
  if (master) throwIf(m_Error, engine->setMasterIndex(static_cast<uint16_t>(master), 0));
  throwIf(m_Error, engine->config(flm::FCURSOR_SET_REC_TYPE, 0, 0));
}

int FlmCursor::Validate() {
  RCODE rc = flm::FERR_OK;
  if (flm::Cursor* engine = engineOf(*this, &rc)) rc = engine->validate();
  return m_Error.Success(rc);
}

// ---- Reading and positioning ----

uint32_t FlmCursor::GetRecCount() {
  RCODE rc = flm::FERR_OK;
  uint32_t count = 0;
  if (flm::Cursor* engine = engineOf(*this, &rc)) rc = engine->recordCount(&count);
  throwIf(m_Error, rc);
  return count;
}

namespace {
enum Move { kFirst, kNext, kPrevious, kLast };
}

int FlmCursor::Step(int move, uint32_t* recordNumber) {
  RCODE rc = flm::FERR_OK;
  flm::Cursor* engine = engineOf(*this, &rc);
  uint32_t number = 0;
  if (engine) {
    switch (move) {
      case kFirst: rc = engine->moveFirst(&number); break;
      case kNext: rc = engine->moveNext(&number); break;
      case kPrevious: rc = engine->movePrev(&number); break;
      default: rc = engine->moveLast(&number); break;
    }
  }
  if (!rc && recordNumber) *recordNumber = number;
  return m_Error.Success(rc);
}

int FlmCursor::GoFirst(uint32_t* recordNumber) { return Step(kFirst, recordNumber); }
int FlmCursor::GoNext(uint32_t* recordNumber) { return Step(kNext, recordNumber); }
int FlmCursor::GoPrevious(uint32_t* recordNumber) { return Step(kPrevious, recordNumber); }
int FlmCursor::GoLast(uint32_t* recordNumber) { return Step(kLast, recordNumber); }

uint32_t FlmCursor::CurrentRecordID() {
  RCODE rc = flm::FERR_OK;
  uint32_t number = 0;
  if (flm::Cursor* engine = engineOf(*this, &rc)) rc = engine->current(&number);
  throwIf(m_Error, rc);
  return number;
}

int FlmCursor::ReadFirst(FlmRecord& record) { return m_Error.Success(record.CursorFirst(*this)); }
int FlmCursor::ReadNext(FlmRecord& record) { return m_Error.Success(record.CursorNext(*this)); }
int FlmCursor::ReadPrevious(FlmRecord& record) { return m_Error.Success(record.CursorPrev(*this)); }
int FlmCursor::ReadLast(FlmRecord& record) { return m_Error.Success(record.CursorLast(*this)); }
int FlmCursor::ReadCurrent(FlmRecord& record) {
  return m_Error.Success(record.CursorCurrent(*this));
}

int FlmCursor::ReadRecord(uint32_t recordNumber, FlmRecord& record) {
  int read = record.Retrieve(*this, recordNumber);
  m_Error = record.GetFlmError();
  return read;
}

int FlmCursor::ReadMatching(unsigned short tag, unsigned short op, uint32_t value,
                            FlmRecord& record) {
  ClearCriteria();
  if (!AddField(tag, 0, 0) || !AddOp(op) || !AddValue(value) || !Validate()) return 0;
  return ReadFirst(record);
}

// ---- Writing ----

// Unsigned, so that the largest int still gets its 0x100.
uint32_t FlmCursor::WriteOptions(int flags) {
  return flags < 0 ? 0 : static_cast<uint32_t>(flags) + kWriteOptionBase;
}

// Our engine writes without options; the word is still worked out from the
// caller's flags so that every write is asked for as it always was.
int FlmCursor::AddRecord(FlmRecord& record, uint32_t recordNumber, int flags) {
  [[maybe_unused]] const uint32_t options = WriteOptions(flags);
  flm::Database* database = flm::Database::fromHandle(m_hDatabase);
  if (!database) return m_Error.Success(flm::FERR_BAD_HDL);
  uint32_t number = recordNumber;
  if (!m_Error.Success(database->add(m_nStore, m_nContainer, &number, rootOf(record)))) return 0;
  record.SetSource(*this, number);
  return 1;
}

int FlmCursor::AddRecord(FlmRecord& record, int flags) { return AddRecord(record, 0, flags); }

int FlmCursor::UpdateRecord(FlmRecord& record, int flags) {
  const uint32_t number = record.GetID();
  if (!number) return 0;
  [[maybe_unused]] const uint32_t options = WriteOptions(flags);
  flm::Database* database = flm::Database::fromHandle(m_hDatabase);
  if (!database) return m_Error.Success(flm::FERR_BAD_HDL);
  if (!m_Error.Success(database->modify(m_nStore, m_nContainer, number, rootOf(record)))) return 0;
  record.SetSource(*this, number);
  return 1;
}

int FlmCursor::DeleteRecord(uint32_t recordNumber, int flags) {
  if (!recordNumber) return 0;
  [[maybe_unused]] const uint32_t options = WriteOptions(flags);
  flm::Database* database = flm::Database::fromHandle(m_hDatabase);
  if (!database) return m_Error.Success(flm::FERR_BAD_HDL);
  return m_Error.Success(database->remove(m_nStore, m_nContainer, recordNumber));
}

int FlmCursor::DeleteRecord(FlmRecord& record, int flags) {
  return DeleteRecord(record.GetID(), flags);
}

#include <corvid5/FlmRecord.h>
#include <corvid5/FlmCursor.h>
#include <corvid5/Platform.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string.h>  // strnlen, which <cstring> need not declare

#include "flm/Cursor.h"
#include "flm/Database.h"
#include "flm/Dictionary.h"
#include "flm/Node.h"
#include "flm/Pool.h"
#include "flm/Value.h"
#include "storage/RecordFormat.h"

using flm::RCODE;

namespace {

// A literal 0 would be as good a node pointer as a tag.
constexpr unsigned short kNoRoot = 0;
// What a root without a source reports as its container.
constexpr unsigned short kNoSourceContainer = flm::FLM_DATA_CONTAINER;
constexpr short kLastPosition = flm::GED_LAST;
constexpr UINT kCodePage = CP_ACP;
constexpr DWORD kCompositeCheck = 0x200;
constexpr DWORD kPrecomposed = 0x1;

// The value as Unicode in a heap buffer the caller frees, with room for a
// terminator. The buffer is sized as the engine's text reads always were:
// the length plus 2 bytes, rounded to even, plus 2.
RCODE readUnicode(const node* field, WCHAR** text, uint32_t* bytes) {
  *text = nullptr;
  *bytes = 0;
  uint32_t length = 0;
  RCODE rc = flm::getUnicodeLength(field, &length);
  if (rc) return rc;
  if (length > UINT32_MAX - 8) return flm::FERR_VALUE_TOO_LARGE;
  uint32_t size = ((length + 2 + 1) & ~uint32_t{1}) + 2;
  auto* buffer = static_cast<WCHAR*>(std::malloc(size));
  if (!buffer) return flm::FERR_MEM;
  uint32_t got = size;
  rc = flm::getUnicode(field, buffer, &got);
  if (rc) {
    std::free(buffer);
    return rc;
  }
  *text = buffer;
  *bytes = got;
  return flm::FERR_OK;
}

template <class T>
RCODE readNumber(const node* field, RCODE (*get)(const node*, T*), T* value) {
  *value = 0;
  return field ? get(field, value) : flm::FERR_CONV_NULL_SRC;
}

RCODE putNumber(PoolMemoryManager* pool, node* field, int64_t value) {
  return field ? flm::putInt(pool, field, value) : flm::FERR_CONV_NULL_DEST;
}

// Selects the occurrence-th sibling with the tag walking one way from `from`.
// An occurrence of 0 or below takes the first match.
node* nthSibling(const node* from, unsigned short tag, short occurrence,
                 node* (*step)(const node*)) {
  for (node* s = step(from); s; s = step(s)) {
    if (s->tag != tag) continue;
    if (occurrence < 2) return s;
    --occurrence;
  }
  return nullptr;
}

unsigned deepestLevel(const node* tree) {
  unsigned deepest = tree->level;
  for (const node* n = tree; n; n = flm::nodeWalkNext(flm::GED_TREE, tree, n))
    if (n->level > deepest) deepest = n->level;
  return deepest - tree->level;
}

}  // namespace

// The record keeps its own copy of the dictionary's names, so that the table
// stays good when the database is closed before the record is done with it.
struct FlmRecord::NameTableCopy {
  explicit NameTableCopy(const flm::Dictionary& source) : dictionary(source), names(dictionary) {}
  flm::Dictionary dictionary;
  flm::NameTable names;
};

// ---- Construction, copying, ownership ----

FlmRecord::FlmRecord(unsigned short rootTag, unsigned short poolBlockSize)
    : m_Error(0), m_pRoot(nullptr), m_pCurrent(nullptr), m_Pool(poolBlockSize),
      m_pNameTable(nullptr) {
  if (rootTag) {
    RCODE rc = flm::FERR_OK;
    m_pRoot = m_pCurrent = flm::nodeMake(m_Pool, rootTag, &rc);
    m_Error = rc;
  }
}

FlmRecord::FlmRecord(node* tree, unsigned short poolBlockSize) : FlmRecord(kNoRoot, poolBlockSize) {
  CopyNode(tree);
}

FlmRecord::FlmRecord(const FlmRecord& other) : FlmRecord(kNoRoot, 256) { CopyNode(other.m_pRoot); }

FlmRecord& FlmRecord::operator=(node* tree) {
  CopyNode(tree);
  return *this;
}

FlmRecord& FlmRecord::operator=(FlmRecord& other) {
  if (this != &other) CopyNode(other.m_pRoot);
  return *this;
}

FlmRecord::~FlmRecord() { delete m_pNameTable; }

// The copy is made in a fresh pool before the old one is let go: the tree may
// be one of this record's own subtrees, which emptying the pool first would
// destroy while it is being copied.
void FlmRecord::CopyNode(node* tree) {
  PoolMemoryManager* pool = m_Pool;
  flm::PoolMemoryManager fresh;
  flm::poolInit(&fresh, pool->blockSize);
  RCODE rc = flm::FERR_OK;
  node* copy = tree ? flm::treeCopy(&fresh, flm::GED_TREE, tree, &rc) : nullptr;
  flm::poolFree(pool);
  *pool = fresh;
  m_pRoot = m_pCurrent = copy;
  m_Error = rc;
}

PoolMemoryManager* FlmRecord::GetPool() { return m_Pool; }

void FlmRecord::SetRoot(node* tree) { m_pRoot = m_pCurrent = tree; }

void FlmRecord::Clear() {
  m_Pool.ResetAll();
  m_pRoot = m_pCurrent = nullptr;
}

FlmNameTable* FlmRecord::GetNameTable() {
  if (m_pNameTable) return &m_pNameTable->names;
  flm::Database* database = flm::Database::fromHandle(GetDatabase());
  if (!database) {
    m_Error = flm::FERR_BAD_HDL;
    return nullptr;
  }
  try {
    m_pNameTable = new NameTableCopy(database->dictionary());
  } catch (const std::bad_alloc&) {
    m_Error = flm::FERR_MEM;
    return nullptr;
  }
  m_Error = flm::FERR_OK;
  return &m_pNameTable->names;
}

// ---- Identity and source ----

uint32_t FlmRecord::GetID() {
  const flm::SourceNode* source = m_pRoot ? flm::nodeSource(m_pRoot) : nullptr;
  return source ? source->drn : 0;
}

void FlmRecord::GetSource(void** database, unsigned short* container, uint32_t* store,
                          uint32_t* recordNumber) {
  const flm::SourceNode* source = m_pRoot ? flm::nodeSource(m_pRoot) : nullptr;
  if (database) *database = source ? source->database : nullptr;
  if (container) *container = source ? source->container : kNoSourceContainer;
  if (store) *store = source ? source->store : 0;
  if (recordNumber) *recordNumber = source ? source->drn : 0;
}

void* FlmRecord::GetDatabase() {
  void* database = nullptr;
  GetSource(&database, nullptr, nullptr, nullptr);
  return database;
}

uint32_t FlmRecord::GetStore() {
  uint32_t store = 0;
  GetSource(nullptr, nullptr, &store, nullptr);
  return store;
}

unsigned short FlmRecord::GetContainer() {
  unsigned short container = 0;
  GetSource(nullptr, &container, nullptr, nullptr);
  return container;
}

// The bound root replaces the old one only through its own links: the first
// child still leads back to the old root, which stays in the pool. Records
// have always behaved so (GotoParent from a child of the root reaches the old
// root), and nothing else in the tree is touched.
void FlmRecord::SetSource(void* database, unsigned short container, uint32_t store,
                          uint32_t recordNumber) {
  if (!m_pRoot) {
    m_Error = flm::FERR_NULL_RECORD;
    return;
  }
  if (!recordNumber) recordNumber = GetID();
  RCODE rc = flm::FERR_OK;
  node* bound = flm::nodeMakeWithSource(m_Pool, m_pRoot->tag, database, store, container,
                                        recordNumber, &rc);
  m_Error = rc;
  if (!bound) return;
  bound->type = static_cast<uint8_t>(flm::kHasSource | flm::nodeType(m_pRoot));
  bound->value = m_pRoot->value;  // values are never changed in place
  bound->length = m_pRoot->length;
  bound->level = m_pRoot->level;
  bound->prev = m_pRoot->prev;
  bound->next = m_pRoot->next;
  if (m_pCurrent == m_pRoot) m_pCurrent = bound;
  m_pRoot = bound;
}

void FlmRecord::SetSource(const FlmContext& context, uint32_t recordNumber) {
  SetSource(context.GetDatabase(), context.GetContainer(), context.GetStore(), recordNumber);
}

// ---- Navigation ----

void FlmRecord::GotoRoot() { m_pCurrent = m_pRoot; }

// Moves the current field along one of the tree's relations; stays put when
// there is nothing that way.
int FlmRecord::Goto(node* (*relation)(const node*)) {
  node* n = m_pCurrent ? relation(m_pCurrent) : nullptr;
  if (!n) return 0;
  m_pCurrent = n;
  return 1;
}

int FlmRecord::GotoParent() { return Goto(flm::nodeParent); }
int FlmRecord::GotoChild() { return Goto(flm::nodeChild); }
int FlmRecord::GotoNext() { return Goto(flm::nodeNextSibling); }
int FlmRecord::GotoPrevious() { return Goto(flm::nodePrevSibling); }

int FlmRecord::GotoFirst() {
  while (GotoPrevious()) {
  }
  return 1;
}

int FlmRecord::GotoLast() {
  while (GotoNext()) {
  }
  return 1;
}

void* FlmRecord::GetCurrentField() { return m_pCurrent; }

void FlmRecord::SetCurrentField(void* field) { m_pCurrent = static_cast<node*>(field); }

unsigned short FlmRecord::GetTag() { return m_pCurrent ? m_pCurrent->tag : 0; }

// Longer values report the largest length the result can hold.
unsigned short FlmRecord::GetLength() {
  if (!m_pCurrent) return 0;
  return m_pCurrent->length > 0xFFFF ? 0xFFFF : static_cast<unsigned short>(m_pCurrent->length);
}

unsigned short FlmRecord::GetRootTag() { return m_pRoot ? m_pRoot->tag : 0; }

// ---- Finding, counting, changing ----

node* FlmRecord::StartField(eFindStart start) const {
  if (start == fsRoot) return m_pRoot;
  if (!m_pCurrent) return nullptr;
  switch (start) {
    case fsCurrent:
      return m_pCurrent;
    case fsParent:
      return flm::nodeParent(m_pCurrent);
    case fsChild:
      return flm::nodeChild(m_pCurrent);
    case fsNextSibling:
      return flm::nodeNextSibling(m_pCurrent);
    case fsPrevSibling:
      return flm::nodePrevSibling(m_pCurrent);
    default:
      return nullptr;
  }
}

int FlmRecord::FindField(unsigned short tag, short occurrence, eFindStart start, eFindArea area) {
  node* from = StartField(start);
  if (!from) return 0;
  node* found = nullptr;
  switch (area) {
    case faSubtree:
    case faAllSiblings:  // finding reads value 4 as a subtree search
      found = flm::nodeFind(flm::GED_TREE, from, tag, occurrence);
      break;
    case faForest:
      found = flm::nodeFind(flm::GED_FOREST, from, tag, occurrence);
      break;
    case faNextSiblings:
      found = nthSibling(from, tag, occurrence, flm::nodeNextSibling);
      break;
    case faPrevSiblings:
      found = nthSibling(from, tag, occurrence, flm::nodePrevSibling);
      break;
    default:
      return 0;
  }
  if (!found) return 0;
  m_pCurrent = found;
  return 1;
}

unsigned short FlmRecord::GetFieldCount(unsigned short tag, eFindStart start, eFindArea area) {
  node* from = StartField(start);
  if (!from) return 0;
  unsigned short count = 0;
  auto tally = [&](const node* n) {
    if (n->tag == tag) ++count;
  };
  switch (area) {
    case faSubtree:
    case faForest: {
      flm::TreeMode mode = area == faSubtree ? flm::GED_TREE : flm::GED_FOREST;
      for (const node* n = from; n; n = flm::nodeWalkNext(mode, from, n)) tally(n);
      break;
    }
    case faNextSiblings:
      for (const node* n = flm::nodeNextSibling(from); n; n = flm::nodeNextSibling(n)) tally(n);
      break;
    case faPrevSiblings:
      for (const node* n = flm::nodePrevSibling(from); n; n = flm::nodePrevSibling(n)) tally(n);
      break;
    case faAllSiblings: {  // counting reads value 4 as the start's sibling row
      const node* first = from;
      while (const node* p = flm::nodePrevSibling(first)) first = p;
      for (const node* n = first; n; n = flm::nodeNextSibling(n)) tally(n);
      break;
    }
    default:
      return 0;
  }
  return count;
}

void FlmRecord::IncludeField(unsigned short tag, int include, short occurrence, eFindStart start,
                             eFindArea area) {
  if (FindField(tag, occurrence, start, area)) {
    if (!include) DeleteField(0, 0, fsCurrent, faSubtree);
  } else if (include) {
    AddField(tag, kLastPosition, start, gmChild);
  }
}

int FlmRecord::AddField(unsigned short tag, short position, eFindStart start, eGraftMode mode) {
  RCODE rc = flm::FERR_OK;
  node* field = flm::nodeMake(m_Pool, tag, &rc);
  m_Error = rc;
  if (!field) return 0;
  return Graft(field, position, start, mode);
}

int FlmRecord::AddRecord(FlmRecord& record, short position, eFindStart start, eGraftMode mode) {
  if (!record.m_pRoot) return 0;
  RCODE rc = flm::FERR_OK;
  node* copy = flm::treeCopy(m_Pool, flm::GED_TREE, record.m_pRoot, &rc);
  m_Error = rc;
  if (!copy) return 0;
  return Graft(copy, position, start, mode);
}

// Levels are eight bits wide; a graft that would push a field below level 255
// would wrap its level and tear the tree apart, so it is refused.
int FlmRecord::Graft(node* field, short position, eFindStart start, eGraftMode mode) {
  node* at = StartField(start);
  if (!at || (mode != gmChild && mode != gmSibling)) return 0;
  unsigned top = at->level + (mode == gmChild ? 1u : 0u);
  if (top + deepestLevel(field) > 255) {
    m_Error = flm::FERR_GED_MAXLVLNUM;
    return 0;
  }
  if (mode == gmChild)
    flm::nodeChildGraft(at, field, position);
  else
    flm::nodeSiblingGraft(at, field, position);
  m_pCurrent = field;
  return 1;
}

int FlmRecord::DeleteField(unsigned short tag, short occurrence, eFindStart start,
                           eFindArea area) {
  if (tag && !FindField(tag, occurrence, start, area)) return 0;
  node* doomed = m_pCurrent;
  if (!doomed) return 0;
  node* next = flm::nodeNextSibling(doomed);
  if (!next) next = flm::nodePrevSibling(doomed);
  if (!next) next = flm::nodeParent(doomed);
  if (doomed == m_pRoot) m_pRoot = nullptr;
  flm::nodeClip(doomed);
  m_pCurrent = next;
  return 1;
}

// ---- Typed access ----

int FlmRecord::Get(unsigned short** bstr) {
  if (!bstr) return 0;
  SysFreeString(*bstr);
  *bstr = nullptr;
  if (!m_pCurrent) {
    m_Error = flm::FERR_CONV_NULL_SRC;
    return 0;
  }
  WCHAR* text = nullptr;
  uint32_t bytes = 0;
  if (!m_Error.Success(readUnicode(m_pCurrent, &text, &bytes))) return 0;
  *bstr = SysAllocStringLen(text, bytes / 2);
  std::free(text);
  return *bstr != nullptr;
}

// A text longer than the buffer leaves in it the part the conversion got to
// write, with no terminator: callers go by the result.
int FlmRecord::Get(char* buffer, unsigned short size) {
  if (buffer && size) buffer[0] = '\0';
  if (!m_pCurrent) {
    m_Error = flm::FERR_CONV_NULL_SRC;
    return 0;
  }
  WCHAR* text = nullptr;
  uint32_t bytes = 0;
  if (!m_Error.Success(readUnicode(m_pCurrent, &text, &bytes))) return 0;
  uint32_t units = bytes / 2;
  if (units >= INT_MAX) {
    std::free(text);
    m_Error = flm::FERR_VALUE_TOO_LARGE;
    return 0;
  }
  // One unit more than the text, so that the terminator comes along.
  int written = WideCharToMultiByte(kCodePage, kCompositeCheck, text, static_cast<int>(units) + 1,
                                    buffer, size, "~", nullptr);
  std::free(text);
  if (written == 0) {
    m_Error = GetLastError();
    return 0;
  }
  return 1;
}

int FlmRecord::Get(int32_t* value) {
  return m_Error.Success(readNumber(m_pCurrent, flm::getInt32, value));
}

int FlmRecord::Get(uint32_t* value) {
  return m_Error.Success(readNumber(m_pCurrent, flm::getUint32, value));
}

int FlmRecord::Get(short* value) {
  return m_Error.Success(readNumber(m_pCurrent, flm::getInt16, value));
}

int FlmRecord::Get(unsigned short* value) {
  return m_Error.Success(readNumber(m_pCurrent, flm::getUint16, value));
}

int FlmRecord::StringLength(unsigned short* length) {
  *length = 0;
  uint32_t bytes = 0;
  RCODE rc = m_pCurrent ? flm::getUnicodeLength(m_pCurrent, &bytes) : flm::FERR_CONV_NULL_SRC;
  if (!m_Error.Success(rc)) return 0;
  uint32_t units = bytes / 2;
  *length = units > 0xFFFF ? 0xFFFF : static_cast<unsigned short>(units);
  return 1;
}

int FlmRecord::Put(unsigned short* text) { return Put(static_cast<const unsigned short*>(text)); }

int FlmRecord::Put(const unsigned short* text) {
  if (!text || !*text) return DeleteField(0, 0, fsCurrent, faSubtree);
  if (!m_pCurrent) {
    m_Error = flm::FERR_CONV_NULL_DEST;
    return 0;
  }
  size_t units = 0;
  while (text[units]) ++units;
  return m_Error.Success(flm::putUnicode(m_Pool, m_pCurrent, text, units));
}

int FlmRecord::Put(const char* text) {
  if (!text || !*text) return DeleteField(0, 0, fsCurrent, faSubtree);
  size_t length = std::strlen(text);
  if (length > INT_MAX - 2) return 0;
  auto* wide = static_cast<WCHAR*>(std::malloc((length + 2) * sizeof(WCHAR)));
  if (!wide) return 0;
  int units = MultiByteToWideChar(kCodePage, kPrecomposed, text, static_cast<int>(length), wide,
                                  static_cast<int>(length + 2));
  int result = 0;
  if (units > 0) {
    if (!m_pCurrent)
      m_Error = flm::FERR_CONV_NULL_DEST;
    else
      result = m_Error.Success(
          flm::putUnicode(m_Pool, m_pCurrent, wide, static_cast<size_t>(units)));
  }
  std::free(wide);
  return result;
}

int FlmRecord::Put(uint32_t value) { return static_cast<int>(putNumber(m_Pool, m_pCurrent, value)); }

int FlmRecord::Put(unsigned short value) {
  return static_cast<int>(putNumber(m_Pool, m_pCurrent, value));
}

int FlmRecord::Put(int32_t value) { return static_cast<int>(putNumber(m_Pool, m_pCurrent, value)); }

int FlmRecord::Put(short value) { return static_cast<int>(putNumber(m_Pool, m_pCurrent, value)); }

// ---- Find and get ----

unsigned short* FlmRecord::FindGetBSTR(unsigned short tag, short occurrence, eFindStart start,
                                       eFindArea area) {
  node* keep = m_pCurrent;
  unsigned short* text = nullptr;
  if (FindField(tag, occurrence, start, area)) Get(&text);
  m_pCurrent = keep;
  return text;
}

unsigned short FlmRecord::FindGetString(char* buffer, unsigned short size, unsigned short tag,
                                        short occurrence, eFindStart start, eFindArea area) {
  node* keep = m_pCurrent;
  unsigned short length = 0;
  if (FindField(tag, occurrence, start, area) && Get(buffer, size) && buffer)
    length = static_cast<unsigned short>(strnlen(buffer, size));
  m_pCurrent = keep;
  return length;
}

short FlmRecord::FindGetWSWORD(unsigned short tag, short occurrence, eFindStart start,
                               eFindArea area) {
  node* keep = m_pCurrent;
  short value = 0;
  if (FindField(tag, occurrence, start, area)) Get(&value);
  m_pCurrent = keep;
  return value;
}

unsigned short FlmRecord::FindGetWUWORD(unsigned short tag, short occurrence, eFindStart start,
                                        eFindArea area) {
  node* keep = m_pCurrent;
  unsigned short value = 0;
  if (FindField(tag, occurrence, start, area)) Get(&value);
  m_pCurrent = keep;
  return value;
}

int32_t FlmRecord::FindGetWSDWORD(unsigned short tag, short occurrence, eFindStart start,
                                  eFindArea area) {
  node* keep = m_pCurrent;
  unsigned short value = 0;
  if (FindField(tag, occurrence, start, area)) Get(&value);
  m_pCurrent = keep;
  return static_cast<int32_t>(value);
}

uint32_t FlmRecord::FindGetRecPtr(unsigned short tag, short occurrence, eFindStart start,
                                  eFindArea area) {
  node* keep = m_pCurrent;
  uint32_t drn = 0;
  if (FindField(tag, occurrence, start, area)) flm::getRecPtr(m_pCurrent, &drn);
  m_pCurrent = keep;
  return drn;
}

void FlmRecord::AssignField(unsigned short tag, const char* value, short occurrence,
                            short position, eFindStart start, eFindArea area) {
  if (!FindField(tag, occurrence, start, area) && !AddField(tag, position, start, gmChild)) return;
  Put(value);
}

void FlmRecord::AssignField(unsigned short tag, short value, short occurrence, short position,
                            eFindStart start, eFindArea area) {
  if (!FindField(tag, occurrence, start, area) && !AddField(tag, position, start, gmChild)) return;
  Put(value);
}

void FlmRecord::AssignField(unsigned short tag, int32_t value, short occurrence, short position,
                            eFindStart start, eFindArea area) {
  if (!FindField(tag, occurrence, start, area) && !AddField(tag, position, start, gmChild)) return;
  Put(value);
}

// ---- Storage ----

namespace {

// The open database behind a handle; a stale handle is the bad-handle error.
flm::Database* liveDatabase(void* handle, FlmError& error) {
  flm::Database* db = flm::Database::fromHandle(handle);
  if (!db) error = flm::FERR_BAD_HDL;
  return db;
}

}  // namespace

int FlmRecord::Retrieve(void* database, uint32_t store, unsigned short container,
                        uint32_t recordNumber) {
  Clear();
  flm::Database* db = liveDatabase(database, m_Error);
  if (!db) return 0;
  node* root = nullptr;
  if (!m_Error.Success(db->retrieve(store, container, recordNumber, m_Pool, &root))) return 0;
  m_pRoot = m_pCurrent = root;
  return 1;
}

int FlmRecord::Retrieve(const FlmContext& context, uint32_t recordNumber) {
  return Retrieve(context.GetDatabase(), context.GetStore(), context.GetContainer(), recordNumber);
}

int FlmRecord::Add(void* database, uint32_t store, unsigned short container,
                   uint32_t recordNumber) {
  flm::Database* db = liveDatabase(database, m_Error);
  if (!db) return 0;
  uint32_t number = recordNumber ? recordNumber : GetID();
  return m_Error.Success(db->add(store, container, &number, m_pRoot));
}

int FlmRecord::Add(const FlmContext& context, uint32_t recordNumber) {
  return Add(context.GetDatabase(), context.GetStore(), context.GetContainer(), recordNumber);
}

int FlmRecord::Update(void* database, uint32_t store, unsigned short container,
                      uint32_t recordNumber) {
  flm::Database* db = liveDatabase(database, m_Error);
  if (!db) return 0;
  uint32_t number = recordNumber ? recordNumber : GetID();
  return m_Error.Success(db->modify(store, container, number, m_pRoot));
}

int FlmRecord::Update(const FlmContext& context, uint32_t recordNumber) {
  return Update(context.GetDatabase(), context.GetStore(), context.GetContainer(), recordNumber);
}

int FlmRecord::Remove(void* database, uint32_t store, unsigned short container,
                      uint32_t recordNumber) {
  flm::Database* db = liveDatabase(database, m_Error);
  if (!db) return 0;
  uint32_t number = recordNumber ? recordNumber : GetID();
  return m_Error.Success(db->remove(store, container, number));
}

int FlmRecord::Remove(const FlmContext& context, uint32_t recordNumber) {
  return Remove(context.GetDatabase(), context.GetStore(), context.GetContainer(), recordNumber);
}

// ---- Cursor reads ----

namespace {
enum CursorMove { kMoveFirst, kMoveNext, kMovePrev, kMoveLast, kStay };
}

// The read record is bound to the cursor's own context with record number 0,
// so the root keeps the number the engine read it under. A cursor whose
// database was closed is refused before the engine reads the freed one.
uint32_t FlmRecord::CursorRead(FlmCursor& cursor, int move) {
  Clear();
  auto* engine = static_cast<flm::Cursor*>(cursor.GetCursor());
  void* database = cursor.GetDatabase();
  if (!engine || (database && !flm::Database::fromHandle(database))) return flm::FERR_BAD_HDL;
  RCODE rc = flm::FERR_OK;
  switch (move) {
    case kMoveFirst:
      rc = engine->moveFirst(nullptr);
      break;
    case kMoveNext:
      rc = engine->moveNext(nullptr);
      break;
    case kMovePrev:
      rc = engine->movePrev(nullptr);
      break;
    case kMoveLast:
      rc = engine->moveLast(nullptr);
      break;
    default:
      break;
  }
  node* root = nullptr;
  if (!rc) rc = engine->read(m_Pool, &root);
  if (rc) return rc;
  m_pRoot = m_pCurrent = root;
  // A joining cursor made without a database of its own has no place to name:
  // the record then keeps the place the engine read it from, so that it can
  // still reach the records around it.
  if (database) SetSource(cursor, 0);
  return m_Error;
}

uint32_t FlmRecord::CursorFirst(FlmCursor& cursor) { return CursorRead(cursor, kMoveFirst); }
uint32_t FlmRecord::CursorNext(FlmCursor& cursor) { return CursorRead(cursor, kMoveNext); }
uint32_t FlmRecord::CursorPrev(FlmCursor& cursor) { return CursorRead(cursor, kMovePrev); }
uint32_t FlmRecord::CursorLast(FlmCursor& cursor) { return CursorRead(cursor, kMoveLast); }
uint32_t FlmRecord::CursorCurrent(FlmCursor& cursor) { return CursorRead(cursor, kStay); }

// ---- Dump and errors ----

int FlmRecord::Format(char* buffer, unsigned short size) {
  FlmNameTable* names = GetNameTable();
  uint16_t written = size;
  return m_Error.Success(storage::formatTrees(1, m_pRoot, buffer, &written, names, kCodePage));
}

void FlmRecord::ThrowError() { throw FlmError(m_Error); }

void FlmRecord::DeleteAndThrowError() {
  FlmError error(m_Error);
  delete this;
  throw error;
}

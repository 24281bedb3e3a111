// One FLAIM record in memory: a tree of tagged fields in the record's own
// pool, a current field on which the field operations act, and the place the
// record was read from or bound to.
#ifndef CORVID5_FLMRECORD_H
#define CORVID5_FLMRECORD_H

#include <corvid5/Export.h>
#include <corvid5/FlmContext.h>
#include <corvid5/FlmError.h>
#include <corvid5/FlmPool.h>

#include <stdint.h>

namespace flm {
struct Node;
struct PoolMemoryManager;
class NameTable;
}  // namespace flm
using node = flm::Node;
using FlmNameTable = flm::NameTable;

class FlmCursor;

// The field at which a search, count or insertion begins, relative to the
// current field.
// The enumerations have a fixed underlying type so that any value a caller
// passes is a valid one; values outside the tables are refused at run time.
enum eFindStart : int {
  fsRoot = 0,
  fsCurrent = 1,
  fsParent = 2,
  fsChild = 3,
  fsNextSibling = 4,
  fsPrevSibling = 5
};

// The fields around the start that a search or count looks at. faAllSiblings
// has two readings: counting covers the start's whole sibling row, finding
// covers the start's subtree (as faSubtree). Callers rely on both.
enum eFindArea : int {
  faSubtree = 0,
  faForest = 1,
  faNextSiblings = 2,
  faPrevSiblings = 3,
  faAllSiblings = 4
};

// How AddField and AddRecord place the new field relative to the start.
enum eGraftMode : int { gmChild = 0, gmSibling = 1 };

// Every value-reading operation keeps the engine's code in the record's
// error; the caller decides whether to ThrowError(). Node pointers handed out
// (GetCurrentField, GetPool) stay valid only until the next read, copy or
// Clear(), each of which empties the pool.
class CORVID5_API FlmRecord {
 public:
  // A nonzero tag makes a root field of that tag. Callers pass 256.
  FlmRecord(unsigned short rootTag, unsigned short poolBlockSize);
  FlmRecord(node* tree, unsigned short poolBlockSize);
  FlmRecord(const FlmRecord& other);
  FlmRecord& operator=(node* tree);
  FlmRecord& operator=(FlmRecord& other);
  virtual ~FlmRecord();

  PoolMemoryManager* GetPool();

  // Makes the node root and current without copying; the caller keeps it
  // alive.
  void SetRoot(node* tree);
  void Clear();

  // Identity and source. A root that carries no source reports database 0,
  // store 0, container 32001 and record number 0.
  uint32_t GetID();
  void GetSource(void** database, unsigned short* container, uint32_t* store,
                 uint32_t* recordNumber);
  void* GetDatabase();
  uint32_t GetStore();
  unsigned short GetContainer();
  // Record number 0 keeps the root's own number.
  void SetSource(void* database, unsigned short container, uint32_t store,
                 uint32_t recordNumber);
  void SetSource(const FlmContext& context, uint32_t recordNumber);

  // Navigation: 1 on a move; 0, staying put, when there is nowhere to go.
  void GotoRoot();
  int GotoParent();
  int GotoChild();
  int GotoNext();
  int GotoPrevious();
  // Always 1, also when already first or last.
  int GotoFirst();
  int GotoLast();
  void* GetCurrentField();
  void SetCurrentField(void* field);
  unsigned short GetTag();
  unsigned short GetLength();
  unsigned short GetRootTag();

  // Searching, counting and changing fields. Occurrences count from 1.
  int FindField(unsigned short tag, short occurrence, eFindStart start, eFindArea area);
  unsigned short GetFieldCount(unsigned short tag, eFindStart start, eFindArea area);
  void IncludeField(unsigned short tag, int include, short occurrence, eFindStart start,
                    eFindArea area);
  // Position 32767 means last.
  int AddField(unsigned short tag, short position, eFindStart start, eGraftMode mode);
  int AddRecord(FlmRecord& record, short position, eFindStart start, eGraftMode mode);
  // Tag 0 deletes the current field.
  int DeleteField(unsigned short tag, short occurrence, eFindStart start, eFindArea area);

  // Typed access to the current field.
  int Get(unsigned short** bstr);
  int Get(char* buffer, unsigned short size);
  int Get(int32_t* value);
  int Get(uint32_t* value);
  int Get(short* value);
  int Get(unsigned short* value);
  int StringLength(unsigned short* length);
  // A null or empty text deletes the current field.
  int Put(unsigned short* text);
  int Put(const unsigned short* text);
  int Put(const char* text);
  // The numeric puts answer the engine's code itself: 0 is success. They
  // leave the record's error alone.
  int Put(uint32_t value);
  int Put(unsigned short value);
  int Put(int32_t value);
  int Put(short value);

  // Each finds, reads on success, and puts the current field back.
  unsigned short* FindGetBSTR(unsigned short tag, short occurrence, eFindStart start,
                              eFindArea area);
  unsigned short FindGetString(char* buffer, unsigned short size, unsigned short tag,
                               short occurrence, eFindStart start, eFindArea area);
  short FindGetWSWORD(unsigned short tag, short occurrence, eFindStart start, eFindArea area);
  unsigned short FindGetWUWORD(unsigned short tag, short occurrence, eFindStart start,
                               eFindArea area);
  // Reads 16 bits only: never negative, never above 65535. Callers rely on it.
  int32_t FindGetWSDWORD(unsigned short tag, short occurrence, eFindStart start, eFindArea area);
  uint32_t FindGetRecPtr(unsigned short tag, short occurrence, eFindStart start, eFindArea area);

  // Finds the field, adding it as a child of the start at `position` when it
  // is missing, then puts the value. A field that cannot be added is given up
  // silently.
  void AssignField(unsigned short tag, const char* value, short occurrence, short position,
                   eFindStart start, eFindArea area);
  void AssignField(unsigned short tag, short value, short occurrence, short position,
                   eFindStart start, eFindArea area);
  void AssignField(unsigned short tag, int32_t value, short occurrence, short position,
                   eFindStart start, eFindArea area);

  // Storage. Record number 0 means the root's own number (for Add: or a new
  // one, which is not written back into the record).
  int Retrieve(void* database, uint32_t store, unsigned short container, uint32_t recordNumber);
  int Retrieve(const FlmContext& context, uint32_t recordNumber);
  int Add(void* database, uint32_t store, unsigned short container, uint32_t recordNumber);
  int Add(const FlmContext& context, uint32_t recordNumber);
  int Update(void* database, uint32_t store, unsigned short container, uint32_t recordNumber);
  int Update(const FlmContext& context, uint32_t recordNumber);
  int Remove(void* database, uint32_t store, unsigned short container, uint32_t recordNumber);
  int Remove(const FlmContext& context, uint32_t recordNumber);

  // For FlmCursor: read the cursor's first (next, ...) record into this one
  // and bind it to the cursor's context. The engine's code: 0 is success.
  uint32_t CursorFirst(FlmCursor& cursor);
  uint32_t CursorNext(FlmCursor& cursor);
  uint32_t CursorPrev(FlmCursor& cursor);
  uint32_t CursorLast(FlmCursor& cursor);
  uint32_t CursorCurrent(FlmCursor& cursor);

  // The whole tree as indented, tagged lines; nonzero on success. The buffer
  // must hold the whole dump: what does not fit is cut off.
  int Format(char* buffer, unsigned short size);

  const FlmError& GetFlmError() const { return m_Error; }
  void ThrowError();
  // For records made with new: deletes this record, then throws.
  void DeleteAndThrowError();

 protected:
  // Replaces the tree with a copy of `tree` and makes the copy current.
  void CopyNode(node* tree);
  // Made on first use from the root's database; null without a live one.
  FlmNameTable* GetNameTable();

  FlmError m_Error;
  node* m_pRoot;
  node* m_pCurrent;
  FlmPool m_Pool;

 private:
  struct NameTableCopy;

  node* StartField(eFindStart start) const;
  int Goto(node* (*relation)(const node*));
  int Graft(node* field, short position, eFindStart start, eGraftMode mode);
  uint32_t CursorRead(FlmCursor& cursor, int move);

  NameTableCopy* m_pNameTable;
};

// Walks one subtree depth first, never leaving it.
class CORVID5_API FlmTreeWalker {
 public:
  FlmTreeWalker();

  void Reset(node* start);
  // 1 after a step; 0, staying put, once the walk would leave the subtree.
  int GoNext();
  node* GetNode() const { return m_pNode; }

 private:
  node* m_pNode;
  uint8_t m_nBaseLevel;
};

#endif

// A FLAIM query cursor over one database, store and container: criteria given
// piece by piece or as one criteria string, and the matching records counted,
// stepped through, read, updated and deleted.
#ifndef CORVID5_FLMCURSOR_H
#define CORVID5_FLMCURSOR_H

#include <corvid5/Export.h>
#include <corvid5/FlmContext.h>
#include <corvid5/FlmError.h>
#include <corvid5/FlmRecord.h>

#include <stdint.h>

// The cursor is its own context: records read through it report the cursor's
// database, container and store as their source.
//
// Context sets join further (database, store, container) places into one
// query. OpenContextSet only books a set number (1 to 8); AddContextToSet
// tells the engine where that set reads. A field names the context set it
// reads in the low four bits of AddField's `flags` (for a field path, its
// last argument): 1 to 8 for a set; 0 for
// the cursor's own source, or set 1 for a cursor made without a database. A
// joining cursor returns the records of its highest context set. The
// databases of every set must stay open as long as the cursor is used.
//
// Operations answering int keep the engine's code in the cursor's error and
// answer 0 on failure; ThrowError() raises it. SetIndex, SetMasterIndex,
// AddContextToSet, Wildcards, CaseSensitive, ClearCriteria, GetRecCount,
// CurrentRecordID, Free, Init(void*, ...) and the constructors that make an
// engine cursor throw FlmError themselves. A cursor whose database has been
// closed answers FLAIM's bad-handle code.
class CORVID5_API FlmCursor : public FlmContext {
 public:
  // No database (container 32001, store 0) and no engine cursor.
  FlmCursor();
  explicit FlmCursor(const FlmContext& context);
  FlmCursor(void* database, unsigned short container, uint32_t store);
  // A copy reads the same place with an engine cursor of its own, as
  // ClearCriteria would leave the original: no criteria and no context sets,
  // the master index kept with key component 0, and the wildcard and case
  // flags kept but not yet handed to the engine. A cursor without an engine
  // cursor copies as one without.
  FlmCursor(const FlmCursor& other);
  FlmCursor& operator=(const FlmCursor& other);
  virtual ~FlmCursor();

  // Replaces the context and makes a new engine cursor; a cursor made before
  // is released rather than leaked.
  void Init(void* database, unsigned short container, uint32_t store);
  // Releases the engine cursor and clears the context to zero; nothing
  // happens without an engine cursor.
  void Free();
  void* GetCursor() const { return m_hCursor; }

  const FlmError& GetFlmError() const { return m_Error; }
  void ThrowError();
  // For cursors made with new: deletes this cursor, then throws.
  void DeleteAndThrowError();

  // Index and scope. Callers pass 0 as `first`.
  void SetIndex(unsigned short first, unsigned short index);
  // `which` 0 asks for the master index; 0 on failure.
  unsigned short GetIndex(unsigned short which);
  // `mode` is the key component that orders the records; 0 means the first.
  void SetMasterIndex(unsigned short index, unsigned char mode);
  unsigned short GetMasterIndex();
  // The first free set number, 1 to 8; 0 when all eight are taken.
  unsigned short OpenContextSet();
  // Numbers outside 1 to 8 are ignored.
  void CloseContextSet(unsigned short set);
  void ClearContextSets();
  void AddContextToSet(unsigned short set, void* database, uint32_t store,
                       unsigned short container);
  void AddContextToSet(unsigned short set, const FlmContext& context);

  // Criteria, piece by piece. The short arguments are not used.
  int AddField(unsigned short tag, unsigned short flags, short unused);
  // A path of `count` field numbers from the record's root down; the third
  // argument names the context set the path reads, as AddField's flags do
  // (callers that do not join pass 0).
  int AddField(unsigned short* path, unsigned short count, short set);
  int AddOp(unsigned short op);
  int AddValue(unsigned short value);
  int AddValue(short value);
  int AddValue(uint32_t value);
  int AddValue(int32_t value);
  int AddValue(const unsigned short* text);
  // Narrow text in code page 0.
  int AddValue(const char* text);
  // The field's own value, compared as the field's type reads: text as text,
  // numbers, record pointers, dates and times as numbers. The int argument is
  // not used.
  int AddValue(node* field, int unused);
  // Adds to the criteria already held; a null string clears them and answers
  // 1. Tokens are read into a buffer of the string's length plus one, that
  // size kept in 16 bits: from 65535 bytes on it wraps round (65539 bytes
  // give 4), and a token is cut where it no longer fits, its rest read as the
  // next token. Criteria nested or chained to any depth get an answer or an
  // error.
  int SetCriteria(const char* criteria);
  // The whole flags word goes to the engine on each call.
  void Wildcards(int on);
  void CaseSensitive(int on);
  // A new engine cursor on the same place, keeping only the master index
  // (with key component 0). The wildcard and case flags stay in this object
  // and reach the engine again at the next Wildcards or CaseSensitive call.
  void ClearCriteria();
  int Validate();

  // Reading and positioning. `recordNumber` may be null.
  uint32_t GetRecCount();
  int GoFirst(uint32_t* recordNumber);
  int GoNext(uint32_t* recordNumber);
  int GoPrevious(uint32_t* recordNumber);
  int GoLast(uint32_t* recordNumber);
  uint32_t CurrentRecordID();
  int ReadFirst(FlmRecord& record);
  int ReadNext(FlmRecord& record);
  int ReadPrevious(FlmRecord& record);
  int ReadLast(FlmRecord& record);
  int ReadCurrent(FlmRecord& record);
  int ReadRecord(uint32_t recordNumber, FlmRecord& record);
  // Replaces the criteria by `tag` `op` `value` and reads the first match;
  // nonzero when a record was read.
  int ReadMatching(unsigned short tag, unsigned short op, uint32_t value, FlmRecord& record);

  // Writing into the cursor's own place. A negative `flags` asks for no
  // options, any other value for `flags` plus 0x100.
  // Record number 0 lets the engine choose one; the record is then bound to
  // the cursor under the number it was stored with.
  int AddRecord(FlmRecord& record, uint32_t recordNumber, int flags);
  int AddRecord(FlmRecord& record, int flags);
  // 0 at once for a record that was never read or bound.
  int UpdateRecord(FlmRecord& record, int flags);
  // 0 at once for record number 0.
  int DeleteRecord(uint32_t recordNumber, int flags);
  int DeleteRecord(FlmRecord& record, int flags);

 protected:
  // Makes an engine cursor on the context; nonzero on success.
  int Init();
  // The engine's option word for a write's `flags`.
  static uint32_t WriteOptions(int flags);

  FlmError m_Error;
  void* m_hCursor;
  // Slot value 0 = free, 255 = in use; set n is slot n - 1.
  unsigned short m_ContextSets[8];
  unsigned short m_nFlags;

 private:
  void ReleaseEngineCursor();
  void HandOverFlags();
  int Step(int move, uint32_t* recordNumber);
};

#endif

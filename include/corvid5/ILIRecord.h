// A record of the inter-lingual index, and collections of them.
#ifndef CORVID5_ILIRECORD_H
#define CORVID5_ILIRECORD_H

#include <corvid5/Export.h>
#include <corvid5/FlmCursor.h>
#include <corvid5/FlmRecord.h>
#include <stdint.h>

// The library's maker of the elements its collections hand out.
namespace collections {
template <class E>
struct Element;
}  // namespace collections

class Domain;
class TopConcept;

// Index records live in container 32001 of store 98; the record number is
// the id that equivalence links carry. Text getters answer a new string the
// caller frees, or null.
class CORVID5_API ILIRecord : public FlmRecord {
 public:
  ILIRecord(const ILIRecord& other);
  ILIRecord& operator=(ILIRecord& other);
  ILIRecord& operator=(FlmRecord& other);
  virtual ~ILIRecord();

  int32_t GetRecordID();
  unsigned short* GetGloss();
  // "?" without a code; null for a code past the table (6 and above).
  unsigned short* GetPartOfSpeech();
  int32_t GetWordNetOffset();
  // The first top concept that lists the record whose id the object in
  // *topConcept carries on entry -- not this record's own id. Callers have
  // always reached this record's top concept by passing the record itself:
  //
  //     TopConcept* top = reinterpret_cast<TopConcept*>(record);
  //     if (record->GetTopConcept(&top)) { ...; top->Destroy(); }
  //
  // On 1 *topConcept is a new TopConcept the caller owns; on 0 (no such top
  // concept, or a null *topConcept) it is left as it was.
  int GetTopConcept(TopConcept** topConcept);
  // Domains are not stored: always 0, *domain untouched.
  int GetDomain(Domain** domain);
  void Destroy();

 protected:
  ILIRecord();
  // Empty, bound to the index records of `database` with record number 0.
  explicit ILIRecord(void* database);
  friend class Concept;
  friend struct collections::Element<ILIRecord>;
};

// Released element left in *out on 0, as for every collection.
class CORVID5_API ILIRecords : public FlmCursor {
 public:
  ILIRecords(const ILIRecords& other);
  ILIRecords& operator=(const ILIRecords& other);
  virtual ~ILIRecords();

  int GetFirst(ILIRecord** out);
  int GetNext(ILIRecord** out);
  int GetPrevious(ILIRecord** out);
  int GetLast(ILIRecord** out);
  int GetCurrent(ILIRecord** out);
  int32_t GetCount();
  void Destroy();

 protected:
  ILIRecords();
  ILIRecords(void* database, unsigned short container, uint32_t store);
  friend class Concept;
  friend class Polylex;
};

// A cursor over the index with nothing of its own beyond FlmCursor.
class CORVID5_API ILI : public FlmCursor {
 public:
  ILI(const ILI& other);
  ILI& operator=(const ILI& other);
  virtual ~ILI();
  void Destroy();

 protected:
  ILI();
};

#endif

// The top ontology: concepts above the inter-lingual index, linked by super,
// sub, similar and opposite links, and the two kinds of collection of them.
#ifndef CORVID5_TOPCONCEPT_H
#define CORVID5_TOPCONCEPT_H

#include <corvid5/Export.h>
#include <corvid5/FlmContext.h>
#include <corvid5/FlmCursor.h>
#include <corvid5/FlmRecord.h>
#include <stdint.h>

// The library's maker of the elements its collections hand out.
namespace collections {
template <class E>
struct Element;
}  // namespace collections

class LinkedTopConcepts;
class TopConceptVariant;
class TopConceptVariants;

// One record of container 310 in store 98; its record number is its id. The
// links sit beneath a links group, and only links found there count.
class CORVID5_API TopConcept : public FlmRecord {
 public:
  TopConcept(const TopConcept& other);
  TopConcept& operator=(TopConcept& other);
  TopConcept& operator=(FlmRecord& other);
  virtual ~TopConcept();

  int32_t GetRecordID();
  // A new string the caller frees, or null.
  unsigned short* GetGloss();
  // In memory only; FlmRecord::Update stores it.
  void PutGloss(const char* gloss);
  // The walks never throw. They answer 0 when the links group or the link is
  // missing, and a list with a zero link among its ids is refused whole; the
  // out argument is then not to be used (callers test the result).
  int GetSuper(TopConcept** super);
  int GetSubs(LinkedTopConcepts** subs);
  int GetSimilars(LinkedTopConcepts** similars);
  int GetOpposites(LinkedTopConcepts** opposites);
  // The names of this top concept in the language of store `storeID`. The n-th
  // counts from 1 and throws error 104 when there is no such variant.
  TopConceptVariants* GetTopConceptVariants(uint32_t storeID);
  TopConceptVariant* GetTopConceptVariant(uint32_t storeID, short n);
  short GetTopConceptVariantCount(uint32_t storeID);
  void Destroy();

 protected:
  TopConcept();
  int GetLinkedTopConcepts(unsigned short tag, LinkedTopConcepts** list);
  friend struct collections::Element<TopConcept>;
  friend class ILIRecord;
};

// What both collections of top concepts answer to. Clients end one with
// Destroy(), never with delete.
class CORVID5_API TopConcepts {
 public:
  virtual void Destroy() = 0;
  virtual short GetCount() = 0;
  // Released element left in *out on 0, as for every collection.
  virtual int GetFirst(TopConcept** out) = 0;
  virtual int GetNext(TopConcept** out) = 0;
  virtual int GetPrevious(TopConcept** out) = 0;
  virtual int GetLast(TopConcept** out) = 0;
  virtual int GetCurrent(TopConcept** out) = 0;

 protected:
  TopConcepts() = default;
  TopConcepts(const TopConcepts&) = default;
  TopConcepts& operator=(const TopConcepts&) = default;
  ~TopConcepts() = default;
};

// Every top concept, through a cursor.
class CORVID5_API CursorTopConcepts : public FlmCursor, public TopConcepts {
 public:
  CursorTopConcepts(const CursorTopConcepts& other);
  CursorTopConcepts& operator=(const CursorTopConcepts& other);
  virtual ~CursorTopConcepts();

  void Destroy() override;
  short GetCount() override;
  int GetFirst(TopConcept** out) override;
  int GetNext(TopConcept** out) override;
  int GetPrevious(TopConcept** out) override;
  int GetLast(TopConcept** out) override;
  int GetCurrent(TopConcept** out) override;

 protected:
  CursorTopConcepts();
  CursorTopConcepts(void* database, unsigned short container, uint32_t store);
  friend class Polylex;
};

// The concepts one link kind of a top concept names, read as they are
// walked. Positions count from 1; a move that fails stays where it was and
// leaves the out argument null (no element was made). Copies share the list
// of ids and walk it on their own.
class CORVID5_API LinkedTopConcepts : public FlmContext, public TopConcepts {
 public:
  LinkedTopConcepts(const LinkedTopConcepts& other);
  LinkedTopConcepts& operator=(const LinkedTopConcepts& other);
  virtual ~LinkedTopConcepts();

  void Destroy() override;
  short GetCount() override;
  int GetFirst(TopConcept** out) override;
  int GetNext(TopConcept** out) override;
  int GetPrevious(TopConcept** out) override;
  int GetLast(TopConcept** out) override;
  // 0 before the first move.
  int GetCurrent(TopConcept** out) override;

 protected:
  LinkedTopConcepts(void* database, int count);
  // Positions outside 1..count are ignored.
  void SetRecPtr(int position, uint32_t id);
  int Goto(int position, TopConcept** topConcept);
  friend class TopConcept;

 private:
  struct Ids;
  void Release();
  Ids* m_pIds;
  int32_t m_nCount;
  int32_t m_nPosition;
};

#endif

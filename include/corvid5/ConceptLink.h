// A language-internal relation from one word meaning to another, and the
// collection of such links.
#ifndef CORVID5_CONCEPTLINK_H
#define CORVID5_CONCEPTLINK_H

#include <corvid5/Export.h>
#include <corvid5/FlmCursor.h>
#include <corvid5/FlmRecord.h>

#include <stdint.h>

// The library's maker of the elements its collections hand out.
namespace collections {
template <class E>
struct Element;
}  // namespace collections

class Concept;
class ConceptVariant;

// Value getters answer 0 for an absent field. The concept getters throw
// when the link names no meaning at that end or the meaning can't be read;
// the variant getters answer null for a link without a variant at that end.
class CORVID5_API ConceptLink : public FlmRecord {
 public:
  ConceptLink(const ConceptLink& other);
  virtual ~ConceptLink();

  short GetRelation();
  int32_t GetSourceConceptID();
  int32_t GetTargetConceptID();
  Concept* GetSourceConcept();
  Concept* GetTargetConcept();
  ConceptVariant* GetSourceVariant();
  ConceptVariant* GetTargetVariant();
  short GetConjunctive();
  short GetDisjunctive();
  // 1 factive, 2 non-factive, 0 neither; factive wins when both are marked.
  short GetFactivity();
  // Presence only: the value, if any, is not looked at.
  int GetNegative();
  int GetReversed();

  void Destroy();

 protected:
  ConceptLink();

  // Looked up in the link's own store.
  Concept* RetrieveConcept(unsigned short tag);
  ConceptVariant* RetrieveVariant(unsigned short tag);

  friend struct collections::Element<ConceptLink>;
};

// Released element left in *out on 0, as for every collection.
class CORVID5_API ConceptLinks : public FlmCursor {
 public:
  ConceptLinks(const ConceptLinks& other);
  ConceptLinks& operator=(const ConceptLinks& other);
  virtual ~ConceptLinks();

  int GetFirst(ConceptLink** out);
  int GetNext(ConceptLink** out);
  int GetPrevious(ConceptLink** out);
  int GetLast(ConceptLink** out);
  int GetCurrent(ConceptLink** out);
  int32_t GetCount();

  void Destroy();

 protected:
  ConceptLinks();
  ConceptLinks(void* database, unsigned short container, uint32_t store);

  friend class Concept;
};

#endif

// A word meaning of a language wordnet, and the collection of word meanings.
#ifndef CORVID5_CONCEPT_H
#define CORVID5_CONCEPT_H

#include <corvid5/Export.h>
#include <corvid5/FlmCursor.h>
#include <corvid5/FlmRecord.h>

#include <stdint.h>

// The library's maker of the elements its collections hand out.
namespace collections {
template <class E>
struct Element;
}  // namespace collections

class ConceptVariant;
class ConceptVariants;
class ConceptLinks;
class Concepts;
class EqLinks;
class ILIRecord;
class ILIRecords;

// The record every variant, link and equivalence of one meaning points at;
// its record number is its identity. Each collection getter answers a new
// collection over the records that point here, owned by the caller.
class CORVID5_API Concept : public FlmRecord {
 public:
  Concept(const Concept& other);
  Concept& operator=(Concept& other);
  Concept& operator=(FlmRecord& other);
  virtual ~Concept();

  int32_t GetRecordID();
  // 1 word meaning, 2 instance.
  short GetType();
  short GetPartOfSpeechCode();
  // "n", "v", "a", "b", "pn"; "?" for no code and "" past the table. The
  // caller frees the string.
  unsigned short* GetPartOfSpeech();
  // Writes the text only when it fits whole with its terminator, else an
  // empty string; answers the length written.
  short GetPartOfSpeech(char* buffer, short size);

  ConceptVariants* GetConceptVariants();
  // Counted from 1 in the variant index's order; throws error 104 past the
  // last one.
  ConceptVariant* GetConceptVariant(short n);
  short GetConceptVariantCount();
  // Relation 0 stands for every relation.
  ConceptLinks* GetConceptLinks(short relation);
  // A join of links and meanings whose terms both read the link's source, so
  // that it answers this meaning itself when it has such a link, and nothing
  // otherwise. Callers of this library have always seen it so.
  Concepts* GetLinkedConcepts(short relation);
  Concepts* GetHyperonyms();
  Concepts* GetHyponyms();

  // 0 when no equivalence link of this meaning leads to that record.
  short GetEqRelation(uint32_t iliRecordID);
  // Only a meaning with exactly one synonym link has an equivalence synonym.
  int GetEqSynonym(ILIRecord** out);
  // The collection's criteria are not validated here; its first read does.
  int GetILIRecords(short eqRelation, ILIRecords** out);

  // The record-driven text of this meaning with its variants and links,
  // NUL-terminated within `size` bytes; `flags` are not used. Throws error
  // 106 when the buffer runs out, leaving what was written in place.
  void Export(char* buffer, int size, unsigned int flags);

  void Destroy();

 protected:
  Concept();
  // Not yet stored: bound to the meaning container of `store`, record 0.
  Concept(void* database, uint32_t store);

  EqLinks* GetEqLinks(short eqRelation);

  friend class Concepts;
  friend struct collections::Element<Concept>;
  friend class ConceptVariant;
  friend class ConceptLink;
  friend class LanguageWordNet;
};

// Every collection getter sets the cursor up before handing it out; only
// GetItem(const char*) changes the criteria afterwards.
//
// The navigation operations store the new element in *out before reading.
// When the read fails they release it and answer 0, and *out keeps the
// released element's address: callers test the result, never the pointer.
class CORVID5_API Concepts : public FlmCursor {
 public:
  Concepts(const Concepts& other);
  Concepts& operator=(const Concepts& other);
  virtual ~Concepts();

  int GetFirst(Concept** out);
  int GetNext(Concept** out);
  int GetPrevious(Concept** out);
  int GetLast(Concept** out);
  int GetCurrent(Concept** out);
  int32_t GetCount();

  // By record number, through the cursor; the criteria stay.
  int GetItem(uint32_t id, Concept** out);
  // Replaces the criteria by "literal equals text" for good, then reads the
  // first match.
  int GetItem(const char* text, Concept** out);

  // Stored at once; null for a part of speech not in the table or a refused
  // write.
  Concept* AddMeaning(const char* partOfSpeech);
  Concept* AddInstance();
  // Made like `model` but not stored: the caller stores it when it wants to.
  Concept* AddCoordinate(Concept& model);

  void Destroy();

 protected:
  // No database of its own: for joins over context sets.
  Concepts();
  Concepts(void* database, unsigned short container, uint32_t store);

 private:
  Concept* AddStored(unsigned short type, unsigned short partOfSpeech);

  friend class Concept;
  friend class LanguageWordNet;
  friend class Polylex;
};

#endif

// One language's share of the multilingual database, and the collection of
// the languages a database holds.
#ifndef CORVID5_LANGUAGEWORDNET_H
#define CORVID5_LANGUAGEWORDNET_H

#include <corvid5/Export.h>
#include <corvid5/FlmCursor.h>
#include <corvid5/FlmRecord.h>
#include <stdint.h>

class ConceptExporter;
class ConceptVariants;
class Concept;
class Concepts;
class Dictionary;
class ILIVariants;
class Language;
class TopConceptVariants;

// Holds the language's descriptor record: its code, its store and its names.
// Every getter answers a new collection the caller ends with Destroy();
// criteria the engine refuses throw PLXException with its code.
class CORVID5_API LanguageWordNet : public FlmRecord {
 public:
  // A copy makes an exporter of its own.
  LanguageWordNet(const LanguageWordNet& other);
  LanguageWordNet& operator=(LanguageWordNet& other);
  // Loads a descriptor; only one naming a language store (100 to 199) with
  // a database gets a new exporter, others keep the one they had.
  LanguageWordNet& operator=(FlmRecord& record);
  virtual ~LanguageWordNet();

  uint32_t GetStoreID();
  Language* GetLanguage();
  Concepts* GetConcepts();
  // The meanings with a variant of this literal.
  Concepts* GetConcepts(const char* literal);
  // The meanings linked to that index record (by relation `relation`, or any
  // when 0); null, not an empty collection, when there is none.
  Concepts* GetConcepts(uint32_t iliRecordID, short relation);
  ConceptVariants* GetConceptVariants(const char* literal);
  Dictionary* GetDictionary();
  ILIVariants* GetILIVariants(uint32_t iliRecordID);
  TopConceptVariants* GetTopConceptVariants(uint32_t topConceptID);
  // 1 with a new string in *text; 0 with null, also on a wordnet that has no
  // exporter (the index's own).
  int ExportConcept(Concept* meaning, unsigned short** text);
  void Destroy();

 protected:
  LanguageWordNet();

 private:
  ConceptExporter* m_pExporter;
  friend class LanguageWordNets;
  friend class Polylex;
};

// Unlike the other collections nothing is made before a read succeeds: on 0
// *out is null.
class CORVID5_API LanguageWordNets : public FlmCursor {
 public:
  LanguageWordNets(const LanguageWordNets& other);
  LanguageWordNets& operator=(const LanguageWordNets& other);
  virtual ~LanguageWordNets();

  int GetFirst(LanguageWordNet** out);
  int GetNext(LanguageWordNet** out);
  int GetPrevious(LanguageWordNet** out);
  int GetLast(LanguageWordNet** out);
  int GetCurrent(LanguageWordNet** out);
  // Cut to 16 bits.
  short GetCount();
  // Both throw PLXException with the engine's code when nothing is read; a
  // language found by code without a store throws 0xC083.
  LanguageWordNet* GetItem(uint32_t recordID);
  // Replaces the criteria for good.
  LanguageWordNet* GetItem(const char* code);
  void Destroy();

 protected:
  LanguageWordNets();
  LanguageWordNets(void* database, unsigned short container, uint32_t store);
  friend class Polylex;

 private:
  int Read(int (FlmCursor::*read)(FlmRecord&), LanguageWordNet** out);
};

#endif

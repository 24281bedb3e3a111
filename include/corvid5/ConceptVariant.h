// One wording of a word meaning (a literal with its sense number and what
// goes with it), and the collection of variants.
#ifndef CORVID5_CONCEPTVARIANT_H
#define CORVID5_CONCEPTVARIANT_H

#include <corvid5/Export.h>
#include <corvid5/FlmCursor.h>
#include <corvid5/FlmRecord.h>
#include <corvid5/Platform.h>

#include <stdint.h>

// The library's maker of the elements its collections hand out.
namespace collections {
template <class E>
struct Element;
}  // namespace collections

class Concept;
class Examples;
class UsageLabel;
class VariantFeature;

// Text getters answer a new string the caller frees, or null when the field
// is absent.
class CORVID5_API ConceptVariant : public FlmRecord {
 public:
  ConceptVariant(const ConceptVariant& other);
  ConceptVariant& operator=(ConceptVariant& other);
  ConceptVariant& operator=(FlmRecord& other);
  virtual ~ConceptVariant();

  unsigned short* GetLiteral();
  short GetSense();
  unsigned short* GetDefinition();
  unsigned short* GetStatus();
  unsigned short GetPartOfSpeechCode();
  unsigned short* GetPartOfSpeech();
  // Both throw when the variant names no meaning.
  int32_t GetBaseConceptID();
  Concept* GetBaseConcept();
  // An empty list when the variant has no examples.
  Examples* GetExamples();
  // One line per label or feature, each ended by "\r\n"; entries that
  // cannot be read say so in their line rather than throw. Null when there
  // are none.
  unsigned short* GetUsageLabels();
  unsigned short* GetFeatures();

  void Destroy();

 protected:
  ConceptVariant();

 private:
  // Ids below 1 belong to this wordnet, the others to every language.
  UsageLabel* GetUsageLabel(int32_t id);
  VariantFeature* GetVariantFeature(int32_t id);

  friend class Concept;
  friend struct collections::Element<ConceptVariant>;
  friend class ConceptLink;
};

// A variant is reached by navigation or by Concept::GetConceptVariant; the
// item, add and remove members are kept for the interface and do nothing.
class CORVID5_API ConceptVariants : public FlmCursor {
 public:
  ConceptVariants(const ConceptVariants& other);
  ConceptVariants& operator=(const ConceptVariants& other);
  virtual ~ConceptVariants();

  // Released element left in *out on 0, as for every collection.
  int GetFirst(ConceptVariant** out);
  int GetNext(ConceptVariant** out);
  int GetPrevious(ConceptVariant** out);
  int GetLast(ConceptVariant** out);
  int GetCurrent(ConceptVariant** out);
  int32_t GetCount();

  // Always null.
  ConceptVariant* GetItem(const VARIANT& which);
  // Always null; nothing is added.
  ConceptVariant* Add(const char* literal, short sense);
  // Does nothing.
  void Remove(const VARIANT& which);

  void Destroy();

 protected:
  ConceptVariants();
  ConceptVariants(void* database, unsigned short container, uint32_t store);

  friend class Concept;
  friend class LanguageWordNet;
};

#endif

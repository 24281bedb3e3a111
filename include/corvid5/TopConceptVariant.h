// A language's name for a top concept, and the collection of them.
#ifndef CORVID5_TOPCONCEPTVARIANT_H
#define CORVID5_TOPCONCEPTVARIANT_H

#include <corvid5/Export.h>
#include <corvid5/FlmCursor.h>
#include <corvid5/FlmRecord.h>
#include <stdint.h>

// The library's maker of the elements its collections hand out.
namespace collections {
template <class E>
struct Element;
}  // namespace collections

// Text getters answer a new string the caller frees, or null.
class CORVID5_API TopConceptVariant : public FlmRecord {
 public:
  TopConceptVariant(const TopConceptVariant& other);
  TopConceptVariant& operator=(TopConceptVariant& other);
  TopConceptVariant& operator=(FlmRecord& other);
  virtual ~TopConceptVariant();

  unsigned short* GetLiteral();
  short GetSense();
  unsigned short* GetStatus();
  void Destroy();

 protected:
  TopConceptVariant();
  friend class TopConcept;
  friend struct collections::Element<TopConceptVariant>;
};

// Released element left in *out on 0, as for every collection.
class CORVID5_API TopConceptVariants : public FlmCursor {
 public:
  TopConceptVariants(const TopConceptVariants& other);
  TopConceptVariants& operator=(const TopConceptVariants& other);
  virtual ~TopConceptVariants();

  int GetFirst(TopConceptVariant** out);
  int GetNext(TopConceptVariant** out);
  int GetPrevious(TopConceptVariant** out);
  int GetLast(TopConceptVariant** out);
  int GetCurrent(TopConceptVariant** out);
  int32_t GetCount();
  void Destroy();

 protected:
  TopConceptVariants();
  TopConceptVariants(void* database, unsigned short container, uint32_t store);
  friend class TopConcept;
  friend class LanguageWordNet;
};

#endif

// A language's name for an inter-lingual index record: a literal with its
// sense number and status, and the collection of them.
#ifndef CORVID5_ILIVARIANT_H
#define CORVID5_ILIVARIANT_H

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
class CORVID5_API ILIVariant : public FlmRecord {
 public:
  ILIVariant(const ILIVariant& other);
  ILIVariant& operator=(ILIVariant& other);
  ILIVariant& operator=(FlmRecord& other);
  virtual ~ILIVariant();

  unsigned short* GetLiteral();
  short GetSense();
  unsigned short* GetStatus();
  void Destroy();

 protected:
  ILIVariant();
  friend struct collections::Element<ILIVariant>;
};

// Released element left in *out on 0, as for every collection.
class CORVID5_API ILIVariants : public FlmCursor {
 public:
  ILIVariants(const ILIVariants& other);
  ILIVariants& operator=(const ILIVariants& other);
  virtual ~ILIVariants();

  int GetFirst(ILIVariant** out);
  int GetNext(ILIVariant** out);
  int GetPrevious(ILIVariant** out);
  int GetLast(ILIVariant** out);
  int GetCurrent(ILIVariant** out);
  int32_t GetCount();
  void Destroy();

 protected:
  ILIVariants();
  ILIVariants(void* database, unsigned short container, uint32_t store);
  friend class LanguageWordNet;
};

#endif

// The link of a word meaning to a record of the inter-lingual index, and the
// collection of such links.
#ifndef CORVID5_EQLINK_H
#define CORVID5_EQLINK_H

#include <corvid5/Export.h>
#include <corvid5/FlmCursor.h>
#include <corvid5/FlmRecord.h>

#include <stdint.h>

// The library's maker of the elements its collections hand out.
namespace collections {
template <class E>
struct Element;
}  // namespace collections

// Read through FlmRecord: tag 4 the equivalence relation, 50 the meaning,
// 51 the inter-lingual index record.
class CORVID5_API EqLink : public FlmRecord {
 public:
  EqLink(const EqLink& other);
  EqLink& operator=(EqLink& other);
  virtual ~EqLink();

  void Destroy();

 protected:
  EqLink();

  friend struct collections::Element<EqLink>;
};

// Released element left in *out on 0, as for every collection.
class CORVID5_API EqLinks : public FlmCursor {
 public:
  EqLinks(const EqLinks& other);
  EqLinks& operator=(const EqLinks& other);
  virtual ~EqLinks();

  int GetFirst(EqLink** out);
  int GetNext(EqLink** out);
  int GetPrevious(EqLink** out);
  int GetLast(EqLink** out);
  int GetCurrent(EqLink** out);
  int32_t GetCount();

  void Destroy();

 protected:
  EqLinks();
  EqLinks(void* database, unsigned short container, uint32_t store);

  friend class Concept;
};

#endif

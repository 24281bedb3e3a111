// The language-internal relations (hyperonymy and the others concept links
// carry): records of the database, whose record numbers are the relation ids.
#ifndef CORVID5_RELATIONS_H
#define CORVID5_RELATIONS_H

#include <corvid5/Export.h>
#include <corvid5/FlmCursor.h>
#include <corvid5/FlmRecord.h>
#include <stdint.h>

// The library's maker of the elements its collections hand out.
namespace collections {
template <class E>
struct Element;
}  // namespace collections

class CORVID5_API Relation : public FlmRecord {
 public:
  Relation(const Relation& other);
  Relation& operator=(Relation& other);
  virtual ~Relation();

  // The record number cut to 16 bits: ids above 32767 read negative.
  short GetRelationID();
  // A new string the caller frees, or null.
  unsigned short* GetName();
  void Destroy();

 protected:
  Relation();
  friend class Relations;
  friend struct collections::Element<Relation>;
};

// Released element left in *out on 0, as for every collection.
class CORVID5_API Relations : public FlmCursor {
 public:
  Relations(const Relations& other);
  Relations& operator=(const Relations& other);
  virtual ~Relations();

  int GetFirst(Relation** out);
  int GetNext(Relation** out);
  int GetPrevious(Relation** out);
  int GetLast(Relation** out);
  int GetCurrent(Relation** out);
  uint32_t GetCount();
  // Throws error 101 when there is no such relation.
  Relation* GetItem(short relationID);
  // Neither throws for an unknown relation: both answer 0 and leave their
  // output alone. The name is cut to `size` bytes as FlmRecord::Get cuts.
  int GetRelationName(short relationID, char* name, short size);
  int GetRelationID(char* name, short* relationID);
  void Destroy();

 protected:
  Relations();
  Relations(void* database, unsigned short container, uint32_t store);
  friend class Polylex;
};

#endif

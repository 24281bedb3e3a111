// The example sentences of one variant.
#ifndef CORVID5_EXAMPLES_H
#define CORVID5_EXAMPLES_H

#include <corvid5/Export.h>
#include <corvid5/FlmRecord.h>
#include <corvid5/Platform.h>

#include <stdint.h>

// A record of its own holding a copy of the variant's examples group:
// adding and removing change this list only, never the variant.
//
// Ordinals count from 1 and are taken from a VARIANT of 16- or 32-bit
// integer type (its low 16 bits); any other type throws error 0. Strings
// handed out are new and freed by the caller.
class CORVID5_API Examples : public FlmRecord {
 public:
  Examples(const Examples& other);
  virtual ~Examples();

  void Add(const char* text);
  void Remove(const VARIANT& which);
  unsigned short* GetItem(const VARIANT& which);
  int32_t GetCount();

  // Unlike the cursor collections these leave *out alone when they answer 0.
  // GetNext and GetPrevious step from the current field, in document order.
  int GetFirst(unsigned short** out);
  int GetLast(unsigned short** out);
  int GetNext(unsigned short** out);
  int GetPrevious(unsigned short** out);
  int GetCurrent(unsigned short** out);

  void Destroy();

 protected:
  // An empty list.
  Examples();
  // A copy of the examples group `field`.
  explicit Examples(node* field);

 private:
  short Ordinal(const VARIANT& which);
  int Step(int forward, unsigned short** out);
  int ReadCurrent(unsigned short** out);

  friend class ConceptVariant;
};

#endif

// The site record of a multilingual database: who keeps it, in which
// language.
#ifndef CORVID5_SITE_H
#define CORVID5_SITE_H

#include <corvid5/Export.h>
#include <corvid5/FlmRecord.h>

// Text getters answer a new string the caller frees, or null when the field
// is absent.
class CORVID5_API Site : public FlmRecord {
 public:
  Site(const Site& other);
  Site& operator=(Site& other);
  Site& operator=(FlmRecord& other);

  unsigned short* GetName();
  unsigned short* GetLanguageCode();
  void Destroy();

 protected:
  Site();
  virtual ~Site();
  friend class Polylex;
};

#endif

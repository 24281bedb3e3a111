// A language as a language wordnet describes it: its code and its names.
#ifndef CORVID5_LANGUAGE_H
#define CORVID5_LANGUAGE_H

#include <corvid5/Export.h>
#include <corvid5/FlmRecord.h>

// Text getters answer a new string the caller frees, or null.
class CORVID5_API Language : public FlmRecord {
 public:
  Language(const Language& other);
  Language& operator=(Language& other);
  Language& operator=(FlmRecord& other);

  unsigned short* GetCode();
  // Null `code`: the name in the language itself. Otherwise the name as
  // written in the language with that two-letter code (any letter case),
  // kept beneath the own name as "<code> <name>"; null when there is none.
  unsigned short* GetName(const char* code);
  void Destroy();

 protected:
  Language();
  virtual ~Language();
  friend class LanguageWordNet;
};

#endif

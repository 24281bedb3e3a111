// Top-ontology records built in memory for editing: a gloss and a links
// group, stored by the caller with FlmRecord::Update or Add.
#ifndef CORVID5_ONTOLOGYRECORD_H
#define CORVID5_ONTOLOGYRECORD_H

#include <corvid5/Export.h>
#include <corvid5/FlmCursor.h>
#include <corvid5/FlmRecord.h>
#include <stdint.h>

// Only opposite links need the record's permission.
enum eOntologyRelation : int {
  olSuper = 0,
  olSub = 1,
  olSimilar = 2,
  olOpposite = 3,
};

class CORVID5_API OntologyRecord : public FlmRecord {
 public:
  OntologyRecord(const OntologyRecord& other);
  OntologyRecord& operator=(OntologyRecord& other);
  // Takes the record and keeps this object's root tag and permission.
  OntologyRecord& operator=(FlmRecord& other);
  virtual ~OntologyRecord();

  int32_t GetRecordID();
  // 0 without a gloss (*gloss untouched); on 1 *gloss is new and the
  // caller's.
  int GetGloss(unsigned short** gloss);
  int PutGloss(const char* gloss);
  // Makes sure the links group exists and answers 0: the link fields
  // themselves are not written yet, and callers must not rely on them.
  int Link(eOntologyRelation kind, uint32_t target);
  void Destroy();

 protected:
  OntologyRecord(unsigned short rootTag, int allowOpposites);

 private:
  unsigned short m_nRootTag;
  int m_bAllowOpposites;
};

class CORVID5_API OntologyRecords : public FlmCursor {
 public:
  OntologyRecords(const OntologyRecords& other);
  OntologyRecords& operator=(const OntologyRecords& other);
  virtual ~OntologyRecords();
  void Destroy();

 protected:
  OntologyRecords(void* database, unsigned short container, uint32_t store);
};

#endif

// The client's entry point to one multilingual database file.
#ifndef CORVID5_POLYLEX_H
#define CORVID5_POLYLEX_H

#include <corvid5/CreateOptions.h>
#include <corvid5/Export.h>
#include <corvid5/FlmError.h>

class ILIRecords;
class LanguageWordNet;
class LanguageWordNets;
class Relations;
class Site;
class TopConcepts;

// Everything handed out is new and the caller's, and keeps only the database
// handle: none of it may be used once this object is closed.
//
// A copy shares the database handle with its source. Closing one nulls only
// its own handle; the other then holds a handle the engine has closed.
//
// The fields are packed, as the layout of the library's earlier releases had
// them: clients that embed a Polylex keep its size and offsets.
#pragma pack(push, 1)
class CORVID5_API Polylex {
 public:
  Polylex();
  Polylex(const Polylex& other) = default;
  Polylex& operator=(const Polylex& other) = default;
  // Closes the database, and so may throw: a failed close reaches the
  // caller as PLXException.
  virtual ~Polylex() noexcept(false);

  // Throws PLXException: FLAIM's code when the file cannot be opened, error
  // 107 when its layout is older than this library reads. In the second case
  // the database stays open and Close() or the destructor ends it. Opening
  // again without closing forgets, and does not close, the earlier database.
  void Open(const char* path, const char* directory, int readOnly, int exclusive);
  void Close();
  int IsOpen() const { return m_hDatabase ? 1 : 0; }
  const FlmError& GetFlmError() const { return m_Error; }

  unsigned short* GetPath();
  unsigned short GetCodeVersion();
  // The first and third characters of the stored layout version: "1.3" is
  // 0x3133.
  unsigned short GetDataVersion();
  Site* GetSite();
  LanguageWordNets* GetLanguageWordNets();
  // Made in memory: works on databases that store no descriptor for it.
  LanguageWordNet* GetILILanguageWordNet();
  ILIRecords* GetILIRecords();
  Relations* GetRelations();
  TopConcepts* GetTopConcepts();

 private:
  FlmError m_Error;
  void* m_hDatabase;
  Create_Options m_CreateOptions;
  unsigned char m_szPath[240];
  unsigned char m_nFlags;
};
#pragma pack(pop)

#endif

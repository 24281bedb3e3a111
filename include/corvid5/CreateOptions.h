// FLAIM's settings for a new database, handed through by the objects that
// open databases. A plain record: it may be left unset, copied bytewise, and
// laid out the same on both sides of the library's boundary.
#ifndef CORVID5_CREATEOPTIONS_H
#define CORVID5_CREATEOPTIONS_H

#include <stdint.h>

struct Create_Options {
  uint32_t uiBlockSize;        // bytes per database block
  uint32_t uiVersionNum;       // on-disk format version to write
  uint32_t uiMinRflFileSize;   // bytes before a roll-forward log file is rolled
  uint32_t uiMaxRflFileSize;   // bytes a roll-forward log file may never exceed
  uint32_t bKeepRflFiles;      // nonzero: keep roll-forward logs once applied
  uint32_t uiDefaultLanguage;  // collation language of new text indexes
  uint32_t uiAppMajorVer;      // the creating application's own version,
  uint32_t uiAppMinorVer;      // stored for it and never read by FLAIM
};

#endif

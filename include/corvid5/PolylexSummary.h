// What a multilingual database holds, at a glance: its site, its data
// version, and per store its language and how many records each container
// holds.
#ifndef CORVID5_POLYLEXSUMMARY_H
#define CORVID5_POLYLEXSUMMARY_H

#include <corvid5/Export.h>
#include <stdint.h>

#include <string>
#include <vector>

struct PolylexContainerSummary {
  uint16_t container = 0;
  std::string name;  // the dictionary's name for it
  uint32_t records = 0;
};

struct PolylexStoreSummary {
  uint32_t store = 0;
  std::string languageCode;                         // empty for a store that is not a language's
  std::string languageName;                         // in the language itself
  std::vector<PolylexContainerSummary> containers;  // those holding records
};

struct CORVID5_API PolylexSummary {
  std::string siteName;
  std::string siteLanguage;
  std::string dataVersion;                  // the layout version the database carries
  std::vector<PolylexStoreSummary> stores;  // those holding records

  // Reads the summary of the database at `path`, opened read-only. On
  // failure returns false and sets `*error` to one line saying why.
  static bool Read(const std::string& path, PolylexSummary* summary, std::string* error);
};

#endif

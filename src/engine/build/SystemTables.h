// The records every database has whatever its languages: the fixed records
// that opening checks, and the system store's tables of relations, parts of
// speech, equivalence relations, shared features and language descriptors.
#ifndef CORVID5_ENGINE_BUILD_SYSTEMTABLES_H
#define CORVID5_ENGINE_BUILD_SYSTEMTABLES_H

#include <cstdint>
#include <string>
#include <vector>

#include "engine/build/PolylexWriter.h"

namespace build {

// Shared feature ids (container 370).
constexpr int32_t kAdjectivePosition = 1;

// The site record's name: who made the database.
constexpr char kDatabaseSite[] = "Corvid5";

struct StoredLanguage {
  std::string code;  // two letters where the language has them
  uint32_t store;
};

void writeFixedRecords(PolylexWriter& w);
void writeSystemTables(PolylexWriter& w);
// Each language's name is written in its own language and in every other
// language of the database that has a two-letter code.
void writeDescriptors(PolylexWriter& w, const std::vector<StoredLanguage>& languages);

}  // namespace build

#endif

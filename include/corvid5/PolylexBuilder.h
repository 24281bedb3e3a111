// Making a multilingual database from wordnets: English and the
// inter-lingual index from WordNet 3.0's database files, other languages
// from Open Multilingual Wordnet tab files, and records given as record
// dumps.
#ifndef CORVID5_POLYLEXBUILDER_H
#define CORVID5_POLYLEXBUILDER_H

#include <corvid5/Export.h>
#include <stdint.h>

#include <functional>
#include <string>
#include <vector>

struct PolylexBuildOptions {
  std::string output;  // the database file to make
  std::string wordnetDir = "/usr/share/wordnet";
  std::vector<std::string> omwDirs;      // each searched, subfolders too, for wn-data-*.tab
  std::vector<std::string> recordFiles;  // record dumps, loaded after the wordnets
  // Carry English links over to each language wherever it has a meaning at
  // both ends.
  bool projectedRelations = true;
  bool force = false;  // replace an existing output file (a regular one)
  // Told of each stage as it starts and as it goes on; returning false
  // stops the build, which then fails.
  std::function<bool(const std::string& stage, uint64_t done, uint64_t total)> progress;
};

// What the build made of one language's source.
struct PolylexLanguageReport {
  std::string code;    // two letters where the language has them
  std::string name;    // in English
  std::string source;  // the WordNet directory or the OMW tab file
  uint32_t store = 0;
  uint64_t meanings = 0;
  uint64_t variants = 0;
  uint64_t links = 0;                // concept links; for OMW languages the projected ones
  uint64_t skippedSynsets = 0;       // synsets at offsets WordNet 3.0 does not have
  // Synsets found a few bytes from the offset their source gives, where the
  // WordNet files read are an edition whose records moved.
  uint64_t shiftedSynsets = 0;
  uint64_t skippedLines = 0;         // lines of kinds the database has no place for
  uint64_t synsetsWithoutWords = 0;  // named only by definitions or examples, so left out
};

struct PolylexBuildResult {
  bool ok = false;
  // One line; for bad input it names the file and the line.
  std::string error;
  std::vector<PolylexLanguageReport> languages;
};

class CORVID5_API PolylexBuilder {
 public:
  // The database is made beside the output under a temporary name and
  // renamed only when complete: a build that fails or is stopped leaves
  // nothing at the output. An existing output, even one that appears while
  // the build runs, is replaced only with `force`, only by a complete
  // database, and only when it is a regular file that is none of the build's
  // inputs.
  static PolylexBuildResult Build(const PolylexBuildOptions& options);
};

#endif

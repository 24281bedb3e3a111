// WordNet 3.0's lexicographer files, which sort every synset into one of 45
// broad classes. Debian ships no lexnames file, so the table lives here.
#ifndef CORVID5_ENGINE_BUILD_LEXICOGRAPHERFILES_H
#define CORVID5_ENGINE_BUILD_LEXICOGRAPHERFILES_H

#include <span>
#include <string_view>

namespace build {

struct LexicographerFile {
  std::string_view name;      // "noun.animal"
  char pos;                   // the data file it classifies: n, v, a or r
  std::string_view contents;  // what the file holds, as WordNet describes it
};

// Indexed by the lex_filenum of the data files.
std::span<const LexicographerFile> lexicographerFiles();

}  // namespace build

#endif

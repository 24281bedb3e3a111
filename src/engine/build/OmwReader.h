// Wordnets of the Open Multilingual Wordnet in its tab form: a header line
// "# name<TAB>lang<TAB>url<TAB>licence", then one line per lemma, definition
// or example of a synset, the synset named by its WordNet 3.0 offset.
#ifndef CORVID5_ENGINE_BUILD_OMWREADER_H
#define CORVID5_ENGINE_BUILD_OMWREADER_H

#include <cstdint>
#include <string>
#include <vector>

namespace build {

struct OmwSynset {
  uint32_t offset = 0;
  char file = 0;                    // the WordNet data file of its part of speech: n, v, a or r
  std::vector<std::string> lemmas;  // each once, in file order
  std::vector<std::string> definitions;  // in the order of their numbers
  std::vector<std::string> examples;     // likewise
};

// Where a lemma line puts its lemma: OmwWordNet::synsets[synset].lemmas[lemma].
struct OmwLemmaLine {
  uint32_t synset;
  uint32_t lemma;
};

struct OmwWordNet {
  std::string path;
  std::string language;                  // as the header gives it, usually ISO 639-3
  std::vector<OmwSynset> synsets;        // in the order the file first names them
  std::vector<OmwLemmaLine> lemmaLines;  // in file order, each lemma of a synset once
  uint64_t otherLines = 0;               // lines of kinds with no place in the database
};

// Every wn-data-*.tab under the directories, in path order, each once.
// Throws when a directory cannot be searched.
std::vector<std::string> findOmwFiles(const std::vector<std::string>& dirs);

// Throws BuildError naming the file and line of what it cannot read.
OmwWordNet readOmw(const std::string& path);

}  // namespace build

#endif

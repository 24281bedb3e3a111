// WordNet 3.0 as its database files hold it: the synsets of data.noun,
// data.verb, data.adj and data.adv, with sense numbers from the index files.
#ifndef CORVID5_ENGINE_BUILD_WORDNETREADER_H
#define CORVID5_ENGINE_BUILD_WORDNETREADER_H

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "engine/build/Progress.h"
#include "engine/build/WordNetRelations.h"

namespace build {

struct WordNetVariant {
  std::string literal;  // as written, with spaces for underscores, without the marker
  std::string marker;   // an adjective's position marker: a, p or ip; else empty
  int16_t sense = 0;    // which of the word's senses in its part of speech, from 1
};

struct WordNetPointer {
  const WordNetRelation* relation;
  uint32_t target;        // index into WordNet::synsets
  uint8_t sourceVariant;  // from 1 into the source's variants; 0 between whole synsets
  uint8_t targetVariant;
};

struct Synset {
  uint32_t offset = 0;
  char file = 0;  // the data file it comes from: n, v, a or r
  char type = 0;  // n, v, a, s (adjective satellite) or r
  uint8_t lexFile = 0;
  // One per word, except that spellings of one word that differ only in
  // case ("A" and "a") are one variant, as WordNet counts word senses.
  std::vector<WordNetVariant> variants;
  std::vector<WordNetPointer> pointers;
  std::string gloss;
};

// Where one data file's synsets lie in WordNet::synsets.
struct DataFileSynsets {
  char file = 0;
  uint32_t first = 0, end = 0;
  uint32_t shortestRecord = 0;  // in bytes; 0 when the file has fewer than two synsets
};

struct WordNet {
  std::vector<Synset> synsets;  // nouns, verbs, adjectives, adverbs, each in file order

  // The synset at `offset` of the data file `file` (n, v, a or r).
  std::optional<uint32_t> find(char file, uint32_t offset) const;

  // The synset whose record starts nearest `offset` in the data file, when
  // it is nearer than half the file's shortest record. Offsets are byte
  // positions, so an offset taken from another edition of the same files,
  // where an edited line moved the records after it by a few bytes, can
  // only mean that synset.
  std::optional<uint32_t> nearest(char file, uint32_t offset) const;

  std::unordered_map<uint64_t, uint32_t> byOffset;
  std::vector<DataFileSynsets> dataFiles;
};

// Throws BuildError naming the file and line of anything it cannot read.
WordNet readWordNet(const std::string& dir, Progress& progress);
// The files of `dir` that readWordNet reads.
std::vector<std::string> wordNetFiles(const std::string& dir);

// The data file a part-of-speech letter of WordNet's or OMW's names (n, v,
// a, s, r); 0 for any other letter.
char dataFileOf(char pos);
// The stored part-of-speech code of a synset type.
uint16_t posCode(char type);

}  // namespace build

#endif

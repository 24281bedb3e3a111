#include "engine/build/WordNetReader.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>

#include "engine/Layout.h"
#include "engine/build/LexicographerFiles.h"
#include "engine/build/TextFile.h"

namespace build {
namespace {

struct DataFile {
  const char* name;  // the suffix of data.* and index.*
  char file;
};

constexpr DataFile kDataFiles[] = {{"noun", 'n'}, {"verb", 'v'}, {"adj", 'a'}, {"adv", 'r'}};

std::string indexPath(const std::string& dir, const DataFile& d) {
  return dir + "/index." + d.name;
}
std::string dataPath(const std::string& dir, const DataFile& d) { return dir + "/data." + d.name; }

// What a synset's line says before the targets of its pointers are known.
struct PendingPointer {
  const WordNetRelation* relation;
  char file;
  uint32_t offset;
  uint8_t sourceWord, targetWord;  // from 1 among the line's words; 0 for none
};

struct PendingSynset {
  const std::string* path;  // of its data file, for errors
  size_t line;
  std::vector<uint8_t> wordVariant;  // word number - 1 -> index into variants
  std::vector<PendingPointer> pointers;
};

// A word's senses in one part of speech, by lower-case lemma: the synset
// offsets in WordNet's sense order.
using SenseIndex = std::unordered_map<std::string, std::vector<uint32_t>>;

// The space-separated fields of one line, taken in turn.
class Fields {
 public:
  Fields(const TextFile& file, std::string_view text)
      : file_(file), fields_(splitFields(text, ' ')) {}

  std::string_view next(const char* what) {
    if (at_ >= fields_.size() || fields_[at_].empty())
      throw file_.error("missing " + std::string(what));
    return fields_[at_++];
  }

  uint32_t number(const char* what, int base = 10) {
    std::string_view text = next(what);
    uint32_t value = 0;
    auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (ec != std::errc() || end != text.data() + text.size())
      throw file_.error("bad " + std::string(what) + " '" + std::string(text) + "'");
    return value;
  }

  bool done() const { return at_ == fields_.size(); }

 private:
  const TextFile& file_;
  std::vector<std::string_view> fields_;
  size_t at_ = 0;
};

std::string_view trimEnd(std::string_view s) {
  while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
  return s;
}

std::string lowerCase(std::string_view s) {
  std::string lower(s);
  for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return lower;
}

// Lines that open with a space are the licence text at the head of each file.
bool isLicence(std::string_view line) { return line.empty() || line.front() == ' '; }

SenseIndex readIndex(const std::string& path) {
  SenseIndex senses;
  TextFile file(path);
  std::string_view line;
  while (file.next(&line)) {
    if (isLicence(line)) continue;
    Fields f(file, trimEnd(line));
    std::string lemma(f.next("lemma"));
    f.next("part of speech");
    uint32_t synsets = f.number("synset count");
    uint32_t pointers = f.number("pointer count");
    for (uint32_t i = 0; i < pointers; ++i) f.next("pointer symbol");
    f.number("sense count");
    f.number("tagged sense count");
    std::vector<uint32_t>& offsets = senses[lemma];
    for (uint32_t i = 0; i < synsets; ++i) offsets.push_back(f.number("synset offset"));
    if (!f.done()) throw file.error("more synsets than the synset count");
  }
  return senses;
}

bool typeFitsFile(char type, char file) { return type == file || (type == 's' && file == 'a'); }

// Takes the adjective marker off a word: "ready_to_hand(p)" -> "p".
std::string takeMarker(std::string* word) {
  for (std::string_view marker : {"(a)", "(p)", "(ip)"})
    if (word->ends_with(marker)) {
      word->resize(word->size() - marker.size());
      return std::string(marker.substr(1, marker.size() - 2));
    }
  return {};
}

int16_t senseOf(const TextFile& file, const SenseIndex& senses, const std::string& word,
                uint32_t offset) {
  auto entry = senses.find(lowerCase(word));
  if (entry != senses.end()) {
    auto at = std::find(entry->second.begin(), entry->second.end(), offset);
    if (at != entry->second.end()) return static_cast<int16_t>(at - entry->second.begin() + 1);
  }
  throw file.error("'" + word + "' has no sense at this synset in the index file");
}

void readWords(Fields& f, const TextFile& file, const SenseIndex& senses, Synset* s,
               PendingSynset* pending) {
  uint32_t count = f.number("word count", 16);
  if (count == 0) throw file.error("a synset without words");
  std::vector<std::string> lowered;
  for (uint32_t i = 0; i < count; ++i) {
    std::string word(f.next("word"));
    f.number("lexical id", 16);
    std::string marker = takeMarker(&word);
    std::string lower = lowerCase(word);
    auto same = std::find(lowered.begin(), lowered.end(), lower);
    pending->wordVariant.push_back(static_cast<uint8_t>(same - lowered.begin()));
    if (same != lowered.end()) continue;
    lowered.push_back(lower);
    int16_t sense = senseOf(file, senses, word, s->offset);
    std::replace(word.begin(), word.end(), '_', ' ');
    s->variants.push_back({std::move(word), std::move(marker), sense});
  }
}

void readPointers(Fields& f, const TextFile& file, PendingSynset* pending) {
  uint32_t count = f.number("pointer count");
  for (uint32_t i = 0; i < count; ++i) {
    std::string_view symbol = f.next("pointer symbol");
    const WordNetRelation* relation = wordNetRelation(symbol);
    if (!relation) throw file.error("unknown pointer symbol '" + std::string(symbol) + "'");
    uint32_t offset = f.number("pointer offset");
    std::string_view pos = f.next("pointer part of speech");
    char target = pos.size() == 1 ? dataFileOf(pos[0]) : 0;
    if (!target) throw file.error("bad pointer part of speech '" + std::string(pos) + "'");
    uint32_t words = f.number("pointer source/target", 16);
    pending->pointers.push_back({relation, target, offset, static_cast<uint8_t>(words >> 8),
                                 static_cast<uint8_t>(words & 0xFF)});
  }
}

Synset readSynset(const TextFile& file, std::string_view line, char dataFile,
                  const SenseIndex& senses, PendingSynset* pending) {
  size_t bar = line.find(" | ");
  if (bar == std::string_view::npos) throw file.error("the line ends before its gloss");
  Fields f(file, line.substr(0, bar));
  Synset s;
  s.file = dataFile;
  s.offset = f.number("synset offset");
  uint32_t lexFile = f.number("lexicographer file number");
  if (lexFile >= lexicographerFiles().size())
    throw file.error("unknown lexicographer file " + std::to_string(lexFile));
  s.lexFile = static_cast<uint8_t>(lexFile);
  std::string_view type = f.next("synset type");
  if (type.size() != 1 || !typeFitsFile(type[0], dataFile))
    throw file.error("synset type '" + std::string(type) + "' does not belong in this file");
  s.type = type[0];
  readWords(f, file, senses, &s, pending);
  readPointers(f, file, pending);
  // Verb frames follow in data.verb; they are not stored.
  s.gloss = trimEnd(line.substr(bar + 3));
  return s;
}

// Records lie end to end, so the gaps between offsets are their lengths.
uint32_t shortestRecord(const WordNet& wn, const DataFileSynsets& span) {
  uint32_t shortest = 0;
  for (uint32_t i = span.first + 1; i < span.end; ++i) {
    uint32_t length = wn.synsets[i].offset - wn.synsets[i - 1].offset;
    if (!shortest || length < shortest) shortest = length;
  }
  return shortest;
}

void readDataFile(const std::string& path, char dataFile, const SenseIndex& senses, WordNet* wn,
                  std::vector<PendingSynset>* pending) {
  DataFileSynsets span{dataFile, static_cast<uint32_t>(wn->synsets.size()), 0, 0};
  TextFile file(path);
  // Even a part of speech left out keeps the licence at the head of its
  // file: a file with nothing at all was cut short or never written.
  if (file.contents().empty()) throw BuildError(path + ": an empty data file");
  std::string_view line;
  while (file.next(&line)) {
    if (isLicence(line)) continue;
    PendingSynset p{&path, file.lineNumber(), {}, {}};
    Synset s = readSynset(file, line, dataFile, senses, &p);
    // Offsets are byte positions, so they grow; nearest() relies on it.
    if (wn->synsets.size() > span.first && wn->synsets.back().offset >= s.offset)
      throw file.error("synset at offset " + std::to_string(s.offset) +
                       " does not follow the one before");
    uint64_t key = (uint64_t{static_cast<unsigned char>(dataFile)} << 32) | s.offset;
    wn->byOffset.emplace(key, static_cast<uint32_t>(wn->synsets.size()));
    wn->synsets.push_back(std::move(s));
    pending->push_back(std::move(p));
  }
  span.end = static_cast<uint32_t>(wn->synsets.size());
  span.shortestRecord = shortestRecord(*wn, span);
  wn->dataFiles.push_back(span);
}

// The variant that a pointer's word number names among the words of
// `words`; what is wrong is told at the pointer's own line, `at`.
uint8_t variantOf(const PendingSynset& words, uint8_t word, const PendingSynset& at,
                  const char* end) {
  if (word == 0) return 0;
  if (word > words.wordVariant.size())
    throw inputError(
        *at.path, at.line,
        "pointer " + std::string(end) + " word " + std::to_string(word) + " is not there");
  return static_cast<uint8_t>(words.wordVariant[word - 1] + 1);
}

// Pointers may lead to any file, so they are resolved once all are read.
void resolvePointers(WordNet* wn, const std::vector<PendingSynset>& pending) {
  for (size_t i = 0; i < wn->synsets.size(); ++i) {
    const PendingSynset& p = pending[i];
    for (const PendingPointer& ptr : p.pointers) {
      std::optional<uint32_t> target = wn->find(ptr.file, ptr.offset);
      if (!target)
        throw inputError(*p.path, p.line,
                         "pointer to a synset that is not there: " + std::to_string(ptr.offset) +
                             " " + ptr.file);
      wn->synsets[i].pointers.push_back({ptr.relation, *target,
                                         variantOf(p, ptr.sourceWord, p, "source"),
                                         variantOf(pending[*target], ptr.targetWord, p, "target")});
    }
  }
}

}  // namespace

std::optional<uint32_t> WordNet::find(char file, uint32_t offset) const {
  auto at = byOffset.find((uint64_t{static_cast<unsigned char>(file)} << 32) | offset);
  if (at == byOffset.end()) return std::nullopt;
  return at->second;
}

std::optional<uint32_t> WordNet::nearest(char file, uint32_t offset) const {
  auto span = std::find_if(dataFiles.begin(), dataFiles.end(),
                           [file](const DataFileSynsets& d) { return d.file == file; });
  if (span == dataFiles.end() || span->first == span->end) return std::nullopt;
  auto begin = synsets.begin() + span->first, end = synsets.begin() + span->end;
  auto after = std::lower_bound(begin, end, offset,
                                [](const Synset& s, uint32_t o) { return s.offset < o; });
  auto best = end;
  uint32_t distance = UINT32_MAX;
  if (after != end) best = after, distance = after->offset - offset;
  if (after != begin && offset - (after - 1)->offset < distance)
    best = after - 1, distance = offset - best->offset;
  if (best == end || 2 * uint64_t{distance} >= span->shortestRecord) return std::nullopt;
  return static_cast<uint32_t>(best - synsets.begin());
}

WordNet readWordNet(const std::string& dir, Progress& progress) {
  WordNet wn;
  std::vector<PendingSynset> pending;
  std::array<std::string, std::size(kDataFiles)> paths;  // outlive `pending`, which names them
  progress.stage("reading WordNet", std::size(kDataFiles));
  for (size_t i = 0; i < std::size(kDataFiles); ++i) {
    SenseIndex senses = readIndex(indexPath(dir, kDataFiles[i]));
    paths[i] = dataPath(dir, kDataFiles[i]);
    readDataFile(paths[i], kDataFiles[i].file, senses, &wn, &pending);
    progress.advance();
  }
  resolvePointers(&wn, pending);
  return wn;
}

std::vector<std::string> wordNetFiles(const std::string& dir) {
  std::vector<std::string> files;
  for (const DataFile& d : kDataFiles) {
    files.push_back(indexPath(dir, d));
    files.push_back(dataPath(dir, d));
  }
  return files;
}

char dataFileOf(char pos) {
  switch (pos) {
    case 'n':
    case 'v':
    case 'a':
    case 'r':
      return pos;
    case 's':
      return 'a';
    default:
      return 0;
  }
}

uint16_t posCode(char type) {
  switch (type) {
    case 'n':
      return layout::kNoun;
    case 'v':
      return layout::kVerb;
    case 'a':
    case 's':
      return layout::kAdjective;
    case 'r':
      return layout::kAdverb;
    default:
      return layout::kNoPos;
  }
}

}  // namespace build

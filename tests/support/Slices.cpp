#include "support/Slices.h"

#include <cstdio>
#include <filesystem>
#include <set>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "support/TestFiles.h"

namespace slices {
namespace {

namespace fs = std::filesystem;

// Dog and its neighbours, the verb of its barking, adjectives with a head,
// satellites and position markers, and adverbs with antonyms: every kind of
// synset, word and pointer the importers read.
const SynsetIds& slicedSynsets() {
  static const SynsetIds synsets = {
      {'n', 2084071}, {'n', 2083346}, {'n', 1317541}, {'n', 1322604}, {'n', 2084732},
      {'n', 2085272}, {'n', 7994941}, {'v', 1047763}, {'v', 1047969}, {'a', 1740},
      {'a', 2098},    {'a', 19131},   {'a', 19731},   {'a', 24417},   {'a', 24619},
      {'a', 1372049}, {'r', 4394},    {'r', 4567},
  };
  return synsets;
}

char fileOfPos(char pos) { return pos == 's' ? 'a' : pos; }

uint32_t number(const std::string& text, int base = 10) {
  return static_cast<uint32_t>(std::stoul(text, nullptr, base));
}

std::vector<std::string> words(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  for (std::string w; in >> w;) out.push_back(w);
  return out;
}

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) out.push_back(line);
  return out;
}

std::string join(const std::vector<std::string>& fields, size_t from, size_t to) {
  std::string out;
  for (size_t i = from; i < to; ++i) out += (out.empty() ? "" : " ") + fields[i];
  return out;
}

// A data line with the pointers that leave the slice taken out.
std::string slicedDataLine(const std::string& line, const SynsetIds& slice) {
  const size_t bar = line.find(" | ");
  const std::vector<std::string> f = words(line.substr(0, bar));
  size_t at = 4 + 2 * number(f[3], 16);
  const uint32_t pointers = number(f[at]);
  std::vector<std::string> kept;
  for (uint32_t i = 0; i < pointers; ++i) {
    const size_t p = at + 1 + 4 * i;
    if (slice.count({fileOfPos(f[p + 2][0]), number(f[p + 1])})) {
      for (size_t j = p; j < p + 4; ++j) kept.push_back(f[j]);
    }
  }
  char count[24];
  std::snprintf(count, sizeof count, "%03zu", kept.size() / 4);
  std::string out = join(f, 0, at) + " " + count;
  if (!kept.empty()) out += " " + join(kept, 0, kept.size());
  const size_t rest = at + 1 + 4 * pointers;
  if (rest < f.size()) out += " " + join(f, rest, f.size());
  return out + line.substr(bar) + "\n";
}

// The lines of a source file, which must be there.
std::vector<std::string> sourceLines(const std::string& path) {
  const std::string text = testfiles::readFile(path);
  if (text.empty()) throw std::runtime_error(path + ": missing or empty");
  return lines(text);
}

bool isLicence(const std::string& line) { return line.empty() || line[0] == ' '; }

std::string dataSlice(const std::string& path, char file, const SynsetIds& slice) {
  std::string out;
  bool licence = false;
  for (const std::string& line : sourceLines(path)) {
    if (isLicence(line)) {
      if (!licence) out += line + "\n";
      licence = true;
    } else if (slice.count({file, number(line.substr(0, 8))})) {
      out += slicedDataLine(line, slice);
    }
  }
  return out;
}

std::string indexSlice(const std::string& path, char file, const SynsetIds& slice) {
  std::string out;
  for (const std::string& line : sourceLines(path)) {
    if (isLicence(line)) continue;
    const std::vector<std::string> f = words(line);
    const uint32_t synsets = number(f[2]);
    for (size_t i = f.size() - synsets; i < f.size(); ++i) {
      if (slice.count({file, number(f[i])})) {
        out += line + "\n";
        break;
      }
    }
  }
  return out;
}

}  // namespace

std::vector<std::string> splitFiles(const uint8_t* data, size_t size, size_t count) {
  std::vector<std::string> files(count);
  size_t file = 0;
  for (size_t i = 0; i < size; ++i) {
    if (data[i] == 0 && file + 1 < count)
      ++file;
    else
      files[file].push_back(static_cast<char>(data[i]));
  }
  return files;
}

std::string joinFiles(const std::vector<std::string>& files) {
  std::string out;
  for (size_t i = 0; i < files.size(); ++i) out += (i ? std::string(1, '\0') : "") + files[i];
  return out;
}

std::vector<std::string> wordnetSlice(const std::string& wordnetDir) {
  return wordnetSlice(wordnetDir, slicedSynsets());
}

std::vector<std::string> wordnetSlice(const std::string& wordnetDir, const SynsetIds& synsets) {
  std::vector<std::string> files;
  for (const char* name : kWordNetFiles) {
    const std::string kind(name);
    const char file = kind.ends_with("noun") ? 'n'
                      : kind.ends_with("verb") ? 'v'
                      : kind.ends_with("adj")  ? 'a'
                                               : 'r';
    const std::string path = wordnetDir + "/" + kind;
    files.push_back(kind.starts_with("index") ? indexSlice(path, file, synsets)
                                              : dataSlice(path, file, synsets));
  }
  return files;
}

std::string omwSlice(const std::string& tabPath) {
  std::string out;
  for (const std::string& line : sourceLines(tabPath)) {
    if (out.empty()) {
      out = line + "\n";  // the header
      continue;
    }
    if (line.size() > 10 && line[8] == '-' &&
        slicedSynsets().count({fileOfPos(line[9]), number(line.substr(0, 8))}))
      out += line + "\n";
  }
  return out;
}

void writeWordNet(const std::string& dir, const std::vector<std::string>& files) {
  fs::create_directories(dir);
  for (size_t i = 0; i < kWordNetFiles.size(); ++i)
    testfiles::writeFile(dir + "/" + kWordNetFiles[i], files[i]);
}

std::vector<std::string> omwSources() {
  return {"omw/fra/wn-data-fra.tab", "omw/ita/wn-data-ita.tab", "omw/mcr/wn-data-cat.tab",
          "omw/arb/wn-data-arb.tab", "omw/dan/wn-data-dan.tab"};
}

PolylexBuildResult buildSmallDatabase(const std::string& path, const std::string& workDir) {
  PolylexBuildOptions options;
  options.output = path;
  options.force = true;
  options.wordnetDir = workDir + "/wordnet";
  writeWordNet(options.wordnetDir, wordnetSlice(testfiles::wordnetDir()));
  for (const std::string& source : omwSources()) {
    const fs::path tab = fs::path(workDir) / "omw" / source;
    fs::create_directories(tab.parent_path());
    testfiles::writeFile(tab.string(), omwSlice(testfiles::sharedDir() + "/data/" + source));
  }
  options.omwDirs = {workDir + "/omw"};
  const PolylexBuildResult result = PolylexBuilder::Build(options);
  if (!result.ok) throw std::runtime_error("cannot build the small database: " + result.error);
  return result;
}

}  // namespace slices

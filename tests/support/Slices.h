// Small, real inputs: a handful of WordNet 3.0 synsets cut out of its
// database files, the lines of OMW tab files about the same synsets, and a
// database built from both. They seed the fuzz corpora, give the fuzz targets
// that need one a database to work on, and make builds that take seconds.
#ifndef CORVID5_TESTS_SLICES_H
#define CORVID5_TESTS_SLICES_H

#include <corvid5/PolylexBuilder.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace slices {

// Synsets by data file letter (n v a r) and offset.
using SynsetIds = std::set<std::pair<char, uint32_t>>;

// The files of a WordNet directory that the importer reads, in the order a
// fuzz input holds them.
constexpr std::array<const char*, 8> kWordNetFiles = {"index.noun", "data.noun", "index.verb",
                                                      "data.verb",  "index.adj", "data.adj",
                                                      "index.adv",  "data.adv"};

// One fuzz input holding several files: the first `count` - 1 NUL bytes
// separate them (text files hold none); missing files are empty.
std::vector<std::string> splitFiles(const uint8_t* data, size_t size, size_t count);
std::string joinFiles(const std::vector<std::string>& files);

// The lines of `synsets` in WordNet's files in `wordnetDir`, in the order of
// kWordNetFiles: each data file keeps its first licence line and the
// synsets' lines with only the pointers that stay inside the slice; each
// index file keeps the lines of lemmas with a sense among them. The slice
// reads as a WordNet of its own. Without `synsets`: dog and its neighbours,
// with every kind of synset, word and pointer the importers read.
std::vector<std::string> wordnetSlice(const std::string& wordnetDir);
std::vector<std::string> wordnetSlice(const std::string& wordnetDir, const SynsetIds& synsets);

// The header and the lines of an OMW tab file about the sliced synsets.
std::string omwSlice(const std::string& tabPath);

// Writes the files of a WordNet slice (in kWordNetFiles order) into `dir`.
void writeWordNet(const std::string& dir, const std::vector<std::string>& files);

// OMW tab files whose slices go into the small database and the corpora,
// relative to the shared data folder: one without definitions, some with
// definitions and examples, one with kinds of line the database has no place
// for, one with bare kinds.
std::vector<std::string> omwSources();

// Builds the slices of WordNet and of every OMW source into a database at
// `path`, using `workDir` for the sliced files, and answers what the build
// made of each source (its file in `workDir`). Throws std::runtime_error
// with the builder's message when it fails.
PolylexBuildResult buildSmallDatabase(const std::string& path, const std::string& workDir);

}  // namespace slices

#endif

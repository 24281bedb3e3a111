// The WordNet importer: an input holds WordNet's eight database files
// (index and data of nouns, verbs, adjectives and adverbs, in that order,
// separated by NUL bytes), which are built into a database. A build either
// fails with a message or makes a database that opens and walks.
#include <corvid5/PolylexBuilder.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/Slices.h"
#include "support/TestFiles.h"
#include "support/Walk.h"

namespace {

testfiles::ScratchDir* scratch = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  scratch = new testfiles::ScratchDir;
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  PolylexBuildOptions options;
  options.wordnetDir = scratch->file("wordnet");
  options.output = scratch->file("built.db");
  options.force = true;
  slices::writeWordNet(options.wordnetDir,
                         slices::splitFiles(data, size, slices::kWordNetFiles.size()));
  const PolylexBuildResult result = PolylexBuilder::Build(options);
  if (!result.ok && result.error.empty()) {
    std::fprintf(stderr, "wordnet: a failed build without a message\n");
    std::abort();
  }
  if (result.ok) clientwalk::walkFile(options.output.c_str());
  std::filesystem::remove(options.output);
  return 0;
}

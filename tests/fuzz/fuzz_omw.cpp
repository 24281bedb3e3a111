// The tab-file importer: an input is one Open Multilingual Wordnet tab file,
// built into a database beside a slice of WordNet 3.0. A build either fails
// with a message or makes a database that opens and walks.
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
  slices::writeWordNet(scratch->file("wordnet"), slices::wordnetSlice(testfiles::wordnetDir()));
  std::filesystem::create_directories(scratch->file("omw"));
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  PolylexBuildOptions options;
  options.wordnetDir = scratch->file("wordnet");
  options.omwDirs = {scratch->file("omw")};
  options.output = scratch->file("built.db");
  options.force = true;
  testfiles::writeFile(scratch->file("omw/wn-data-fuzz.tab"),
                       std::string(reinterpret_cast<const char*>(data), size));
  const PolylexBuildResult result = PolylexBuilder::Build(options);
  if (!result.ok && result.error.empty()) {
    std::fprintf(stderr, "omw: a failed build without a message\n");
    std::abort();
  }
  if (result.ok) clientwalk::walkFile(options.output.c_str());
  std::filesystem::remove(options.output);
  return 0;
}

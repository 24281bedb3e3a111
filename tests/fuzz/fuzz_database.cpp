// Mutated database files: the bytes written to a file, opened read-only
// through the public object model and walked through every collection.
// Reading must not change a byte of the file.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

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
  const std::string path = scratch->file("mutated.db");
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  testfiles::writeFile(path, bytes);
  clientwalk::walkFile(path.c_str());
  if (testfiles::readFile(path) != bytes) {
    std::fprintf(stderr, "database: a read-only walk changed the file\n");
    std::abort();
  }
  std::remove(path.c_str());
  return 0;
}

// Where tests put their files and find the shared word data.
#ifndef CORVID5_TESTS_TESTFILES_H
#define CORVID5_TESTS_TESTFILES_H

#include <string>

namespace testfiles {

// A fresh, empty directory for one test, removed again by ~ScratchDir.
class ScratchDir {
 public:
  ScratchDir();
  ~ScratchDir();
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;
  const std::string& path() const { return path_; }
  std::string file(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

// The shared data folder: $CORVID_SHARED, else ../shared beside the sources.
std::string sharedDir();
// WordNet 3.0's dictionary files: $CORVID_WORDNET, else /usr/share/wordnet.
std::string wordnetDir();

std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& bytes);

}  // namespace testfiles

#endif

// Where tests put their files and find the shared word data.
#ifndef CORVID5_TESTS_TESTFILES_H
#define CORVID5_TESTS_TESTFILES_H

#include <functional>
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

// Runs `call`, which is given the FIFO at `fifo` and must not wait on it.
// Should it still run after a few seconds (waiting, as whoever opens a FIFO
// to read does, for a writer), the FIFO is opened for writing and closed
// again until it returns. False when that was needed. What `call` throws
// comes out of here.
bool returnsWithoutAWriter(const std::string& fifo, const std::function<void()>& call);

}  // namespace testfiles

#endif

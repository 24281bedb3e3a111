#include "support/TestFiles.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <sstream>
#include <stdexcept>

namespace testfiles {
namespace {

std::string envOr(const char* name, const std::string& fallback) {
  const char* v = std::getenv(name);
  return v && *v ? v : fallback;
}

}  // namespace

ScratchDir::ScratchDir() {
  std::string base = envOr("CORVID_TEST_TMP", std::filesystem::temp_directory_path().string());
  std::filesystem::create_directories(base);
  std::string pattern = base + "/corvid5-XXXXXX";
  if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make a scratch directory");
  path_ = pattern;
}

ScratchDir::~ScratchDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string sharedDir() {
  return envOr("CORVID_SHARED", std::string(CORVID5_SOURCE_DIR) + "/../shared");
}

std::string wordnetDir() { return envOr("CORVID_WORDNET", "/usr/share/wordnet"); }

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

void writeFile(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << bytes;
}

bool returnsWithoutAWriter(const std::string& fifo, const std::function<void()>& call) {
  std::future<void> done = std::async(std::launch::async, call);
  if (done.wait_for(std::chrono::seconds(5)) == std::future_status::ready) {
    done.get();
    return true;
  }
  while (done.wait_for(std::chrono::milliseconds(10)) != std::future_status::ready) {
    const int writer = ::open(fifo.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (writer >= 0) ::close(writer);
  }
  done.get();
  return false;
}

}  // namespace testfiles

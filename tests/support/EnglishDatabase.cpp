#include "support/EnglishDatabase.h"

#include <corvid5/PolylexBuilder.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/TestFiles.h"

namespace fs = std::filesystem;

namespace testdb {

namespace {

constexpr const char* kPrefix = "corvid5-english-";

// The date of the library beside the test programs (every test program of a
// build tree shares it, and it changes whenever the builder may have), else
// of the program itself.
std::string stamp() {
  std::error_code error;
  const fs::path exe = fs::read_symlink("/proc/self/exe", error);
  auto time = fs::last_write_time(exe.parent_path().parent_path() / "src" / "libcorvid5.so", error);
  if (error) time = fs::last_write_time(exe, error);
  return error ? "0" : std::to_string(static_cast<uint64_t>(time.time_since_epoch().count()));
}

void removeOthers(const fs::path& dir, const fs::path& keep) {
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(dir, error)) {
    const std::string name = entry.path().filename().string();
    // Only finished databases: a build in progress writes under another name.
    if (name.rfind(kPrefix, 0) == 0 && entry.path().extension() == ".db" && entry.path() != keep)
      fs::remove(entry.path(), error);
  }
}

}  // namespace

std::string englishDatabase() {
  static std::string path;
  if (!path.empty()) return path;
  if (!fs::exists(testfiles::wordnetDir() + "/data.noun")) return "";
  const char* named = std::getenv("CORVID_ENGLISH_DB");
  const fs::path dir = fs::temp_directory_path();
  const fs::path target = named && *named ? fs::path(named) : dir / (kPrefix + stamp() + ".db");
  // Test programs run side by side: one builds while the others wait.
  const std::string lockPath = (dir / (std::string(kPrefix) + "lock")).string();
  const int lock = ::open(lockPath.c_str(), O_CREAT | O_RDWR, 0600);
  if (lock >= 0) ::flock(lock, LOCK_EX);
  if (!fs::exists(target)) {
    PolylexBuildOptions options;
    options.output = target.string();
    options.wordnetDir = testfiles::wordnetDir();
    if (PolylexBuilder::Build(options).ok && !(named && *named)) removeOthers(dir, target);
  }
  if (lock >= 0) ::close(lock);
  if (!fs::exists(target)) return "";
  path = target.string();
  return path;
}

}  // namespace testdb

#include "support/CachedDatabases.h"

#include <corvid5/PolylexBuilder.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/TestFiles.h"

namespace fs = std::filesystem;

namespace testdb {

namespace {

std::string chosenLanguages() {
  const char* chosen = std::getenv("CORVID_TEST_OMW_LANGUAGES");
  if (chosen && *chosen) return chosen;
#if defined(__SANITIZE_ADDRESS__)
  return "fra,dan";
#else
  return "all";
#endif
}

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

void removeOthers(const fs::path& dir, const std::string& prefix, const fs::path& keep) {
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(dir, error)) {
    const std::string name = entry.path().filename().string();
    // Only finished databases: a build in progress writes under another name.
    if (name.starts_with(prefix) && entry.path().extension() == ".db" && entry.path() != keep)
      fs::remove(entry.path(), error);
  }
}

// The build tree's own test directory when ctest names one, so that build
// trees side by side do not replace each other's databases.
fs::path cacheDirectory() {
  const char* tmp = std::getenv("CORVID_TEST_TMP");
  if (!tmp || !*tmp) return fs::temp_directory_path();
  fs::create_directories(tmp);
  return tmp;
}

// The tab files linked into one directory, which is how the builder takes them.
std::string linkTabFiles(const fs::path& dir) {
  std::error_code error;
  fs::remove_all(dir, error);
  fs::create_directories(dir);
  for (const std::string& tab : chosenTabFiles())
    fs::create_symlink(tab, dir / fs::path(tab).filename());
  return dir.string();
}

// Builds `prefix<stamp>.db` in the temporary directory once, or the file
// that `variable` names; "" when the build fails.
std::string cachedBuild(const std::string& prefix, const char* variable, bool withTabFiles) {
  if (!fs::exists(testfiles::wordnetDir() + "/data.noun")) return "";
  const char* named = std::getenv(variable);
  const fs::path dir = cacheDirectory();
  const fs::path target = named && *named ? fs::path(named) : dir / (prefix + stamp() + ".db");
  // Test programs run side by side: one builds while the others wait.
  const std::string lockPath = (dir / (prefix + "lock")).string();
  const int lock = ::open(lockPath.c_str(), O_CREAT | O_RDWR, 0600);
  if (lock >= 0) ::flock(lock, LOCK_EX);
  if (!fs::exists(target)) {
    PolylexBuildOptions options;
    options.output = target.string();
    options.wordnetDir = testfiles::wordnetDir();
    const std::string links = target.string() + ".tab-files";
    if (withTabFiles) options.omwDirs = {linkTabFiles(links)};
    if (PolylexBuilder::Build(options).ok && !(named && *named)) removeOthers(dir, prefix, target);
    std::error_code error;
    fs::remove_all(links, error);
  }
  if (lock >= 0) ::close(lock);
  return fs::exists(target) ? target.string() : "";
}

}  // namespace

std::vector<std::string> chosenTabFiles() {
  // Put together in steps: GCC 12 at -O3 warns, wrongly, of an overlapping
  // copy (-Wrestrict) in "," + a temporary string.
  std::string chosen = ",";
  chosen += chosenLanguages();
  chosen += ",";
  std::vector<std::string> files;
  const std::string root = testfiles::sharedDir() + "/data/omw";
  if (!fs::is_directory(root)) return files;
  for (const auto& e : fs::recursive_directory_iterator(root)) {
    const std::string name = e.path().filename().string();
    if (!name.starts_with("wn-data-") || !name.ends_with(".tab")) continue;
    const std::string code = name.substr(8, name.size() - 12);
    if (chosen == ",all," || chosen.find("," + code + ",") != std::string::npos)
      files.push_back(e.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::string englishDatabase() {
  static const std::string path = cachedBuild("corvid5-english-", "CORVID_ENGLISH_DB", false);
  return path;
}

std::string polylexDatabase() {
  std::string languages = chosenLanguages();
  std::replace(languages.begin(), languages.end(), ',', '+');
  static const std::string path =
      cachedBuild("corvid5-polylex-" + languages + "-", "CORVID_POLYLEX_DB", true);
  return path;
}

}  // namespace testdb

#include <corvid5/PolylexBuilder.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <new>

#include "engine/Layout.h"
#include "engine/build/BuildError.h"
#include "engine/build/EnglishWriter.h"
#include "engine/build/IliStore.h"
#include "engine/build/Languages.h"
#include "engine/build/OmwReader.h"
#include "engine/build/OmwWriter.h"
#include "engine/build/PolylexWriter.h"
#include "engine/build/RecordDumpLoader.h"
#include "engine/build/SystemTables.h"
#include "engine/build/TextFile.h"
#include "engine/build/TopOntology.h"
#include "engine/build/WordNetReader.h"
#include "flm/Path.h"
#include "flm/Session.h"
#include "platform/Files.h"

namespace build {
namespace {

namespace fs = std::filesystem;

// Enough for the key table's pages of one language's indexes to stay in
// memory while its records go in.
constexpr uint32_t kCacheKilobytes = 512 * 1024;

constexpr char kEnglish[] = "en";

// A build that was killed could not remove its temporary database: the
// next build beside it does, once no process of that number runs.
void removeAbandoned(const std::string& output) {
  const fs::path out(output);
  const fs::path dir = out.parent_path().empty() ? fs::path(".") : out.parent_path();
  const std::string prefix = out.filename().string() + ".tmp-";
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(dir, ec)) {
    const std::string name = entry.path().filename().string();
    if (!name.starts_with(prefix)) continue;
    pid_t pid = 0;
    std::from_chars(name.data() + prefix.size(), name.data() + name.size(), pid);
    if (pid > 0 && kill(pid, 0) != 0 && errno == ESRCH) fs::remove(entry.path(), ec);
  }
}

// Whether the build may put its database where something already is: only
// when forced, and only over a regular file that is none of its inputs
// (known by device and inode, so that another name or a hard link of one is
// caught too). Throws when it may not; false when nothing is there.
bool mayReplace(const std::string& output, bool force, const std::vector<std::string>& inputs) {
  std::error_code ec;
  const fs::file_type type = fs::symlink_status(output, ec).type();
  if (type == fs::file_type::not_found) return false;
  if (ec) throw BuildError(output + ": " + ec.message());
  if (!force) throw BuildError(output + ": already exists; force the build to replace it");
  if (type != fs::file_type::regular)
    throw BuildError(output + ": not a regular file; the build replaces nothing else");
  for (const std::string& input : inputs)
    if (fs::equivalent(output, input, ec))
      throw BuildError(output + ": one of the build's inputs (" + input + "); not replaced");
  return true;
}

// The database under construction, under a name of its own beside the
// output. Unless kept, it is removed.
class TempDatabase {
 public:
  explicit TempDatabase(const std::string& output)
      : path_(output + ".tmp-" + std::to_string(getpid())) {
    removeAbandoned(output);
    removeFiles();
    flm::RCODE rc = flm::Session::create(kCacheKilobytes, 0, &session_);
    if (!rc) rc = session_->createDatabase(path_.c_str(), layout::polylexDictionary(), &db_);
    if (!rc) rc = db_->journalInMemory();
    if (rc) {
      flm::Session::close(&session_);
      throw BuildError(path_ + ": cannot make the database: " + flm::errorName(rc));
    }
  }
  ~TempDatabase() {
    flm::Session::close(&session_);
    if (!kept_) removeFiles();
  }
  TempDatabase(const TempDatabase&) = delete;
  TempDatabase& operator=(const TempDatabase&) = delete;

  flm::Database* db() const { return db_; }

  // Something may have been put at the output while the build ran. Forced,
  // the build looks at it again; otherwise, or where nothing is, the name is
  // taken only while free, so that nothing is replaced however late it came.
  void keepAs(const std::string& output, bool force, const std::vector<std::string>& inputs) {
    flm::Session::close(&session_);
    std::error_code ec;
    if (force && mayReplace(output, force, inputs))
      fs::rename(path_, output, ec);
    else
      ec = platform::renameNoReplace(path_, output);
    if (ec == std::errc::file_exists)
      throw BuildError(output + ": made by something else during the build; not replaced");
    if (ec) throw BuildError(output + ": cannot put the database there: " + ec.message());
    kept_ = true;
  }

 private:
  void removeFiles() const {
    std::error_code ignored;
    fs::remove(path_, ignored);
    fs::remove(path_ + "-journal", ignored);
  }

  std::string path_;
  flm::Session* session_ = nullptr;
  flm::Database* db_ = nullptr;
  bool kept_ = false;
};

struct OmwLanguage {
  std::string code;  // two letters where ICU knows them
  OmwWordNet wordnet;
};

// One wordnet per language, in the order of their codes, so that a language
// keeps its store from build to build of the same sources. All are read
// before anything is written.
std::vector<OmwLanguage> readOmwLanguages(const std::vector<std::string>& files,
                                          Progress& progress) {
  progress.stage("reading OMW", files.size());
  std::vector<OmwLanguage> languages;
  for (const std::string& path : files) {
    OmwWordNet wordnet = readOmw(path);
    std::string code = shortLanguageCode(wordnet.language);
    languages.push_back({std::move(code), std::move(wordnet)});
    progress.advance();
  }
  std::sort(languages.begin(), languages.end(),
            [](const OmwLanguage& a, const OmwLanguage& b) { return a.code < b.code; });
  for (size_t i = 0; i < languages.size(); ++i) {
    const OmwLanguage& l = languages[i];
    if (l.code == kEnglish)
      throw BuildError(l.wordnet.path + ": English comes from WordNet, not from an OMW file");
    if (i > 0 && l.code == languages[i - 1].code)
      throw BuildError("two wordnets of language " + l.code + ": " + languages[i - 1].wordnet.path +
                       " and " + l.wordnet.path);
  }
  uint32_t room = layout::kLastLanguageStore - layout::kFirstLanguageStore;
  if (languages.size() > room)
    throw BuildError("too many languages: a database has room for " + std::to_string(room + 1));
  return languages;
}

void checkOptions(const PolylexBuildOptions& o) {
  if (o.output.empty()) throw BuildError("no output file given");
  // A database is opened by a path that fits a handle's buffer.
  if (o.output.size() >= flm::kPathSize)
    throw BuildError(o.output + ": path too long for a database (" +
                     std::to_string(o.output.size()) + " bytes; at most " +
                     std::to_string(flm::kPathSize - 1) + ")");
  if (!fs::is_directory(o.wordnetDir))
    throw BuildError(o.wordnetDir + ": no such WordNet directory");
  // Record dumps are loaded last: a missing one should not cost a whole build.
  for (const std::string& path : o.recordFiles)
    if (!fs::is_regular_file(path)) throw BuildError(path + ": no such record dump file");
}

PolylexLanguageReport reportFor(const std::string& code, const std::string& source,
                                uint32_t store) {
  PolylexLanguageReport r;
  r.code = code;
  r.name = languageName(code, kEnglish);
  r.source = source;
  r.store = store;
  return r;
}

void writeIndexAndEnglish(PolylexWriter& w, const WordNet& wn,
                          std::vector<PolylexLanguageReport>* reports, Progress& progress) {
  std::vector<StoredLanguage> languages;
  for (const PolylexLanguageReport& r : *reports) languages.push_back({r.code, r.store});
  w.begin();
  writeFixedRecords(w);
  writeSystemTables(w);
  writeDescriptors(w, languages);
  writeIliRecords(w, wn, progress);
  writeTopOntology(w, wn);
  w.commit();
  w.begin();
  writeEnglish(w, wn, progress, &reports->front());
  w.commit();
}

void loadRecordFiles(flm::Database* db, const std::vector<std::string>& files, Progress& progress) {
  progress.stage("records", files.size());
  for (const std::string& path : files) {
    std::string error;
    if (loadRecordDump(db, TextFile(path).contents(), path, &error)) throw BuildError(error);
    progress.advance();
  }
}

// Every file the build reads.
std::vector<std::string> inputFiles(const PolylexBuildOptions& o,
                                    const std::vector<std::string>& omwFiles) {
  std::vector<std::string> files = wordNetFiles(o.wordnetDir);
  files.insert(files.end(), omwFiles.begin(), omwFiles.end());
  files.insert(files.end(), o.recordFiles.begin(), o.recordFiles.end());
  return files;
}

PolylexBuildResult build(const PolylexBuildOptions& options) {
  checkOptions(options);
  const std::vector<std::string> omwFiles = findOmwFiles(options.omwDirs);
  const std::vector<std::string> inputs = inputFiles(options, omwFiles);
  mayReplace(options.output, options.force, inputs);
  Progress progress(options.progress);
  PolylexBuildResult result;
  // The small sources first, so that bad input in them fails at once.
  std::vector<OmwLanguage> omw = readOmwLanguages(omwFiles, progress);
  WordNet wn = readWordNet(options.wordnetDir, progress);
  result.languages.push_back(reportFor(kEnglish, options.wordnetDir, layout::kFirstLanguageStore));
  for (const OmwLanguage& o : omw)
    result.languages.push_back(
        reportFor(o.code, o.wordnet.path,
                  layout::kFirstLanguageStore + static_cast<uint32_t>(result.languages.size())));

  TempDatabase temp(options.output);
  PolylexWriter w(temp.db());
  writeIndexAndEnglish(w, wn, &result.languages, progress);
  for (size_t i = 0; i < omw.size(); ++i) {
    w.begin();
    writeOmwLanguage(w, omw[i].wordnet, wn, options.projectedRelations, progress,
                     &result.languages[i + 1]);
    w.commit();
  }
  loadRecordFiles(temp.db(), options.recordFiles, progress);
  temp.keepAs(options.output, options.force, inputs);
  result.ok = true;
  return result;
}

}  // namespace
}  // namespace build

PolylexBuildResult PolylexBuilder::Build(const PolylexBuildOptions& options) {
  PolylexBuildResult failed;
  try {
    return build::build(options);
  } catch (const std::bad_alloc&) {
    failed.error = "out of memory";
  } catch (const std::exception& e) {
    failed.error = e.what();
  }
  return failed;
}

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
#include "flm/Session.h"

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

  void keepAs(const std::string& output) {
    flm::Session::close(&session_);
    std::error_code ec;
    fs::rename(path_, output, ec);
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
std::vector<OmwLanguage> readOmwLanguages(const std::vector<std::string>& dirs,
                                          Progress& progress) {
  std::vector<std::string> files = findOmwFiles(dirs);
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
  if (fs::exists(o.output) && !o.force)
    throw BuildError(o.output + ": already exists; force the build to replace it");
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

PolylexBuildResult build(const PolylexBuildOptions& options) {
  checkOptions(options);
  Progress progress(options.progress);
  PolylexBuildResult result;
  // The small sources first, so that bad input in them fails at once.
  std::vector<OmwLanguage> omw = readOmwLanguages(options.omwDirs, progress);
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
  temp.keepAs(options.output);
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

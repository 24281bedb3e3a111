// corvid: the command-line face of the Corvid5 library.
#include <corvid5/PolylexBuilder.h>
#include <corvid5/PolylexSummary.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

const char kUsage[] =
    "usage: corvid [--version] [--help] <command> [<args>]\n"
    "       corvid build OUT.db [--wordnet DIR] [--omw DIR]... [--records FILE]...\n"
    "                    [--no-projected-relations] [--force]\n"
    "       corvid info --db DB\n";

const char kHelp[] =
    "corvid: look up words in a multilingual wordnet database\n"
    "\n"
    "commands:\n"
    "  build OUT.db   make a database: English from WordNet 3.0 (--wordnet, default\n"
    "                 /usr/share/wordnet), a language per OMW wn-data-*.tab file found\n"
    "                 under each --omw folder, then the records of each --records dump.\n"
    "                 English links are carried over to the other languages unless\n"
    "                 --no-projected-relations; an existing OUT.db is kept unless --force\n"
    "  info --db DB   show a database's site, data version, languages and record counts\n"
    "\n"
    "options:\n"
    "  --version   print the version and exit\n"
    "  --help      print this help and exit\n";

volatile sig_atomic_t interrupted = 0;

void onInterrupt(int) { interrupted = 1; }

int usageError() {
  std::fputs(kUsage, stderr);
  return 2;
}

int failure(const std::string& message) {
  std::fprintf(stderr, "corvid: %s\n", message.c_str());
  return 1;
}

// Fills `o` from the arguments after "build"; false for a wrong usage.
bool parseBuild(const std::vector<std::string>& args, PolylexBuildOptions* o) {
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    bool hasValue = i + 1 < args.size();
    if (a == "--wordnet" && hasValue)
      o->wordnetDir = args[++i];
    else if (a == "--omw" && hasValue)
      o->omwDirs.push_back(args[++i]);
    else if (a == "--records" && hasValue)
      o->recordFiles.push_back(args[++i]);
    else if (a == "--no-projected-relations")
      o->projectedRelations = false;
    else if (a == "--force")
      o->force = true;
    else if (a.starts_with("-") || !o->output.empty())
      return false;
    else
      o->output = a;
  }
  return !o->output.empty();
}

// A bar redrawn in place on a terminal; elsewhere one line per finished stage.
class ProgressDisplay {
 public:
  ProgressDisplay() : terminal_(isatty(STDERR_FILENO)) {}
  ~ProgressDisplay() { endLine(); }

  bool show(const std::string& stage, uint64_t done, uint64_t total) {
    // A stage with nothing to do is not worth showing.
    if (total > 0 && terminal_)
      drawBar(stage, done, total);
    else if (total > 0 && done == total)
      std::fprintf(stderr, "%s: %llu/%llu\n", stage.c_str(), static_cast<unsigned long long>(done),
                   static_cast<unsigned long long>(total));
    return !interrupted;
  }

 private:
  void drawBar(const std::string& stage, uint64_t done, uint64_t total) {
    if (stage != stage_) endLine();
    stage_ = stage;
    const int width = 30;
    int filled = total ? static_cast<int>(done * width / total) : width;
    std::fprintf(stderr, "\r%-20s [%s%s] %3d%%", stage.c_str(), std::string(filled, '#').c_str(),
                 std::string(width - filled, '.').c_str(),
                 total ? static_cast<int>(done * 100 / total) : 100);
    std::fflush(stderr);
    open_ = true;
  }
  void endLine() {
    if (open_) std::fputc('\n', stderr);
    open_ = false;
  }

  bool terminal_;
  bool open_ = false;
  std::string stage_;
};

void printReport(const PolylexLanguageReport& r) {
  std::printf("%-3s %-12s store %u: %llu meanings, %llu variants, %llu links\n", r.code.c_str(),
              r.name.c_str(), r.store, static_cast<unsigned long long>(r.meanings),
              static_cast<unsigned long long>(r.variants),
              static_cast<unsigned long long>(r.links));
  if (r.skippedSynsets || r.skippedLines || r.synsetsWithoutWords)
    std::printf(
        "    left out: %llu synsets not in WordNet 3.0, %llu synsets without words, "
        "%llu lines of other kinds\n",
        static_cast<unsigned long long>(r.skippedSynsets),
        static_cast<unsigned long long>(r.synsetsWithoutWords),
        static_cast<unsigned long long>(r.skippedLines));
}

int runBuild(const std::vector<std::string>& args) {
  PolylexBuildOptions options;
  if (!parseBuild(args, &options)) return usageError();
  struct sigaction action = {};
  action.sa_handler = onInterrupt;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  PolylexBuildResult result;
  {
    ProgressDisplay display;
    options.progress = [&](const std::string& stage, uint64_t done, uint64_t total) {
      return display.show(stage, done, total);
    };
    result = PolylexBuilder::Build(options);
  }
  if (!result.ok)
    return failure(interrupted ? "interrupted; " + options.output + " not written" : result.error);
  for (const PolylexLanguageReport& r : result.languages) printReport(r);
  std::printf("wrote %s\n", options.output.c_str());
  return 0;
}

int runInfo(const std::vector<std::string>& args) {
  if (args.size() != 2 || args[0] != "--db") return usageError();
  PolylexSummary summary;
  std::string error;
  if (!PolylexSummary::Read(args[1], &summary, &error)) return failure(error);
  std::printf("site: %s (%s)\n", summary.siteName.c_str(), summary.siteLanguage.c_str());
  std::printf("data version: %s\n", summary.dataVersion.c_str());
  for (const PolylexStoreSummary& s : summary.stores) {
    std::printf("store %u", s.store);
    if (!s.languageCode.empty())
      std::printf(" %s %s", s.languageCode.c_str(), s.languageName.c_str());
    std::printf("\n");
    for (const PolylexContainerSummary& c : s.containers)
      std::printf("  %5u %-22s %10u\n", c.container, c.name.c_str(), c.records);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  if (args.size() == 1 && args[0] == "--version") {
    std::printf("corvid %s\n", CORVID5_VERSION_STRING);
    return 0;
  }
  if (args.size() == 1 && args[0] == "--help") {
    std::fputs(kUsage, stdout);
    std::fputs(kHelp, stdout);
    return 0;
  }
  if (args.empty()) return usageError();
  std::string command = args[0];
  args.erase(args.begin());
  if (command == "build") return runBuild(args);
  if (command == "info") return runInfo(args);
  return usageError();
}

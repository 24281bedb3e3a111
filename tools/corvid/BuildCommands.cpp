// Making a database and telling what one holds.
#include <corvid5/PolylexBuilder.h>
#include <corvid5/PolylexSummary.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "Commands.h"
#include "Json.h"

namespace corvid {

namespace {

volatile sig_atomic_t interrupted = 0;

void onInterrupt(int) { interrupted = 1; }

PolylexBuildOptions buildOptions(const Invocation& run) {
  const Arguments args(run.args,
                       {{"--wordnet", Option::kValue},
                        {"--omw", Option::kValues},
                        {"--records", Option::kValues},
                        {"--no-projected-relations", Option::kFlag},
                        {"--force", Option::kFlag}},
                       1);
  if (args.words().size() != 1) throw UsageError{};
  PolylexBuildOptions o;
  o.output = args.words()[0];
  o.wordnetDir = args.value("--wordnet", o.wordnetDir);
  o.omwDirs = args.values("--omw");
  o.recordFiles = args.values("--records");
  o.projectedRelations = !args.has("--no-projected-relations");
  o.force = args.has("--force");
  return o;
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
  if (r.shiftedSynsets)
    std::printf("    %llu synsets found a few bytes from their offset (moved in this WordNet)\n",
                static_cast<unsigned long long>(r.shiftedSynsets));
}

int runBuild(const Invocation& run) {
  PolylexBuildOptions options = buildOptions(run);
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
    throw Failure{interrupted ? "interrupted; " + options.output + " not written" : result.error};
  for (const PolylexLanguageReport& r : result.languages) printReport(r);
  std::printf("wrote %s\n", options.output.c_str());
  return 0;
}

void printSummary(const PolylexSummary& summary) {
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
}

void writeSummary(const PolylexSummary& summary) {
  JsonWriter json(stdout);
  json.beginObject();
  json.key("site").value(summary.siteName);
  json.key("site_language").value(summary.siteLanguage);
  json.key("data_version").value(summary.dataVersion);
  json.key("stores").beginArray();
  for (const PolylexStoreSummary& s : summary.stores) {
    json.beginObject();
    json.key("store").value(s.store);
    json.key("code").value(s.languageCode);
    json.key("name").value(s.languageName);
    json.key("containers").beginArray();
    for (const PolylexContainerSummary& c : s.containers) {
      json.beginObject();
      json.key("container").value(c.container);
      json.key("name").value(c.name);
      json.key("records").value(c.records);
      json.endObject();
    }
    json.endArray();
    json.endObject();
  }
  json.endArray();
  json.endObject();
}

int runInfo(const Invocation& run) {
  const Arguments args(run.args, {kDbOption, kJsonOption}, 0);
  PolylexSummary summary;
  std::string error;
  if (!PolylexSummary::Read(run.databasePath(args), &summary, &error)) throw Failure{error};
  if (args.has("--json"))
    writeSummary(summary);
  else
    printSummary(summary);
  return 0;
}

}  // namespace

const Command kBuildCommand = {
    "build",
    "build OUT.db [--wordnet DIR] [--omw DIR]... [--records FILE]... "
    "[--no-projected-relations] [--force]",
    "Makes a database: English from WordNet 3.0 (--wordnet, default /usr/share/wordnet),\n"
    "a language per OMW wn-data-*.tab file found under each --omw folder, then the\n"
    "records of each --records dump. English links are carried over to the other\n"
    "languages unless --no-projected-relations; an existing OUT.db is kept unless --force.\n",
    runBuild};

const Command kInfoCommand = {
    "info", "info [--db DB] [--json]",
    "Shows a database's site, data version, languages and record counts per container.\n", runInfo};

}  // namespace corvid

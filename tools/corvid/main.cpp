// corvid: the command-line face of the Corvid5 library.
#include <corvid5/FlmError.h>
#include <corvid5/PLXException.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "Commands.h"

namespace {

using corvid::Command;

const Command* const kCommands[] = {
    &corvid::kBuildCommand,     &corvid::kInfoCommand,      &corvid::kLangsCommand,
    &corvid::kLookupCommand,    &corvid::kTranslateCommand, &corvid::kRelatedCommand,
    &corvid::kExportCommand,    &corvid::kDictCommand,      &corvid::kDumpCommand,
    &corvid::kRelationsCommand, &corvid::kOntologyCommand,
};

const char kAbout[] =
    "corvid: look up words in a multilingual wordnet database\n"
    "\n"
    "options before the command:\n"
    "  --db PATH   the database (default: $CORVID_DB, else ./polylex.db)\n"
    "  --version   print the version and exit\n"
    "  --help      print this help and exit\n"
    "\n"
    "Each command takes --help; those that print data take --json for one JSON document.\n";

void printUsage(std::FILE* out) {
  std::fputs("usage: corvid [--db PATH] [--version] [--help] <command> [<args>]\n", out);
  for (const Command* c : kCommands) std::fprintf(out, "       corvid %s\n", c->usage);
}

int usageError() {
  printUsage(stderr);
  return 2;
}

int failure(const std::string& message) {
  std::fprintf(stderr, "corvid: %s\n", message.c_str());
  return 1;
}

const Command* findCommand(const std::string& name) {
  for (const Command* c : kCommands)
    if (name == c->name) return c;
  return nullptr;
}

bool asksForHelp(const std::vector<std::string>& args) {
  auto end = std::find(args.begin(), args.end(), "--");
  return std::find(args.begin(), end, "--help") != end;
}

std::string defaultDatabase() {
  const char* named = std::getenv("CORVID_DB");
  return named && *named ? named : "polylex.db";
}

// Runs one command, turning what stops it into its message and exit status.
int runCommand(const Command& command, const corvid::Invocation& invocation) {
  if (asksForHelp(invocation.args)) {
    std::printf("usage: corvid %s\n\n%s", command.usage, command.help);
    return 0;
  }
  try {
    return command.run(invocation);
  } catch (const corvid::UsageError&) {
    std::fprintf(stderr, "usage: corvid %s\n", command.usage);
    return 2;
  } catch (const corvid::Failure& f) {
    return failure(f.message);
  } catch (const PLXException& e) {
    // The exporter formats what it throws into its text; formatting the same
    // exception again would leave that text unfreed, so a copy is formatted.
    const PLXException copy(e);
    return failure(static_cast<const char*>(copy));
  } catch (const FlmError& e) {
    return failure(e.GetMessage());
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  corvid::Invocation invocation{{}, defaultDatabase()};
  size_t i = 0;
  for (; i < args.size() && args[i].starts_with("-"); ++i) {
    if (args[i] == "--version") {
      std::printf("corvid %s\n", CORVID5_VERSION_STRING);
      return 0;
    }
    if (args[i] == "--help") {
      printUsage(stdout);
      std::fputs(kAbout, stdout);
      return 0;
    }
    if (args[i] != "--db" || i + 1 >= args.size()) return usageError();
    invocation.database = args[++i];
  }
  if (i >= args.size()) return usageError();
  const Command* command = findCommand(args[i]);
  if (!command) return usageError();
  invocation.args.assign(args.begin() + static_cast<std::ptrdiff_t>(i) + 1, args.end());
  return runCommand(*command, invocation);
}

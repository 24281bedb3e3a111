// The subcommands of corvid: each a name, its usage line, what --help says
// about it, and what it runs.
#ifndef CORVID_TOOL_COMMANDS_H
#define CORVID_TOOL_COMMANDS_H

#include <string>
#include <vector>

#include "Arguments.h"

namespace corvid {

// What one run was given before and after the command's name.
struct Invocation {
  std::vector<std::string> args;  // after the command's name
  std::string database;           // --db before the command, CORVID_DB, or ./polylex.db

  // The command's own --db wins over the one given before it.
  std::string databasePath(const Arguments& parsed) const { return parsed.value("--db", database); }
};

struct Command {
  const char* name;
  const char* usage;  // after "corvid "
  const char* help;   // lines of explanation, each ending in a line feed
  // Throws UsageError for a wrong usage and Failure for anything else that
  // stops it; answers the exit status otherwise.
  int (*run)(const Invocation&);
};

// Defined beside the commands they run.
extern const Command kBuildCommand, kInfoCommand;
extern const Command kLangsCommand;
extern const Command kLookupCommand, kTranslateCommand, kRelatedCommand;
extern const Command kExportCommand;
extern const Command kDictCommand;
extern const Command kDumpCommand;
extern const Command kRelationsCommand, kOntologyCommand;

}  // namespace corvid

#endif

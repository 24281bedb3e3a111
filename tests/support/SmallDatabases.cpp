#include "support/SmallDatabases.h"

#include <corvid5/Platform.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <tuple>

#include "support/TestFiles.h"

extern char** environ;

namespace dumptext {
namespace {

std::string at(uint32_t id) { return "@" + std::to_string(id) + "@"; }

}  // namespace

std::string group(uint32_t store, uint16_t container) {
  return "STORE " + std::to_string(store) + " CONTAINER " + std::to_string(container) + "\n";
}

std::string fixedRecords(const std::string& version, bool database, bool site) {
  std::string dump = group(0, 32001) + "0 @12@ VERSION_RECORD\n  1 PART_OF_SPEECH " + version + "\n";
  if (database) dump += "0 @28@ DATABASE_RECORD\n  1 NAME Polylex\n";
  if (site) dump += "0 @61@ SITE\n  1 SITE_NAME Corvid test site\n  1 SITE_LANGUAGE en\n";
  return dump;
}

std::string systemTables() {
  std::string dump = group(96, 32001);
  for (const auto& [id, code, name] :
       {std::tuple{1, "near_antonym", "antonym"}, {8, "has_hyperonym", "hyperonym"},
        {10, "has_hyponym", "hyponym"}, {12, "near_synonym", "near synonym"}})
    dump += "0 " + at(id) + " RELATION_DEFINITION\n  1 RELATION " + std::to_string(id) +
            "\n  1 CODE " + code + "\n  1 NAME " + name + "\n";
  dump += group(96, 320) + "0 @1@ PART_OF_SPEECH_DEFINITION\n  1 PART_OF_SPEECH 1\n  1 NAME noun\n";
  return dump + group(96, 350) +
         "0 @1@ EQ_RELATION_DEFINITION\n  1 EQ_RELATION 1\n  1 CODE eq_synonym\n  1 NAME synonym\n"
         "0 @2@ EQ_RELATION_DEFINITION\n  1 EQ_RELATION 2\n  1 CODE eq_near_synonym\n"
         "  1 NAME near synonym\n";
}

std::string languages() {
  return group(96, 300) +
         "0 @100@ TAG_301\n  1 CODE en\n  1 STORE_ID 100\n  1 NAME English\n"
         "    2 NAME en English\n    2 NAME fr anglais\n"
         "0 @101@ TAG_301\n  1 CODE fr\n  1 STORE_ID 101\n  1 NAME fran\xC3\xA7" "ais\n"
         "    2 NAME en French\n    2 NAME fr fran\xC3\xA7" "ais\n";
}

std::string meaning(uint32_t id, int pos) {
  return "0 " + at(id) + " CONCEPT\n  1 TYPE 1\n  1 PART_OF_SPEECH " + std::to_string(pos) + "\n";
}

std::string variant(uint32_t id, uint32_t meaning, const std::string& literal, int sense,
                    const std::string& definition) {
  return "0 " + at(id) + " VARIANT\n  1 CONCEPT " + at(meaning) +
         "\n    2 PART_OF_SPEECH 1\n  1 LITERAL " + literal + "\n    2 SENSE " +
         std::to_string(sense) + "\n" +
         (definition.empty() ? "" : "  1 DEFINITION " + definition + "\n");
}

std::string conceptLink(uint32_t id, int relation, uint32_t source, uint32_t target) {
  return "0 " + at(id) + " CONCEPT_LINK\n  1 RELATION " + std::to_string(relation) +
         "\n  1 SOURCE_CONCEPT " + at(source) + "\n  1 TARGET_CONCEPT " + at(target) + "\n";
}

std::string eqLink(uint32_t id, int relation, uint32_t meaning, uint32_t ili) {
  return "0 " + at(id) + " EQ_LINK\n  1 EQ_RELATION " + std::to_string(relation) +
         "\n  1 CONCEPT " + at(meaning) + "\n  1 TARGET_ILI " + at(ili) + "\n";
}

}  // namespace dumptext

namespace testdb {
namespace {

// The soft limit, which a program's main stack grows up to.
bool limitStack(size_t bytes) {
  struct rlimit stack;
  if (getrlimit(RLIMIT_STACK, &stack) != 0) return false;
  stack.rlim_cur = bytes;
  return setrlimit(RLIMIT_STACK, &stack) == 0;
}

}  // namespace

std::string narrow(unsigned short* text) {
  if (!text) return "<null>";
  int units = 0;
  while (text[units]) ++units;
  std::string out;
  if (units > 0) {
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, units, nullptr, 0, nullptr, nullptr);
    out.resize(static_cast<size_t>(size > 0 ? size : 0));
    WideCharToMultiByte(CP_UTF8, 0, text, units, out.data(), size, nullptr, nullptr);
  }
  SysFreeString(text);
  return out;
}

CommandRun corvid(const std::vector<std::string>& args, const std::string& db,
                  const std::string& dir, size_t stackBytes) {
  static testfiles::ScratchDir scratch;
  std::vector<std::string> env;
  for (char** e = environ; *e; ++e)
    if (std::strncmp(*e, "CORVID_DB=", 10) != 0) env.emplace_back(*e);
  if (!db.empty()) env.push_back("CORVID_DB=" + db);
  std::vector<char*> envp, argv{const_cast<char*>(CORVID5_CORVID_BINARY)};
  for (std::string& e : env) envp.push_back(e.data());
  envp.push_back(nullptr);
  std::vector<std::string> copies(args);
  for (std::string& a : copies) argv.push_back(a.data());
  argv.push_back(nullptr);
  const std::string outPath = scratch.file("out"), errPath = scratch.file("err");
  const pid_t child = fork();
  if (child == 0) {
    const int out = ::open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int err = ::open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (out < 0 || err < 0 || dup2(out, 1) < 0 || dup2(err, 2) < 0) _exit(126);
    if (!dir.empty() && chdir(dir.c_str()) != 0) _exit(126);
    if (stackBytes && !limitStack(stackBytes)) _exit(126);
    execve(argv[0], argv.data(), envp.data());
    _exit(127);
  }
  CommandRun run;
  int status = 0;
  if (child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status))
    run.status = WEXITSTATUS(status);
  run.out = testfiles::readFile(outPath);
  run.err = testfiles::readFile(errPath);
  return run;
}

}  // namespace testdb

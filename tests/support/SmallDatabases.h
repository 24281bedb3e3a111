// Record-dump text for the small databases tests make (the layout's fixed
// records, the shared system tables, and the common record shapes in one
// line each), and what tests of the public objects and the corvid command
// share: a library string made narrow, and the command run as people run it.
#ifndef CORVID5_TESTS_SMALLDATABASES_H
#define CORVID5_TESTS_SMALLDATABASES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace dumptext {

std::string group(uint32_t store, uint16_t container);
// The version, database and site records of store 0.
std::string fixedRecords(const std::string& version = "1.3", bool database = true,
                         bool site = true);
// Relations 1 (antonym), 8 (hyperonym), 10 (hyponym) and 12 (near synonym),
// each with a CODE and a different NAME; part of speech 1 (noun);
// equivalence relations 1 (eq_synonym) and 2 (eq_near_synonym).
std::string systemTables();
// English (store 100) and French (store 101), each named in both.
std::string languages();
// Records of the current group, one call each.
std::string meaning(uint32_t id, int pos);
std::string variant(uint32_t id, uint32_t meaning, const std::string& literal, int sense,
                    const std::string& definition = "");
std::string conceptLink(uint32_t id, int relation, uint32_t source, uint32_t target);
std::string eqLink(uint32_t id, int relation, uint32_t meaning, uint32_t ili);

}  // namespace dumptext

namespace testdb {

// A library string's characters up to its first NUL, in UTF-8, released;
// "<null>" for none.
std::string narrow(unsigned short* text);

struct CommandRun {
  int status = -1;
  std::string out, err;
};
// Runs corvid with `args`, in `dir` when given, with CORVID_DB set to `db`
// (unset when empty), on a stack limited to `stackBytes` when given.
CommandRun corvid(const std::vector<std::string>& args, const std::string& db = "",
                  const std::string& dir = "", size_t stackBytes = 0);

}  // namespace testdb

#endif

// Databases built from the real wordnets, made once and shared by the test
// programs that read them: ctest runs every test in a process of its own,
// and a build takes from seconds to minutes.
#ifndef CORVID5_TESTS_CACHEDDATABASES_H
#define CORVID5_TESTS_CACHEDDATABASES_H

#include <string>
#include <vector>

namespace testdb {

// The shared wordnets' tab files that tests build: every one, except in
// sanitizer builds, which take French and Danish only (all fifteen take
// several minutes there). CORVID_TEST_OMW_LANGUAGES overrides either choice
// with a comma-separated list of file codes ("fra,ita") or "all".
std::vector<std::string> chosenTabFiles();

// The path of a database built from WordNet 3.0 alone, or "" when WordNet's
// files are missing or the build failed. $CORVID_ENGLISH_DB names the file to
// use (and to build when absent); otherwise it is kept in $CORVID_TEST_TMP
// (else the temporary directory) under the date of the library, so that a
// rebuilt library builds it afresh and the copy it replaces is removed.
std::string englishDatabase();

// Likewise for WordNet 3.0 with the chosen tab files; $CORVID_POLYLEX_DB
// names the file to use.
std::string polylexDatabase();

}  // namespace testdb

#endif

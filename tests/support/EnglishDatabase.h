// The English database built from WordNet 3.0, made once and shared by the
// test programs that read it, since a build takes a minute or more.
#ifndef CORVID5_TESTS_ENGLISHDATABASE_H
#define CORVID5_TESTS_ENGLISHDATABASE_H

#include <string>

namespace testdb {

// The path of a built English database, or "" when WordNet's files are
// missing or the build failed. $CORVID_ENGLISH_DB names the file to use (and
// to build when absent); otherwise it is kept in the temporary directory
// under the date of the library, so that a rebuilt library builds it afresh
// and the copy it replaces is removed.
std::string englishDatabase();

}  // namespace testdb

#endif

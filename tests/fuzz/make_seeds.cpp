// Writes the first corpora of the fuzz targets from real data: slices of
// WordNet 3.0 and of the OMW tab files, a database built from them, its
// records as the storage engine keeps them and as a record dump, and
// criteria strings over its fields. The corpora kept in the repository were
// grown from these by fuzzing and merged down again.
//   make_seeds <directory>   one subdirectory per target
#include <sqlite3.h>

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "engine/Layout.h"
#include "engine/build/DatabaseDump.h"
#include "flm/PageChecksum.h"
#include "flm/Session.h"
#include "support/Slices.h"
#include "support/TestFiles.h"

namespace fs = std::filesystem;

namespace {

class Seeds {
 public:
  Seeds(const fs::path& dir, const std::string& target) : dir_(dir / target) {
    fs::create_directories(dir_);
  }
  void add(const std::string& bytes) {
    testfiles::writeFile((dir_ / ("seed-" + std::to_string(++count_))).string(), bytes);
  }

 private:
  fs::path dir_;
  int count_ = 0;
};

void wordnetSeeds(const fs::path& out) {
  Seeds seeds(out, "wordnet");
  const std::vector<std::string> slice = slices::wordnetSlice(testfiles::wordnetDir());
  seeds.add(slices::joinFiles(slice));
  // Nouns alone, and verbs alone: the other parts of speech left out, their
  // data files down to the licence line at their head (an empty one is a
  // file cut short, which a build refuses).
  for (size_t first : {0, 2}) {
    std::vector<std::string> one(slice.size());
    for (size_t data = 1; data < slice.size(); data += 2)
      one[data] = slice[data].substr(0, slice[data].find('\n') + 1);
    one[first] = slice[first];
    one[first + 1] = slice[first + 1];
    seeds.add(slices::joinFiles(one));
  }
}

void omwSeeds(const fs::path& out) {
  Seeds seeds(out, "omw");
  for (const auto& entry : fs::recursive_directory_iterator(testfiles::sharedDir() + "/data/omw"))
    if (entry.path().extension() == ".tab") seeds.add(slices::omwSlice(entry.path().string()));
}

// The records of the database file as the storage engine stores them.
void codecSeeds(const fs::path& out, const std::string& path) {
  Seeds seeds(out, "record_codec");
  sqlite3* db = nullptr;
  sqlite3_stmt* stmt = nullptr;
  if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK &&
      sqlite3_prepare_v2(db, "SELECT data FROM flm_record", -1, &stmt, nullptr) == SQLITE_OK) {
    while (sqlite3_step(stmt) == SQLITE_ROW)
      seeds.add(std::string(static_cast<const char*>(sqlite3_column_blob(stmt, 0)),
                            static_cast<size_t>(sqlite3_column_bytes(stmt, 0))));
  }
  sqlite3_finalize(stmt);
  sqlite3_close(db);
}

// The whole dump, and each of its STORE groups alone.
void dumpSeeds(const fs::path& out, const std::string& path) {
  Seeds seeds(out, "record_dump");
  flm::Session* session = nullptr;
  flm::Database* db = nullptr;
  std::string text;
  if (flm::Session::create(256, 0, &session) ||
      session->openDatabase(path.c_str(), nullptr, flm::FO_READ_ONLY, &db) ||
      build::dumpDatabase(db, &text))
    throw std::runtime_error("cannot dump " + path);
  flm::Session::close(&session);
  seeds.add(text);
  for (size_t at = text.find("STORE "); at != std::string::npos;) {
    const size_t next = text.find("\nSTORE ", at);
    seeds.add(text.substr(at, next == std::string::npos ? next : next + 1 - at));
    at = next == std::string::npos ? next : next + 1;
  }
}

std::string repeated(const std::string& text, size_t times) {
  std::string out;
  for (size_t i = 0; i < times; ++i) out += text;
  return out;
}

// Nesting and chains as deep and long as an input of the criteria target
// may hold (4 KB): what once ran out of stack or time.
std::vector<std::string> deepCriteria() {
  return {
      repeated("! ", 2000),
      repeated("\\( ", 650) + "LITERAL == dog" + repeated(" \\)", 650),
      repeated("! \\( ", 480) + "SENSE == 1" + repeated(" \\)", 480),
      "LITERAL == dog" + repeated(" && SENSE >= 1", 250),
      "LITERAL == dog" + repeated(" || LITERAL == cat", 200),
      repeated("LITERAL == dog || \\( ", 150) + "SENSE == 2" + repeated(" \\)", 150),
      "SENSE == " + repeated("- ", 1900) + "1",
      "SENSE" + repeated(" + 1", 900) + " == 901",
      repeated("&& ", 1300),
  };
}

// The first byte picks the cursor's place and flags (see fuzz_criteria).
void criteriaSeeds(const fs::path& out) {
  Seeds seeds(out, "criteria");
  const std::vector<std::string> criteria = {
      "LITERAL == dog",
      "LITERAL == 'domestic dog' || LITERAL == \"cur\"",
      "#120 CONTAINS og",
      "SENSE >= 2 && LITERAL MATCH_BEGIN do",
      "not \\( SENSE == 1 or SENSE == 2 \\)",
      "LITERAL == d* and CONCEPT != 3",
      "TYPE == 1 And PART_OF_SPEECH .eq. 1",
      "WORDNET_OFFSET > 2000000",
      "GLOSS MATCH 'a*'",
      "#32171 < 5",
      "(LITERAL == chien)",
      "LITERAL == caf\\xc3\\xa9 ) SENSE == 1",
      "RELATION == 8 or CODE == has_hyperonym",
      "LITERAL == ''",
  };
  for (size_t i = 0; i < criteria.size(); ++i)
    seeds.add(std::string(1, static_cast<char>(i)) + criteria[i]);
  const std::vector<std::string> deep = deepCriteria();
  for (size_t i = 0; i < deep.size(); ++i)
    seeds.add(std::string(1, static_cast<char>(i)) + deep[i]);
}

// The database in pages of SQLite's smallest size, so that the fuzzer
// mutates as few bytes as hold it; through the engine's VFS, which writes
// each page's checksum.
void compact(const std::string& path) {
  sqlite3* db = nullptr;
  if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE, flm::checksumVfs()) != SQLITE_OK ||
      sqlite3_exec(db, "PRAGMA page_size = 512; VACUUM", nullptr, nullptr, nullptr) != SQLITE_OK) {
    sqlite3_close(db);
    throw std::runtime_error("cannot compact " + path);
  }
  sqlite3_close(db);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: make_seeds <directory>\n";
    return 2;
  }
  try {
    const fs::path out = argv[1];
    testfiles::ScratchDir work;
    const std::string db = work.file("small.db");
    slices::buildSmallDatabase(db, work.path());
    compact(db);
    Seeds(out, "database").add(testfiles::readFile(db));
    wordnetSeeds(out);
    omwSeeds(out);
    codecSeeds(out, db);
    dumpSeeds(out, db);
    criteriaSeeds(out);
  } catch (const std::exception& e) {
    std::cerr << "make_seeds: " << e.what() << "\n";
    return 1;
  }
  return 0;
}

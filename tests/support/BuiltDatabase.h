// Reading back what a build made, through the storage engine, and counting
// what WordNet's own files hold, so that tests compare the two.
#ifndef CORVID5_TESTS_BUILTDATABASE_H
#define CORVID5_TESTS_BUILTDATABASE_H

#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "flm/Database.h"
#include "flm/Node.h"
#include "flm/Pool.h"

namespace testdb {

// A database opened read-only in a session of its own.
class StoredDatabase {
 public:
  explicit StoredDatabase(const std::string& path);
  ~StoredDatabase();
  StoredDatabase(const StoredDatabase&) = delete;
  StoredDatabase& operator=(const StoredDatabase&) = delete;

  flm::Database* db() const { return db_; }
  uint32_t count(uint32_t store, uint16_t container) const;
  // The records with this key in one component of an index, each once.
  std::vector<uint32_t> find(uint16_t index, uint32_t store, uint16_t component,
                             const std::string& text) const;
  std::vector<uint32_t> find(uint16_t index, uint32_t store, uint16_t component,
                             int64_t number) const;
  // Every record with a key in that component.
  std::vector<uint32_t> indexed(uint16_t index, uint32_t store, uint16_t component) const;

 private:
  void* session_ = nullptr;
  flm::Database* db_ = nullptr;
};

// One stored record; a missing one has no root.
class Record {
 public:
  Record(const StoredDatabase& db, uint32_t store, uint16_t container, uint32_t drn);
  ~Record();
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;

  const flm::Node* root() const { return root_; }
  // The first field with `tag` in the tree under `from` (the root by default).
  const flm::Node* field(uint16_t tag, const flm::Node* from = nullptr) const;
  std::vector<const flm::Node*> fields(uint16_t tag) const;
  std::string text(uint16_t tag, const flm::Node* from = nullptr) const;
  // -1 for a field that is not there.
  int64_t number(uint16_t tag, const flm::Node* from = nullptr) const;

 private:
  flm::PoolMemoryManager pool_;
  flm::Node* root_ = nullptr;
};

std::string textOf(const flm::Node* field);
int64_t numberOf(const flm::Node* field);

// WordNet 3.0's data files counted plainly: synset lines, word senses (the
// words of a synset that differ in more than case) and pointers.
struct WordNetCounts {
  uint64_t synsets = 0;
  uint64_t wordSenses = 0;
  uint64_t pointers = 0;
  std::set<std::pair<char, uint32_t>> synsetIds;  // data file letter (n v a r), offset
  // The senses' words as people read them: blanks for underscores, without
  // an adjective's position marker, spelt as the synset first spells them.
  std::set<std::string> wordForms;
};
WordNetCounts countWordNet(const std::string& dir);

// An OMW tab file's lemma lines counted plainly: the distinct lemmas, and
// the distinct (synset, lemma) pairs. The lemma that marks a meaning without
// a word is none. Every synset counts, whether WordNet has it or not.
struct TabCounts {
  std::set<std::string> lemmas;
  uint64_t senses = 0;
};
TabCounts countTab(const std::string& path);

}  // namespace testdb

#endif

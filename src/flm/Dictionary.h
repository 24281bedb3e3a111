// A database's dictionary: its named fields with their value types, its
// containers, and its numbered indexes. It is given when a database is made
// and stored in it.
#ifndef CORVID5_FLM_DICTIONARY_H
#define CORVID5_FLM_DICTIONARY_H

#include <cstdint>
#include <string>
#include <vector>

#include "flm/Node.h"
#include "flm/SmallVector.h"

namespace flm {

// Name-table kinds, as name lookups ask for them.
constexpr uint16_t FLM_FIELD_TAG = 32100;
constexpr uint16_t FLM_INDEX_TAG = 32101;
constexpr uint16_t FLM_CONTAINER_TAG = 32103;

constexpr uint16_t FLM_DICT_CONTAINER = 32000;
constexpr uint16_t FLM_DATA_CONTAINER = 32001;

struct FieldDef {
  uint16_t number;
  std::string name;
  ValueType type;
};

struct ContainerDef {
  uint16_t number;
  std::string name;
};

// A field path: one tag matches that field anywhere in a record; several are
// read from the record's root down (the first is the root's tag).
using FieldPath = SmallVector<uint16_t, 6>;

struct IndexDef {
  uint16_t number;
  std::string name;
  uint16_t container;
  std::vector<FieldPath> components;  // key component 1, 2, ...
};

class Dictionary {
 public:
  std::vector<FieldDef> fields;
  std::vector<ContainerDef> containers;  // the data container is always there
  std::vector<IndexDef> indexes;

  const FieldDef* field(uint16_t number) const;
  // Case-insensitive, as names are typed by people.
  const FieldDef* field(const char* name) const;
  const IndexDef* index(uint16_t number) const;
  bool hasContainer(uint16_t number) const;
  // The indexes kept on a container's records.
  std::vector<const IndexDef*> indexesOn(uint16_t container) const;
  // The first index on a container that has `path` as a key component, and
  // which component it is (from 1); null when none has.
  const IndexDef* indexWithComponent(uint16_t container, const FieldPath& path,
                                     uint16_t* component) const;
  // Checks numbers are unique and indexes name known containers.
  RCODE validate() const;
};

// "60/120" <-> {60, 120}
std::string formatPath(const FieldPath& path);
bool parsePath(const std::string& text, FieldPath* path);

// Name lookups over one dictionary, both ways.
class NameTable {
 public:
  explicit NameTable(const Dictionary& dictionary) : dictionary_(dictionary) {}
  // The name of a field (or index or container, by kind); false when unknown.
  bool getFromTagNum(uint16_t number, std::string* name, uint16_t kind = FLM_FIELD_TAG) const;
  bool getFromTagName(const char* name, uint16_t* number, uint16_t kind = FLM_FIELD_TAG) const;

 private:
  const Dictionary& dictionary_;
};

}  // namespace flm

#endif

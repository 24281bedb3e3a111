#include "flm/Dictionary.h"

#include <strings.h>

#include <set>

namespace flm {
namespace {

template <class T>
bool uniqueNumbers(const std::vector<T>& items) {
  std::set<uint16_t> seen;
  for (const T& item : items)
    if (!seen.insert(item.number).second) return false;
  return true;
}

template <class T>
const T* byName(const std::vector<T>& items, const char* name) {
  for (const T& item : items)
    if (strcasecmp(item.name.c_str(), name) == 0) return &item;
  return nullptr;
}

template <class T>
const T* byNumber(const std::vector<T>& items, uint16_t number) {
  for (const T& item : items)
    if (item.number == number) return &item;
  return nullptr;
}

}  // namespace

const FieldDef* Dictionary::field(uint16_t number) const { return byNumber(fields, number); }

const FieldDef* Dictionary::field(const char* name) const { return byName(fields, name); }

const IndexDef* Dictionary::index(uint16_t number) const { return byNumber(indexes, number); }

bool Dictionary::hasContainer(uint16_t number) const {
  return number == FLM_DATA_CONTAINER || byNumber(containers, number) != nullptr;
}

std::vector<const IndexDef*> Dictionary::indexesOn(uint16_t container) const {
  std::vector<const IndexDef*> found;
  for (const IndexDef& ix : indexes)
    if (ix.container == container) found.push_back(&ix);
  return found;
}

const IndexDef* Dictionary::indexWithComponent(uint16_t container, const FieldPath& path,
                                               uint16_t* component) const {
  for (const IndexDef& ix : indexes) {
    if (ix.container != container) continue;
    for (size_t c = 0; c < ix.components.size(); ++c)
      if (ix.components[c] == path) {
        *component = static_cast<uint16_t>(c + 1);
        return &ix;
      }
  }
  return nullptr;
}

RCODE Dictionary::validate() const {
  if (!uniqueNumbers(fields) || !uniqueNumbers(containers) || !uniqueNumbers(indexes))
    return FERR_DUPLICATE_DICT_REC;
  std::set<std::string> names;
  for (const FieldDef& f : fields) {
    if (f.number == 0 || f.name.empty()) return FERR_BAD_FIELD_NUM;
    if (f.type > FLM_TMSTAMP_TYPE) return FERR_BAD_FIELD_TYPE;
  }
  for (const IndexDef& ix : indexes) {
    if (!hasContainer(ix.container)) return FERR_BAD_CONTAINER;
    if (ix.components.empty()) return FERR_BAD_IX;
    for (const FieldPath& path : ix.components)
      if (path.empty()) return FERR_BAD_IX;
  }
  return FERR_OK;
}

std::string formatPath(const FieldPath& path) {
  std::string text;
  for (uint16_t tag : path) {
    if (!text.empty()) text += '/';
    text += std::to_string(tag);
  }
  return text;
}

bool parsePath(const std::string& text, FieldPath* path) {
  path->clear();
  unsigned value = 0;
  bool digits = false;
  for (char c : text + "/") {
    if (c >= '0' && c <= '9') {
      value = value * 10 + static_cast<unsigned>(c - '0');
      if (value > 0xFFFF) return false;
      digits = true;
    } else if (c == '/' && digits) {
      path->push_back(static_cast<uint16_t>(value));
      value = 0;
      digits = false;
    } else {
      return false;
    }
  }
  return !path->empty();
}

bool NameTable::getFromTagNum(uint16_t number, std::string* name, uint16_t kind) const {
  const std::string* found = nullptr;
  if (kind == FLM_FIELD_TAG) {
    if (const FieldDef* f = byNumber(dictionary_.fields, number)) found = &f->name;
  } else if (kind == FLM_INDEX_TAG) {
    if (const IndexDef* ix = byNumber(dictionary_.indexes, number)) found = &ix->name;
  } else if (kind == FLM_CONTAINER_TAG) {
    if (const ContainerDef* c = byNumber(dictionary_.containers, number)) found = &c->name;
  }
  if (found) *name = *found;
  return found != nullptr;
}

bool NameTable::getFromTagName(const char* name, uint16_t* number, uint16_t kind) const {
  const uint16_t* found = nullptr;
  if (!name) return false;
  if (kind == FLM_FIELD_TAG) {
    if (const FieldDef* f = byName(dictionary_.fields, name)) found = &f->number;
  } else if (kind == FLM_INDEX_TAG) {
    if (const IndexDef* ix = byName(dictionary_.indexes, name)) found = &ix->number;
  } else if (kind == FLM_CONTAINER_TAG) {
    if (const ContainerDef* c = byName(dictionary_.containers, name)) found = &c->number;
  }
  if (found) *number = *found;
  return found != nullptr;
}

}  // namespace flm

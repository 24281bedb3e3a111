// The relations table of a database built from WordNet: one relation per
// pointer symbol of WordNet's data files.
#ifndef CORVID5_ENGINE_BUILD_WORDNETRELATIONS_H
#define CORVID5_ENGINE_BUILD_WORDNETRELATIONS_H

#include <cstdint>
#include <span>
#include <string_view>

namespace build {

struct WordNetRelation {
  std::string_view symbol;     // as the data files write it
  int16_t id;                  // the relation record's number
  std::string_view shortText;  // tag 5
  std::string_view name;       // tag 10
};

std::span<const WordNetRelation> wordNetRelations();
// Null for a symbol WordNet does not use.
const WordNetRelation* wordNetRelation(std::string_view symbol);

}  // namespace build

#endif

// What recent questions found, within a byte budget: the record numbers a key
// probe or a whole query answered, so that asking again costs one probe of a
// flat table instead of a descent through the key table or a query's plan.
// An entry is kept under a hash of its question and holds the question
// itself, so that two questions of one hash never answer for each other.
// Questions begin with a byte that names their kind, so that the two kinds
// never meet either.
#ifndef CORVID5_FLM_ANSWERCACHE_H
#define CORVID5_FLM_ANSWERCACHE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "flm/BlobCache.h"

namespace flm {

// The first byte of a question.
constexpr char kKeyProbeQuestion = 'K';
constexpr char kQueryQuestion = 'Q';

class AnswerCache {
 public:
  // A limit of 0 turns the cache off and empties it.
  void setLimit(size_t bytes) { entries_.setLimit(bytes); }
  size_t bytes() const { return entries_.bytes(); }
  // Appends the record numbers kept for `question`; false when none are.
  bool find(std::string_view question, std::vector<uint32_t>* drns);
  void put(std::string_view question, const std::vector<uint32_t>& drns);
  // The same for answers laid out by the asker. The bytes found stay valid
  // until the cache is next changed.
  bool findBytes(std::string_view question, std::string_view* answer);
  void putBytes(std::string_view question, std::string_view answer);
  void clear();

 private:
  BlobCache entries_;
  std::string entry_;  // reused to lay out each new entry
};

}  // namespace flm

#endif

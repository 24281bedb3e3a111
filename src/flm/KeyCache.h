// What recent key probes found, within a byte budget, so that asking an index
// the same question again costs one probe of a flat table instead of a
// descent through the key table. An entry is kept under a hash of its
// question and holds the question itself, so that two questions of one hash
// never answer for each other.
#ifndef CORVID5_FLM_KEYCACHE_H
#define CORVID5_FLM_KEYCACHE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "flm/BlobCache.h"

namespace flm {

class KeyCache {
 public:
  // A limit of 0 turns the cache off and empties it.
  void setLimit(size_t bytes) { entries_.setLimit(bytes); }
  size_t bytes() const { return entries_.bytes(); }
  // Appends the record numbers kept for `question`; false when none are.
  bool find(std::string_view question, std::vector<uint32_t>* drns);
  void put(std::string_view question, const std::vector<uint32_t>& drns);
  void clear();

 private:
  BlobCache entries_;
  std::string entry_;  // reused to lay out each new entry
};

}  // namespace flm

#endif

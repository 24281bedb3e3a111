// Recently read records in their stored form, within a byte budget. Eviction
// is by the clock: a record found since the hand last passed it is spared
// once, so a hit costs one hash lookup and no reordering.
#ifndef CORVID5_FLM_RECORDCACHE_H
#define CORVID5_FLM_RECORDCACHE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace flm {

class RecordCache {
 public:
  // A limit of 0 turns the cache off and empties it.
  void setLimit(size_t bytes);
  size_t bytes() const { return bytes_; }
  // The stored form of a record, or null.
  const std::string* find(int64_t id);
  void put(int64_t id, std::string blob);
  void erase(int64_t id);
  void clear();

 private:
  struct Entry {
    std::string blob;
    bool referenced = false;
  };
  static size_t cost(const std::string& blob) { return blob.size() + kEntryOverhead; }
  void evictTo(size_t limit);
  void compactClock();

  // What an entry costs beyond its bytes: map node, string header, clock slot.
  static constexpr size_t kEntryOverhead = 80;

  std::unordered_map<int64_t, Entry> entries_;
  std::vector<int64_t> clock_;  // ids in the order the hand visits them
  size_t hand_ = 0;
  size_t bytes_ = 0;
  size_t limit_ = 0;
};

}  // namespace flm

#endif

// Recently read records in their stored form, least recently used first out,
// within a byte budget. A record found here costs no SQL at all.
#ifndef CORVID5_FLM_RECORDCACHE_H
#define CORVID5_FLM_RECORDCACHE_H

#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <unordered_map>

namespace flm {

class RecordCache {
 public:
  // A limit of 0 turns the cache off and empties it.
  void setLimit(size_t bytes);
  size_t bytes() const { return bytes_; }
  // The stored form of a record, or null; a hit becomes the most recent.
  const std::string* find(int64_t id);
  void put(int64_t id, std::string blob);
  void erase(int64_t id);
  void clear();

 private:
  struct Entry {
    int64_t id;
    std::string blob;
  };
  static size_t cost(const Entry& e) { return e.blob.size() + kEntryOverhead; }
  void evictTo(size_t limit);

  // What an entry costs beyond its bytes: list and map nodes, string header.
  static constexpr size_t kEntryOverhead = 96;

  std::list<Entry> lru_;  // most recent first
  std::unordered_map<int64_t, std::list<Entry>::iterator> index_;
  size_t bytes_ = 0;
  size_t limit_ = 0;
};

}  // namespace flm

#endif

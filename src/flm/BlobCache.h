// Byte strings by a 64-bit id, within a byte budget: records in their stored
// form by record id, answers by a hash of the question. Eviction
// is by the clock: an entry found since the hand last passed it is spared
// once, so a hit costs one probe of a flat table and no reordering.
#ifndef CORVID5_FLM_BLOBCACHE_H
#define CORVID5_FLM_BLOBCACHE_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

namespace flm {

class BlobCache {
 public:
  // A limit of 0 turns the cache off and empties it.
  void setLimit(size_t bytes);
  size_t bytes() const { return bytes_; }
  // The bytes kept for `id`; false when there are none. The bytes stay valid
  // until the cache is next changed.
  bool find(int64_t id, std::string_view* blob);
  void put(int64_t id, std::string_view blob);
  // Hints that `id` is asked for soon, so that the memory it is found in is
  // on its way by then: first its slot, then (once the slot has arrived) its
  // bytes.
  void prefetchSlot(int64_t id) const;
  void prefetchBytes(int64_t id);
  void erase(int64_t id);
  void clear();

 private:
  // Open addressing with linear probing: a lookup of an entry that is kept
  // reads one slot (and rarely its neighbours), then the entry's bytes.
  struct Slot {
    int64_t id = 0;
    std::unique_ptr<char[]> blob;  // null: the slot is free
    uint32_t size = 0;
    bool referenced = false;
  };
  static size_t cost(size_t blobSize) { return blobSize + kEntryOverhead; }
  size_t home(int64_t id) const;
  Slot* slotOf(int64_t id);
  void insert(Slot entry);
  void vacate(size_t slot);
  void grow();
  void evictTo(size_t limit);
  void compactClock();

  // What an entry costs beyond its bytes: its share of the slots, the
  // allocation's header, its clock place.
  static constexpr size_t kEntryOverhead = 80;

  // Slots live on huge pages where the system grants them: a lookup in a
  // table of many megabytes otherwise misses the address cache as well.
  template <class T>
  struct HugePages {
    using value_type = T;
    HugePages() = default;
    template <class U>
    HugePages(const HugePages<U>&) {}
    T* allocate(size_t n);
    void deallocate(T* p, size_t) { std::free(p); }
    bool operator==(const HugePages&) const { return true; }
  };

  std::vector<Slot, HugePages<Slot>> slots_;  // a power of two in size, at most half used
  size_t count_ = 0;
  std::vector<int64_t> clock_;  // ids in the order the hand visits them
  size_t hand_ = 0;
  size_t bytes_ = 0;
  size_t limit_ = 0;
};

}  // namespace flm

#endif

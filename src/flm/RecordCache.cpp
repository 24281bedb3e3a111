#include "flm/RecordCache.h"

namespace flm {

void RecordCache::setLimit(size_t bytes) {
  limit_ = bytes;
  evictTo(limit_);
}

const std::string* RecordCache::find(int64_t id) {
  auto found = index_.find(id);
  if (found == index_.end()) return nullptr;
  lru_.splice(lru_.begin(), lru_, found->second);
  return &found->second->blob;
}

void RecordCache::put(int64_t id, std::string blob) {
  erase(id);
  Entry entry{id, std::move(blob)};
  if (cost(entry) > limit_) return;
  evictTo(limit_ - cost(entry));
  bytes_ += cost(entry);
  lru_.push_front(std::move(entry));
  index_.emplace(id, lru_.begin());
}

void RecordCache::erase(int64_t id) {
  auto found = index_.find(id);
  if (found == index_.end()) return;
  bytes_ -= cost(*found->second);
  lru_.erase(found->second);
  index_.erase(found);
}

void RecordCache::clear() {
  lru_.clear();
  index_.clear();
  bytes_ = 0;
}

void RecordCache::evictTo(size_t limit) {
  while (bytes_ > limit && !lru_.empty()) {
    bytes_ -= cost(lru_.back());
    index_.erase(lru_.back().id);
    lru_.pop_back();
  }
}

}  // namespace flm

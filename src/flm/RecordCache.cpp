#include "flm/RecordCache.h"

namespace flm {

void RecordCache::setLimit(size_t bytes) {
  limit_ = bytes;
  evictTo(limit_);
}

const std::string* RecordCache::find(int64_t id) {
  auto found = entries_.find(id);
  if (found == entries_.end()) return nullptr;
  found->second.referenced = true;
  return &found->second.blob;
}

void RecordCache::put(int64_t id, std::string blob) {
  erase(id);
  size_t needed = cost(blob);
  if (needed > limit_) return;
  evictTo(limit_ - needed);
  bytes_ += needed;
  entries_.emplace(id, Entry{std::move(blob), false});
  clock_.push_back(id);
  if (clock_.size() > 2 * entries_.size() + 64) compactClock();
}

// Drops the ids of erased records (and repeats) from the clock.
void RecordCache::compactClock() {
  clock_.clear();
  for (const auto& entry : entries_) clock_.push_back(entry.first);
  hand_ = 0;
}

// Erased ids stay in the clock until the hand reaches them; they are skipped
// there, which keeps erasing as cheap as finding.
void RecordCache::erase(int64_t id) {
  auto found = entries_.find(id);
  if (found == entries_.end()) return;
  bytes_ -= cost(found->second.blob);
  entries_.erase(found);
}

void RecordCache::clear() {
  entries_.clear();
  clock_.clear();
  hand_ = 0;
  bytes_ = 0;
}

void RecordCache::evictTo(size_t limit) {
  while (bytes_ > limit && !clock_.empty()) {
    if (hand_ >= clock_.size()) hand_ = 0;
    auto found = entries_.find(clock_[hand_]);
    if (found != entries_.end() && found->second.referenced) {
      found->second.referenced = false;
      ++hand_;
      continue;
    }
    if (found != entries_.end()) {
      bytes_ -= cost(found->second.blob);
      entries_.erase(found);
    }
    clock_[hand_] = clock_.back();
    clock_.pop_back();
  }
  if (entries_.empty()) clock_.clear();
}

}  // namespace flm

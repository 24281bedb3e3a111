#include "flm/BlobCache.h"

#include <sys/mman.h>

#include <cstring>
#include <new>
#include <utility>

namespace flm {
namespace {

constexpr size_t kFirstCapacity = 64;
constexpr size_t kHugePage = size_t{2} << 20;

}  // namespace

template <class T>
T* BlobCache::HugePages<T>::allocate(size_t n) {
  size_t bytes = n * sizeof(T);
  if (bytes < kHugePage) {
    if (auto* p = static_cast<T*>(std::malloc(bytes))) return p;
    throw std::bad_alloc();
  }
  bytes = (bytes + kHugePage - 1) / kHugePage * kHugePage;
  void* p = std::aligned_alloc(kHugePage, bytes);
  if (!p) throw std::bad_alloc();
  madvise(p, bytes, MADV_HUGEPAGE);
  return static_cast<T*>(p);
}

// Record ids of one container are consecutive; multiplying by a constant
// near 2^64 / phi spreads them over the whole table.
size_t BlobCache::home(int64_t id) const {
  uint64_t mixed = static_cast<uint64_t>(id) * 0x9E3779B97F4A7C15ull;
  return static_cast<size_t>(mixed ^ (mixed >> 32)) & (slots_.size() - 1);
}

BlobCache::Slot* BlobCache::slotOf(int64_t id) {
  if (count_ == 0) return nullptr;
  size_t mask = slots_.size() - 1;
  for (size_t i = home(id);; i = (i + 1) & mask) {
    Slot& s = slots_[i];
    if (!s.blob) return nullptr;
    if (s.id == id) return &s;
  }
}

void BlobCache::prefetchSlot(int64_t id) const {
  if (count_) __builtin_prefetch(&slots_[home(id)]);
}

void BlobCache::prefetchBytes(int64_t id) {
  if (const Slot* s = slotOf(id)) __builtin_prefetch(s->blob.get());
}

void BlobCache::setLimit(size_t bytes) {
  limit_ = bytes;
  evictTo(limit_);
}

bool BlobCache::find(int64_t id, std::string_view* blob) {
  Slot* s = slotOf(id);
  if (!s) return false;
  s->referenced = true;
  *blob = std::string_view(s->blob.get(), s->size);
  return true;
}

void BlobCache::put(int64_t id, std::string_view blob) {
  erase(id);
  size_t needed = cost(blob.size());
  if (needed > limit_) return;
  evictTo(limit_ - needed);
  Slot entry{id, std::make_unique_for_overwrite<char[]>(blob.size()),
             static_cast<uint32_t>(blob.size()), false};
  if (!blob.empty()) std::memcpy(entry.blob.get(), blob.data(), blob.size());
  if (2 * (count_ + 1) > slots_.size()) grow();
  insert(std::move(entry));
  bytes_ += needed;
  clock_.push_back(id);
  if (clock_.size() > 2 * count_ + 64) compactClock();
}

void BlobCache::insert(Slot entry) {
  size_t mask = slots_.size() - 1;
  size_t i = home(entry.id);
  while (slots_[i].blob) i = (i + 1) & mask;
  slots_[i] = std::move(entry);
  ++count_;
}

void BlobCache::grow() {
  std::vector<Slot, HugePages<Slot>> old(slots_.empty() ? kFirstCapacity : 2 * slots_.size());
  old.swap(slots_);
  count_ = 0;
  for (Slot& s : old)
    if (s.blob) insert(std::move(s));
}

// Closes the gap a departing entry leaves, so that every later entry of its
// run stays reachable from its home slot without markers for the departed.
void BlobCache::vacate(size_t slot) {
  size_t mask = slots_.size() - 1;
  slots_[slot] = Slot{};
  --count_;
  for (size_t gap = slot, i = (slot + 1) & mask; slots_[i].blob; i = (i + 1) & mask) {
    size_t want = home(slots_[i].id);
    // The entry may fill the gap when its home is not between the gap and it.
    bool movable = gap <= i ? (want <= gap || want > i) : (want <= gap && want > i);
    if (!movable) continue;
    slots_[gap] = std::move(slots_[i]);
    slots_[i] = Slot{};
    gap = i;
  }
}

// Drops the ids of erased entries (and repeats) from the clock.
void BlobCache::compactClock() {
  clock_.clear();
  for (const Slot& s : slots_)
    if (s.blob) clock_.push_back(s.id);
  hand_ = 0;
}

// Erased ids stay in the clock until the hand reaches them; they are skipped
// there, which keeps erasing as cheap as finding.
void BlobCache::erase(int64_t id) {
  Slot* s = slotOf(id);
  if (!s) return;
  bytes_ -= cost(s->size);
  vacate(static_cast<size_t>(s - slots_.data()));
}

// A small table is emptied in place: the answer cache is cleared by every write,
// and a writer that reads between writes would otherwise remake it each time.
void BlobCache::clear() {
  if (slots_.size() <= kFirstCapacity)
    for (Slot& s : slots_) s = Slot{};
  else
    decltype(slots_)().swap(slots_);
  count_ = 0;
  clock_.clear();
  hand_ = 0;
  bytes_ = 0;
}

void BlobCache::evictTo(size_t limit) {
  while (bytes_ > limit && !clock_.empty()) {
    if (hand_ >= clock_.size()) hand_ = 0;
    Slot* s = slotOf(clock_[hand_]);
    if (s && s->referenced) {
      s->referenced = false;
      ++hand_;
      continue;
    }
    if (s) erase(s->id);
    clock_[hand_] = clock_.back();
    clock_.pop_back();
  }
  if (count_ == 0) {
    clock_.clear();
    hand_ = 0;
  }
}

}  // namespace flm

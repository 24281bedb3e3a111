#include "flm/Pool.h"

#include <cstdlib>
#include <cstring>

namespace flm {

namespace {

constexpr size_t kAlign = 8;

size_t alignUp(size_t n) { return (n + kAlign - 1) & ~(kAlign - 1); }

PoolBlock* newBlock(PoolBlock* prev, size_t size) {
  auto* b = static_cast<PoolBlock*>(std::malloc(sizeof(PoolBlock) + size));
  if (!b) return nullptr;
  b->prev = prev;
  b->refs = 1;
  b->size = static_cast<uint32_t>(size);
  b->used = 0;
  b->pad = 0;
  return b;
}

// Drops one reference; a block whose last holder lets go releases its
// predecessor in turn.
void release(PoolBlock* b) {
  while (b && --b->refs == 0) {
    PoolBlock* prev = b->prev;
    std::free(b);
    b = prev;
  }
}

bool contains(PoolBlock* b, const void* p) {
  auto* c = static_cast<const unsigned char*>(p);
  return c >= b->data() && c <= b->data() + b->size;
}

bool ownedAlone(const PoolBlock* b) {
  for (; b; b = b->prev)
    if (b->refs != 1) return false;
  return true;
}

}  // namespace

void poolInit(PoolMemoryManager* pool, uint16_t blockSize) {
  pool->block = nullptr;
  pool->blockSize = blockSize ? blockSize : 256;
}

void poolShare(PoolMemoryManager* to, const PoolMemoryManager& from) {
  *to = from;
  if (to->block) ++to->block->refs;
}

void* poolAllocFromNewBlock(PoolMemoryManager* pool, size_t size) {
  size_t want = size > pool->blockSize ? size : pool->blockSize;
  // The new block takes over the pool's reference to the old one.
  PoolBlock* fresh = newBlock(pool->block, alignUp(want));
  if (!fresh) return nullptr;
  pool->block = fresh;
  fresh->used = static_cast<uint32_t>(size);
  return fresh->data();
}

void* poolCalloc(PoolMemoryManager* pool, size_t size) {
  void* p = poolAlloc(pool, size);
  if (p) std::memset(p, 0, size);
  return p;
}

void* poolMark(PoolMemoryManager* pool) {
  if (!pool->block) {
    pool->block = newBlock(nullptr, alignUp(pool->blockSize));
    if (!pool->block) return nullptr;
  }
  return pool->block->data() + pool->block->used;
}

void poolReset(PoolMemoryManager* pool, void* mark) {
  if (!mark) {
    // Keep the oldest block for the next use when nobody else holds it: a
    // record that is read again and again then allocates nothing.
    PoolBlock* b = pool->block;
    if (b && ownedAlone(b)) {
      while (b->prev) {
        PoolBlock* prev = b->prev;
        std::free(b);
        b = prev;
      }
      b->used = 0;
      pool->block = b;
      return;
    }
    release(pool->block);
    pool->block = nullptr;
    return;
  }
  while (pool->block && !contains(pool->block, mark)) {
    PoolBlock* b = pool->block;
    pool->block = b->prev;
    if (pool->block) ++pool->block->refs;
    release(b);
  }
  if (pool->block)
    pool->block->used =
        static_cast<uint32_t>(static_cast<unsigned char*>(mark) - pool->block->data());
}

void poolFree(PoolMemoryManager* pool) {
  release(pool->block);
  pool->block = nullptr;
}

}  // namespace flm

// Block memory pools: the arena in which one record's field tree is built.
// Nothing is freed piece by piece; a pool is reset to a mark or emptied.
#ifndef CORVID5_FLM_POOL_H
#define CORVID5_FLM_POOL_H

#include <cstddef>
#include <cstdint>

namespace flm {

// One block: a header, then the payload, 8-byte aligned.
struct PoolBlock {
  PoolBlock* prev;
  uint32_t refs;
  uint32_t size;
  uint32_t used;
  uint32_t pad;
  unsigned char* data() { return reinterpret_cast<unsigned char*>(this + 1); }
};
static_assert(sizeof(PoolBlock) % 8 == 0);

// The pool header: the newest block and the size new blocks are made with.
// Headers may be copied member by member (two pools then share blocks); blocks
// are reference counted so that shared blocks stay valid until both let go.
struct PoolMemoryManager {
  PoolBlock* block = nullptr;
  uint16_t blockSize = 0;
};

void poolInit(PoolMemoryManager* pool, uint16_t blockSize);
// Makes `to` a second holder of `from`'s blocks (the member-by-member copy).
void poolShare(PoolMemoryManager* to, const PoolMemoryManager& from);
// Takes a new block; null when memory runs out.
void* poolAllocFromNewBlock(PoolMemoryManager* pool, size_t size);
// Returns null when memory runs out. Allocations are 8-byte aligned. Most
// fit the newest block, and a record's decoding makes one for every field.
inline void* poolAlloc(PoolMemoryManager* pool, size_t size) {
  size = (size + 7) & ~size_t{7};
  if (size == 0) size = 8;
  PoolBlock* b = pool->block;
  if (!b || b->size - b->used < size) return poolAllocFromNewBlock(pool, size);
  void* p = b->data() + b->used;
  b->used += static_cast<uint32_t>(size);
  return p;
}
void* poolCalloc(PoolMemoryManager* pool, size_t size);
// The present fill level; null only when memory runs out.
void* poolMark(PoolMemoryManager* pool);
// Gives back everything allocated after `mark`; a null mark empties the pool.
void poolReset(PoolMemoryManager* pool, void* mark);
// Releases every block the pool holds.
void poolFree(PoolMemoryManager* pool);

}  // namespace flm

#endif

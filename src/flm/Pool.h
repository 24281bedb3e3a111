// Block memory pools: the arena in which one record's field tree is built.
// Nothing is freed piece by piece; a pool is reset to a mark or emptied.
#ifndef CORVID5_FLM_POOL_H
#define CORVID5_FLM_POOL_H

#include <cstddef>
#include <cstdint>

namespace flm {

struct PoolBlock;

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
// Returns null when memory runs out. Allocations are 8-byte aligned.
void* poolAlloc(PoolMemoryManager* pool, size_t size);
void* poolCalloc(PoolMemoryManager* pool, size_t size);
// The present fill level; null only when memory runs out.
void* poolMark(PoolMemoryManager* pool);
// Gives back everything allocated after `mark`; a null mark empties the pool.
void poolReset(PoolMemoryManager* pool, void* mark);
// Releases every block the pool holds.
void poolFree(PoolMemoryManager* pool);

}  // namespace flm

#endif

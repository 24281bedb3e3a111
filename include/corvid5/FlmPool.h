// The block memory pool in which one record's field tree is built.
#ifndef CORVID5_FLMPOOL_H
#define CORVID5_FLMPOOL_H

#include <corvid5/Export.h>

#include <stddef.h>
#include <stdint.h>

namespace flm {
struct PoolMemoryManager;
}
using PoolMemoryManager = flm::PoolMemoryManager;

// Nodes, values and trees are carved from the pool and never freed one by
// one: a pool is reset to a mark, or emptied.
//
// A copy shares the source's blocks (the pool header is copied member by
// member); the blocks live until the last holder lets go. Records therefore
// never copy their pool: they copy their field tree into a pool of their own.
class CORVID5_API FlmPool {
 public:
  // Records use 256.
  explicit FlmPool(unsigned short blockSize);
  FlmPool(const FlmPool& other);
  FlmPool& operator=(const FlmPool& other);
  virtual ~FlmPool();

  // Nonzero when `out` received memory; `out` is null otherwise.
  int Allocate(unsigned short size, void*& out);
  // Nonzero when `mark` received the present fill level.
  int SetMark(void*& mark);
  // Gives back everything allocated after `mark`.
  void ResetKeeping(void* mark);
  // Gives back everything; every node pointer into the pool dangles after it.
  void ResetAll();

  // For the engine calls that build nodes.
  operator PoolMemoryManager*();

 private:
  PoolMemoryManager* Header();
  const PoolMemoryManager* Header() const;

  // The engine's pool header, held in place so that a record costs no extra
  // allocation for it; its size is checked against the engine's type.
  alignas(8) unsigned char m_Header[16];
};

#endif

#include <corvid5/FlmPool.h>

#include <new>

#include "flm/Pool.h"

FlmPool::FlmPool(unsigned short blockSize) {
  static_assert(sizeof(flm::PoolMemoryManager) <= sizeof m_Header);
  static_assert(alignof(flm::PoolMemoryManager) <= 8);
  flm::poolInit(new (m_Header) flm::PoolMemoryManager, blockSize);
}

// The member-by-member copy of the header: both pools then hold the same
// blocks, which the engine counts so that neither frees them under the other.
FlmPool::FlmPool(const FlmPool& other) {
  auto* header = new (m_Header) flm::PoolMemoryManager;
  flm::poolShare(header, *other.Header());
}

FlmPool& FlmPool::operator=(const FlmPool& other) {
  if (this != &other) {
    flm::poolFree(Header());
    flm::poolShare(Header(), *other.Header());
  }
  return *this;
}

FlmPool::~FlmPool() {
  flm::poolFree(Header());
  Header()->~PoolMemoryManager();
}

PoolMemoryManager* FlmPool::Header() {
  return std::launder(reinterpret_cast<flm::PoolMemoryManager*>(m_Header));
}

const PoolMemoryManager* FlmPool::Header() const {
  return std::launder(reinterpret_cast<const flm::PoolMemoryManager*>(m_Header));
}

int FlmPool::Allocate(unsigned short size, void*& out) {
  out = flm::poolAlloc(Header(), size);
  return out != nullptr;
}

int FlmPool::SetMark(void*& mark) {
  mark = flm::poolMark(Header());
  return mark != nullptr;
}

void FlmPool::ResetKeeping(void* mark) { flm::poolReset(Header(), mark); }

void FlmPool::ResetAll() { flm::poolReset(Header(), nullptr); }

FlmPool::operator PoolMemoryManager*() { return Header(); }

// A vector of plain values that keeps its first few elements inside itself:
// a query makes dozens of short lists (a field path, an operator's operands,
// the candidates of one record), and allocating each costs more than the
// work done with it.
#ifndef CORVID5_FLM_SMALLVECTOR_H
#define CORVID5_FLM_SMALLVECTOR_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <type_traits>

namespace flm {

template <class T, size_t N>
class SmallVector {
  static_assert(std::is_trivially_copyable_v<T> && N > 0);

 public:
  using value_type = T;
  using iterator = T*;
  using const_iterator = const T*;

  SmallVector() = default;
  SmallVector(const T* first, const T* last) { assign(first, last); }
  SmallVector(std::initializer_list<T> values) { assign(values.begin(), values.end()); }
  SmallVector(const SmallVector& other) { assign(other.begin(), other.end()); }
  SmallVector(SmallVector&& other) noexcept { take(other); }
  SmallVector& operator=(const SmallVector& other) {
    if (this != &other) assign(other.begin(), other.end());
    return *this;
  }
  SmallVector& operator=(SmallVector&& other) noexcept {
    if (this != &other) {
      heap_.reset();
      take(other);
    }
    return *this;
  }

  T* data() { return heap_ ? heap_.get() : inline_; }
  const T* data() const { return heap_ ? heap_.get() : inline_; }
  size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  T* begin() { return data(); }
  T* end() { return data() + size_; }
  const T* begin() const { return data(); }
  const T* end() const { return data() + size_; }
  T& operator[](size_t i) { return data()[i]; }
  const T& operator[](size_t i) const { return data()[i]; }
  T& back() { return data()[size_ - 1]; }
  const T& back() const { return data()[size_ - 1]; }

  void clear() { size_ = 0; }
  void push_back(const T& value) {
    if (size_ == capacity_) reserve(2 * capacity_);
    data()[size_++] = value;
  }
  void pop_back() { --size_; }
  void reserve(size_t capacity) {
    if (capacity <= capacity_) return;
    auto grown = std::make_unique_for_overwrite<T[]>(capacity);
    if (size_) std::memcpy(grown.get(), data(), size_ * sizeof(T));
    heap_ = std::move(grown);
    capacity_ = capacity;
  }
  void assign(const T* first, const T* last) {
    size_ = 0;
    reserve(static_cast<size_t>(last - first));
    if (first != last) std::memcpy(data(), first, static_cast<size_t>(last - first) * sizeof(T));
    size_ = static_cast<size_t>(last - first);
  }

  friend bool operator==(const SmallVector& a, const SmallVector& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end());
  }

 private:
  void take(SmallVector& other) {
    size_ = other.size_;
    capacity_ = other.capacity_;
    heap_ = std::move(other.heap_);
    if (!heap_ && size_) std::memcpy(inline_, other.inline_, size_ * sizeof(T));
    other.size_ = 0;
    other.capacity_ = N;
  }

  T inline_[N];
  std::unique_ptr<T[]> heap_;
  size_t size_ = 0;
  size_t capacity_ = N;
};

}  // namespace flm

#endif

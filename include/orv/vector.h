#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "orv/abi_v1_allocator.h"

namespace orv::types {

// The interface vector: begin, end, end of storage and the allocator of the storage. Elements are
// moved one by one on growth (strings are not relocatable). Growth doubles the capacity; the first
// growth makes room for four elements.
template <class T, class Alloc = orv::abi_v1_allocator>
class vector_t {
 public:
  using value_type = T;
  using size_type = size_t;
  using iterator = T*;
  using const_iterator = const T*;

  vector_t() noexcept = default;
  explicit vector_t(IAllocator* allocator) noexcept : m_allocator(Alloc::Acquire(allocator)) {}
  // The filling constructors delegate, so that a throw runs the destructor: the elements made so
  // far, the storage and the allocator reference are given back.
  explicit vector_t(size_t count, IAllocator* allocator = nullptr) : vector_t(allocator) {
    if (count > max_size()) {
      throw std::length_error("construct");
    }
    resize(count);
  }
  vector_t(std::initializer_list<T> values, IAllocator* allocator = nullptr) : vector_t(allocator) {
    reserve(values.size());
    for (const T& value : values) {
      push_back(value);
    }
  }
  vector_t(const vector_t& other) : vector_t(other.m_allocator) {
    reserve(other.size());
    for (const T& value : other) {
      push_back(value);
    }
  }
  vector_t(vector_t&& other) noexcept
      : m_begin(std::exchange(other.m_begin, nullptr)),
        m_end(std::exchange(other.m_end, nullptr)),
        m_endOfStorage(std::exchange(other.m_endOfStorage, nullptr)),
        m_allocator(std::exchange(other.m_allocator, nullptr)) {}
  ~vector_t() {
    FreeStorage();
    Alloc::Drop(m_allocator);
  }

  // Assignment keeps this vector's allocator.
  vector_t& operator=(const vector_t& other) {
    if (this != &other) {
      clear();
      reserve(other.size());
      for (const T& value : other) {
        push_back(value);
      }
    }
    return *this;
  }
  // Exchanges storage and allocator.
  vector_t& operator=(vector_t&& other) noexcept {
    swap(other);
    return *this;
  }
  void swap(vector_t& other) noexcept {
    std::swap(m_begin, other.m_begin);
    std::swap(m_end, other.m_end);
    std::swap(m_endOfStorage, other.m_endOfStorage);
    std::swap(m_allocator, other.m_allocator);
  }

  // Room for at least `capacity` elements: the larger of that and twice the current capacity.
  void reserve(size_t capacity) {
    if (capacity <= this->capacity()) {
      return;
    }
    if (capacity > max_size()) {
      throw std::length_error("orv::vector_t::reserve()");
    }
    Reallocate(std::max(capacity, std::min(max_size(), this->capacity() * 2)));
  }

  template <class... Args>
  T& emplace_back(Args&&... args) {
    if (m_end == m_endOfStorage) {
      T value(std::forward<Args>(args)...);  // the arguments may refer into this vector
      Grow();
      new (m_end) T(std::move(value));
    } else {
      new (m_end) T(std::forward<Args>(args)...);
    }
    return *m_end++;
  }
  void push_back(const T& value) { emplace_back(value); }
  void push_back(T&& value) { emplace_back(std::move(value)); }
  void pop_back() noexcept { (--m_end)->~T(); }

  void resize(size_t size) {
    if (size > max_size()) {
      throw std::length_error("orv::vector_t::resize()");
    }
    while (this->size() > size) {
      pop_back();
    }
    reserve(size);
    while (this->size() < size) {
      new (m_end) T();
      ++m_end;
    }
  }
  void clear() noexcept {
    while (m_end != m_begin) {
      pop_back();
    }
  }
  iterator erase(const_iterator first, const_iterator last) {
    T* target = const_cast<T*>(first);
    T* source = const_cast<T*>(last);
    if (first != last) {
      T* newEnd = std::move(source, m_end, target);
      while (m_end != newEnd) {
        pop_back();
      }
    }
    return target;
  }
  iterator erase(const_iterator position) { return erase(position, position + 1); }
  iterator insert(const_iterator position, T value) {
    const size_t index = static_cast<size_t>(position - m_begin);
    emplace_back(std::move(value));
    std::rotate(m_begin + index, m_end - 1, m_end);
    return m_begin + index;
  }

  size_t size() const noexcept { return static_cast<size_t>(m_end - m_begin); }
  size_t capacity() const noexcept { return static_cast<size_t>(m_endOfStorage - m_begin); }
  static constexpr size_t max_size() noexcept { return SIZE_MAX / 2 / sizeof(T); }
  bool empty() const noexcept { return m_begin == m_end; }
  T* data() noexcept { return m_begin; }
  const T* data() const noexcept { return m_begin; }
  iterator begin() noexcept { return m_begin; }
  iterator end() noexcept { return m_end; }
  const_iterator begin() const noexcept { return m_begin; }
  const_iterator end() const noexcept { return m_end; }
  T& operator[](size_t index) noexcept { return m_begin[index]; }
  const T& operator[](size_t index) const noexcept { return m_begin[index]; }
  T& front() noexcept { return *m_begin; }
  T& back() noexcept { return m_end[-1]; }
  const T& front() const noexcept { return *m_begin; }
  const T& back() const noexcept { return m_end[-1]; }
  IAllocator* get_allocator() const noexcept { return m_allocator; }

  friend bool operator==(const vector_t& a, const vector_t& b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin());
  }
  friend bool operator!=(const vector_t& a, const vector_t& b) { return !(a == b); }

 private:
  void Grow() { Reallocate(capacity() == 0 ? 4 : capacity() * 2); }
  void Reallocate(size_t capacity) {
    T* storage = static_cast<T*>(Alloc::Allocate(m_allocator, capacity * sizeof(T)));
    T* target = storage;
    try {
      for (T* source = m_begin; source != m_end; ++source, ++target) {
        new (target) T(std::move_if_noexcept(*source));
      }
    } catch (...) {
      // A copying element failed: this vector stays as it was.
      while (target != storage) {
        (--target)->~T();
      }
      Alloc::Deallocate(m_allocator, storage);
      throw;
    }
    const size_t count = size();
    FreeStorage();
    m_begin = storage;
    m_end = storage + count;
    m_endOfStorage = storage + capacity;
  }
  void FreeStorage() noexcept {
    clear();
    Alloc::Deallocate(m_allocator, m_begin);
    m_begin = m_end = m_endOfStorage = nullptr;
  }

  T* m_begin = nullptr;
  T* m_end = nullptr;
  T* m_endOfStorage = nullptr;
  IAllocator* m_allocator = nullptr;
};

static_assert(sizeof(vector_t<int>) == 32);

}  // namespace orv::types

#pragma once

#include <new>
#include <type_traits>
#include <utility>

namespace orv {

// A value followed by its presence flag: the flag sits at byte sizeof(T).
template <class T>
class optional_t {
 public:
  optional_t() noexcept {}
  optional_t(const T& value) { emplace(value); }
  optional_t(const optional_t& other) {
    if (other.m_hasValue) {
      emplace(*other);
    }
  }
  optional_t(optional_t&& other) noexcept(std::is_nothrow_move_constructible_v<T>) {
    if (other.m_hasValue) {
      emplace(std::move(*other));
    }
  }
  ~optional_t() { reset(); }

  optional_t& operator=(const optional_t& other) {
    if (this != &other) {
      if (other.m_hasValue) {
        if (m_hasValue) {
          **this = *other;
        } else {
          emplace(*other);
        }
      } else {
        reset();
      }
    }
    return *this;
  }
  optional_t& operator=(optional_t&& other) noexcept(std::is_nothrow_move_assignable_v<T>) {
    if (this != &other) {
      if (other.m_hasValue) {
        if (m_hasValue) {
          **this = std::move(*other);
        } else {
          emplace(std::move(*other));
        }
      } else {
        reset();
      }
    }
    return *this;
  }

  template <class... Args>
  T& emplace(Args&&... args) {
    reset();
    new (&m_storage) T(std::forward<Args>(args)...);
    m_hasValue = true;
    return **this;
  }
  void reset() noexcept {
    if (m_hasValue) {
      (**this).~T();
      m_hasValue = false;
    }
  }

  bool has_value() const noexcept { return m_hasValue; }
  explicit operator bool() const noexcept { return m_hasValue; }
  T& operator*() noexcept { return *std::launder(reinterpret_cast<T*>(&m_storage)); }
  const T& operator*() const noexcept {
    return *std::launder(reinterpret_cast<const T*>(&m_storage));
  }
  T* operator->() noexcept { return &**this; }
  const T* operator->() const noexcept { return &**this; }

 private:
  std::aligned_storage_t<sizeof(T), alignof(T)> m_storage;
  bool m_hasValue = false;
};

}  // namespace orv

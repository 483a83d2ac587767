#pragma once

#include <utility>

namespace orv {

// Owning pointer to an interface: one reference while not null.
template <class T>
class intrusive_ptr {
 public:
  intrusive_ptr() noexcept = default;
  intrusive_ptr(std::nullptr_t) noexcept {}
  // Takes a new reference on `pointer`.
  explicit intrusive_ptr(T* pointer) noexcept : m_pointer(pointer) {
    if (m_pointer) {
      m_pointer->AddRef();
    }
  }
  intrusive_ptr(const intrusive_ptr& other) noexcept : intrusive_ptr(other.m_pointer) {}
  intrusive_ptr(intrusive_ptr&& other) noexcept
      : m_pointer(std::exchange(other.m_pointer, nullptr)) {}
  ~intrusive_ptr() { reset(); }

  intrusive_ptr& operator=(const intrusive_ptr& other) noexcept {
    intrusive_ptr(other).swap(*this);
    return *this;
  }
  intrusive_ptr& operator=(intrusive_ptr&& other) noexcept {
    intrusive_ptr(std::move(other)).swap(*this);
    return *this;
  }

  // Adopts a pointer that already carries one reference.
  static intrusive_ptr Attach(T* pointer) noexcept {
    intrusive_ptr result;
    result.m_pointer = pointer;
    return result;
  }
  // Gives up ownership without releasing.
  T* Detach() noexcept { return std::exchange(m_pointer, nullptr); }

  // Empties the pointer and gives its slot as an out parameter; what lands there is owned.
  T** Ref() noexcept {
    reset();
    return &m_pointer;
  }

  void reset() noexcept {
    if (T* old = std::exchange(m_pointer, nullptr)) {
      old->Release();
    }
  }
  void swap(intrusive_ptr& other) noexcept { std::swap(m_pointer, other.m_pointer); }

  T* get() const noexcept { return m_pointer; }
  T* operator->() const noexcept { return m_pointer; }
  T& operator*() const noexcept { return *m_pointer; }
  explicit operator bool() const noexcept { return m_pointer != nullptr; }

 private:
  T* m_pointer = nullptr;
};

}  // namespace orv

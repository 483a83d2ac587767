#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "orv/abi_v1_allocator.h"
#include "orv/char_traits.h"

namespace orv::types {

// The interface string: data, size, capacity (characters, terminator not counted), allocator and a
// 16-byte inline buffer. Short strings live inline (data == buffer). Always terminated. Not
// trivially relocatable: data may point into the object itself.
template <class CharT, class Traits = orv::char_traits<CharT>, class Alloc = orv::abi_v1_allocator>
class basic_string_t {
 public:
  using value_type = CharT;
  using size_type = size_t;
  using iterator = CharT*;
  using const_iterator = const CharT*;
  using view_type = std::basic_string_view<CharT>;
  static constexpr size_t kInlineCapacity = 16 / sizeof(CharT) - 1;

  basic_string_t() noexcept { SetInlineEmpty(); }
  explicit basic_string_t(IAllocator* allocator) noexcept {
    SetInlineEmpty();
    m_allocator = Alloc::Acquire(allocator);
  }
  basic_string_t(const CharT* text, IAllocator* allocator = nullptr)
      : basic_string_t(view_type(text), allocator) {}
  basic_string_t(const CharT* text, size_t length, IAllocator* allocator = nullptr)
      : basic_string_t(view_type(text, length), allocator) {}
  explicit basic_string_t(view_type text, IAllocator* allocator = nullptr)
      : basic_string_t(allocator) {
    append(text);
  }
  basic_string_t(const basic_string_t& other) : basic_string_t(other.view(), other.m_allocator) {}
  basic_string_t(basic_string_t&& other) noexcept { StealFrom(other); }
  ~basic_string_t() { FreeStorage(); }

  // Assignment keeps this string's allocator.
  basic_string_t& operator=(const basic_string_t& other) {
    if (this != &other) {
      assign(other.view());
    }
    return *this;
  }
  // Exchanges storage and allocator.
  basic_string_t& operator=(basic_string_t&& other) noexcept {
    if (this != &other) {
      swap(other);
    }
    return *this;
  }
  basic_string_t& operator=(view_type text) { return assign(text); }
  basic_string_t& operator=(const CharT* text) { return assign(view_type(text)); }

  void swap(basic_string_t& other) noexcept {
    basic_string_t temporary;
    temporary.StealFrom(*this);
    StealFrom(other);
    other.StealFrom(temporary);
  }

  basic_string_t& assign(view_type text) {
    // A view into this string is never longer than its capacity, so growing cannot alias it.
    if (text.size() > m_capacity) {
      clear();
      reserve_extra(text.size());
    }
    Traits::move(m_data, text.data(), text.size());
    SetSize(text.size());
    return *this;
  }
  basic_string_t& append(view_type text) {
    if (text.size() > m_capacity - m_size) {
      if (IsInside(text.data())) {
        basic_string_t copy(text);
        return append(copy.view());
      }
      reserve_extra(text.size());
    }
    Traits::copy(m_data + m_size, text.data(), text.size());
    SetSize(m_size + text.size());
    return *this;
  }
  basic_string_t& append(size_t count, CharT character) {
    reserve_extra(count);
    Traits::assign(m_data + m_size, count, character);
    SetSize(m_size + count);
    return *this;
  }
  basic_string_t& operator+=(view_type text) { return append(text); }
  basic_string_t& operator+=(CharT character) {
    push_back(character);
    return *this;
  }
  void push_back(CharT character) {
    reserve_extra(1);
    m_data[m_size] = character;
    SetSize(m_size + 1);
  }
  void resize(size_t size, CharT character = CharT()) {
    if (size > m_size) {
      append(size - m_size, character);
    } else {
      SetSize(size);
    }
  }
  void reserve(size_t capacity) {
    if (capacity > m_size) {
      reserve_extra(capacity - m_size);
    }
  }
  void clear() noexcept { SetSize(0); }

  // Makes room for `extra` more characters: the larger of twice the capacity and the new size.
  void reserve_extra(size_t extra) {
    if (extra <= m_capacity - m_size) {
      return;
    }
    constexpr size_t kMaxSize = SIZE_MAX / sizeof(CharT) / 2 - 1;
    if (extra > kMaxSize - m_size) {
      throw std::length_error("orv::basic_string_t::reserve_extra()");
    }
    const size_t capacity = std::max(m_capacity * 2, m_size + extra);
    auto* data = static_cast<CharT*>(Alloc::Allocate(m_allocator, (capacity + 1) * sizeof(CharT)));
    Traits::copy(data, m_data, m_size + 1);
    if (!IsInline()) {
      Alloc::Deallocate(m_allocator, m_data);
    }
    m_data = data;
    m_capacity = capacity;
  }

  size_t size() const noexcept { return m_size; }
  size_t length() const noexcept { return m_size; }
  size_t capacity() const noexcept { return m_capacity; }
  bool empty() const noexcept { return m_size == 0; }
  const CharT* data() const noexcept { return m_data; }
  CharT* data() noexcept { return m_data; }
  const CharT* c_str() const noexcept { return m_data; }
  CharT& operator[](size_t index) noexcept { return m_data[index]; }
  const CharT& operator[](size_t index) const noexcept { return m_data[index]; }
  iterator begin() noexcept { return m_data; }
  iterator end() noexcept { return m_data + m_size; }
  const_iterator begin() const noexcept { return m_data; }
  const_iterator end() const noexcept { return m_data + m_size; }
  view_type view() const noexcept { return view_type(m_data, m_size); }
  operator view_type() const noexcept { return view(); }
  IAllocator* get_allocator() const noexcept { return m_allocator; }
  bool IsInline() const noexcept { return m_data == m_buffer; }

  friend bool operator==(const basic_string_t& a, const basic_string_t& b) noexcept {
    return a.view() == b.view();
  }
  friend bool operator!=(const basic_string_t& a, const basic_string_t& b) noexcept {
    return !(a == b);
  }
  friend bool operator<(const basic_string_t& a, const basic_string_t& b) noexcept {
    return a.view() < b.view();
  }
  friend bool operator==(const basic_string_t& a, view_type b) noexcept { return a.view() == b; }
  friend bool operator!=(const basic_string_t& a, view_type b) noexcept { return a.view() != b; }

 private:
  void SetInlineEmpty() noexcept {
    m_data = m_buffer;
    m_size = 0;
    m_capacity = kInlineCapacity;
    m_allocator = nullptr;
    m_buffer[0] = CharT();
  }
  void SetSize(size_t size) noexcept {
    m_size = size;
    m_data[size] = CharT();
  }
  bool IsInside(const CharT* pointer) const noexcept {
    return std::less_equal<const CharT*>()(m_data, pointer) &&
           std::less<const CharT*>()(pointer, m_data + m_capacity + 1);
  }
  void FreeStorage() noexcept {
    if (!IsInline()) {
      Alloc::Deallocate(m_allocator, m_data);
    }
    Alloc::Drop(m_allocator);
    SetInlineEmpty();
  }
  // Takes storage and allocator from `other`, which this string must not own anything of yet;
  // leaves `other` empty, inline, without allocator.
  void StealFrom(basic_string_t& other) noexcept {
    m_allocator = other.m_allocator;
    m_size = other.m_size;
    if (other.IsInline()) {
      m_data = m_buffer;
      m_capacity = kInlineCapacity;
      Traits::copy(m_buffer, other.m_buffer, kInlineCapacity + 1);
    } else {
      m_data = other.m_data;
      m_capacity = other.m_capacity;
    }
    other.SetInlineEmpty();
  }

  CharT* m_data;
  size_t m_size;
  size_t m_capacity;
  IAllocator* m_allocator;
  CharT m_buffer[16 / sizeof(CharT)];
};

using string8_t = basic_string_t<char, orv::char_traits<char>, orv::abi_v1_allocator>;
using string16_t = basic_string_t<char16_t, orv::char_traits<char16_t>, orv::abi_v1_allocator>;

static_assert(sizeof(string8_t) == 48 && alignof(string8_t) == 8);
static_assert(sizeof(string16_t) == 48);

}  // namespace orv::types

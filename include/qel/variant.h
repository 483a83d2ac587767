#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "orv/string.h"
#include "orv/vector.h"

namespace qel {

// The value of an event field: a 32-bit tag and a 48-byte payload whose type the tag chooses.
// Strings and arrays own their storage under the containers' allocator rules; a moved-from variant
// is empty. A tag this system does not know is carried as its raw payload bytes.
class Variant {
 public:
  enum Tag : uint32_t {
    kEmpty = 0,
    kBool = 2,
    kInt32 = 5,
    kInt64 = 6,
    kUInt32 = 9,
    kUInt64 = 10,
    kDate = 12,  // 100-nanosecond ticks since 1 January 1601 UTC
    kString8 = 14,
    kString16 = 15,
  };
  // Set on a scalar tag: a vector_t of that tag's payload type.
  static constexpr uint32_t kArrayBit = 0x4000;

  Variant() noexcept { std::memset(&m_payload, 0, sizeof(m_payload)); }
  Variant(const Variant& other);
  Variant(Variant&& other) noexcept;
  Variant& operator=(const Variant& other);
  Variant& operator=(Variant&& other) noexcept;
  ~Variant() { Reset(); }

  static Variant Bool(bool value) { return Scalar(kBool, value); }
  static Variant Int32(int32_t value) { return Scalar(kInt32, value); }
  static Variant Int64(int64_t value) { return Scalar(kInt64, value); }
  static Variant UInt32(uint32_t value) { return Scalar(kUInt32, value); }
  static Variant UInt64(uint64_t value) { return Scalar(kUInt64, value); }
  static Variant Date(uint64_t ticks) { return Scalar(kDate, ticks); }
  static Variant String8(orv::types::string8_t value);
  static Variant String16(orv::types::string16_t value);
  // An array form: `tag` with kArrayBit set, elements of the scalar's payload type.
  template <class E>
  static Variant Array(uint32_t tag, orv::types::vector_t<E> values) {
    Variant variant;
    new (&variant.m_payload) orv::types::vector_t<E>(std::move(values));
    variant.m_tag = tag | kArrayBit;
    return variant;
  }
  // A tag of no known type with its raw payload, as another component may send it.
  static Variant Raw(uint32_t tag, const void* payload, size_t size);

  uint32_t tag() const noexcept { return m_tag; }
  bool empty() const noexcept { return m_tag == kEmpty; }
  // The payload as T; the caller has checked the tag.
  template <class T>
  const T& As() const noexcept {
    return *std::launder(reinterpret_cast<const T*>(&m_payload));
  }
  // Destroys the payload by its tag and leaves the variant empty.
  void Reset() noexcept;

 private:
  template <class T>
  static Variant Scalar(uint32_t tag, T value) {
    Variant variant;
    std::memcpy(&variant.m_payload, &value, sizeof(value));
    variant.m_tag = tag;
    return variant;
  }
  // Constructs this (empty) variant's payload as a deep copy of `other`'s.
  void CopyFrom(const Variant& other);
  // Takes `other`'s payload; `other` is left empty.
  void StealFrom(Variant& other) noexcept;

  uint32_t m_tag = kEmpty;
  uint32_t m_padding = 0;
  std::aligned_storage_t<48, 8> m_payload;
};

static_assert(sizeof(Variant) == 56 && alignof(Variant) == 8);

}  // namespace qel

#include "qel/variant.h"

#include <algorithm>
#include <new>

namespace qel {
namespace {

using orv::types::string16_t;
using orv::types::string8_t;
using orv::types::vector_t;

template <class T>
struct TypeTag {
  using type = T;
};

// Calls `visit(TypeTag<T>)` with the payload type of a tag that owns memory; returns false for the
// tags whose payload is plain bytes (scalars, empty and unknown tags).
template <class F>
bool VisitOwningType(uint32_t tag, F&& visit) {
  switch (tag) {
    case Variant::kString8:
      visit(TypeTag<string8_t>());
      return true;
    case Variant::kString16:
      visit(TypeTag<string16_t>());
      return true;
    case Variant::kArrayBit | Variant::kBool:
      visit(TypeTag<vector_t<bool>>());
      return true;
    case Variant::kArrayBit | Variant::kInt32:
      visit(TypeTag<vector_t<int32_t>>());
      return true;
    case Variant::kArrayBit | Variant::kInt64:
      visit(TypeTag<vector_t<int64_t>>());
      return true;
    case Variant::kArrayBit | Variant::kUInt32:
      visit(TypeTag<vector_t<uint32_t>>());
      return true;
    case Variant::kArrayBit | Variant::kUInt64:
    case Variant::kArrayBit | Variant::kDate:
      visit(TypeTag<vector_t<uint64_t>>());
      return true;
    case Variant::kArrayBit | Variant::kString8:
      visit(TypeTag<vector_t<string8_t>>());
      return true;
    case Variant::kArrayBit | Variant::kString16:
      visit(TypeTag<vector_t<string16_t>>());
      return true;
    default:
      return false;
  }
}

}  // namespace

Variant::Variant(const Variant& other) : Variant() { CopyFrom(other); }

Variant::Variant(Variant&& other) noexcept : Variant() { StealFrom(other); }

Variant& Variant::operator=(const Variant& other) {
  if (this != &other) {
    Variant copy(other);
    Reset();
    StealFrom(copy);
  }
  return *this;
}

Variant& Variant::operator=(Variant&& other) noexcept {
  if (this != &other) {
    Reset();
    StealFrom(other);
  }
  return *this;
}

Variant Variant::String8(string8_t value) {
  Variant variant;
  new (&variant.m_payload) string8_t(std::move(value));
  variant.m_tag = kString8;
  return variant;
}

Variant Variant::String16(string16_t value) {
  Variant variant;
  new (&variant.m_payload) string16_t(std::move(value));
  variant.m_tag = kString16;
  return variant;
}

Variant Variant::Raw(uint32_t tag, const void* payload, size_t size) {
  Variant variant;
  std::memcpy(&variant.m_payload, payload, std::min(size, sizeof(variant.m_payload)));
  variant.m_tag = tag;
  return variant;
}

void Variant::Reset() noexcept {
  VisitOwningType(m_tag, [this](auto type) {
    using T = typename decltype(type)::type;
    std::launder(reinterpret_cast<T*>(&m_payload))->~T();
  });
  m_tag = kEmpty;
  std::memset(&m_payload, 0, sizeof(m_payload));
}

void Variant::CopyFrom(const Variant& other) {
  const bool owning = VisitOwningType(other.m_tag, [this, &other](auto type) {
    using T = typename decltype(type)::type;
    new (&m_payload) T(other.As<T>());
  });
  if (!owning) {
    std::memcpy(&m_payload, &other.m_payload, sizeof(m_payload));
  }
  m_tag = other.m_tag;
}

void Variant::StealFrom(Variant& other) noexcept {
  const bool owning = VisitOwningType(other.m_tag, [this, &other](auto type) {
    using T = typename decltype(type)::type;
    new (&m_payload) T(std::move(*std::launder(reinterpret_cast<T*>(&other.m_payload))));
  });
  if (!owning) {
    std::memcpy(&m_payload, &other.m_payload, sizeof(m_payload));
  }
  m_tag = other.m_tag;
  other.Reset();
}

}  // namespace qel

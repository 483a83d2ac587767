#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

#include "orv/object.h"

namespace orv {

// Generic operations of a described record. Not an IObject: its slots start at 0.
class SerObjDescriptorHelper {
 public:
  // Slot 0: a copy of `source`, or the default value when it is null.
  virtual void ConstructInPlace(void* memory, const void* source) const = 0;
  // Slot 1: memory from `allocator` (null if it gives none), then as slot 0.
  virtual void* AllocateAndConstruct(const void* source, IAllocator* allocator) const = 0;
  // Slot 2: destroys in place; the memory stays.
  virtual void Destroy(void* object) const = 0;
  // Slot 3: assigns source to target.
  virtual void Copy(const void* source, void* target) const = 0;
  // Slot 4: moves source into target; true.
  virtual bool Move(void* source, void* target) const = 0;

 protected:
  ~SerObjDescriptorHelper() = default;
};

template <class T>
class SerObjDescriptorImpl final : public SerObjDescriptorHelper {
 public:
  void ConstructInPlace(void* memory, const void* source) const override {
    if (source) {
      new (memory) T(*static_cast<const T*>(source));
    } else {
      new (memory) T();
    }
  }
  void* AllocateAndConstruct(const void* source, IAllocator* allocator) const override {
    void* memory = allocator->Alloc(sizeof(T));
    if (!memory) {
      return nullptr;
    }
    try {
      ConstructInPlace(memory, source);
    } catch (...) {
      allocator->Free(memory);
      throw;
    }
    return memory;
  }
  void Destroy(void* object) const override { static_cast<T*>(object)->~T(); }
  void Copy(const void* source, void* target) const override {
    *static_cast<T*>(target) = *static_cast<const T*>(source);
  }
  bool Move(void* source, void* target) const override {
    *static_cast<T*>(target) = std::move(*static_cast<T*>(source));
    return true;
  }

  static const SerObjDescriptorImpl& Instance() noexcept {
    static const SerObjDescriptorImpl instance;
    return instance;
  }
};

namespace field_kind {
constexpr uint32_t kNumber32 = 18;  // a 32-bit number or enumeration
constexpr uint32_t kBool8 = 38;     // a boolean in 8 bits
constexpr uint32_t kVariant = 40;   // the event field variant
}  // namespace field_kind

// One field of a described record; a table ends with a null name and marker 0xffffffff.
struct FieldDescriptor {
  uint32_t kind;
  const char* name;
  uint32_t marker;
  uint32_t offset;
  uint64_t size;
  const void* nested;
};

// The description of one record, by serial identifier.
struct TypeDescriptor {
  uint32_t id;
  const char* name;
  uint64_t size;
  const FieldDescriptor* fields;
  SerObjDescriptorHelper* const* helper;
};

constexpr FieldDescriptor kEndOfFields = {0, nullptr, 0xffffffff, 0, 0, nullptr};

static_assert(sizeof(FieldDescriptor) == 40 && offsetof(FieldDescriptor, offset) == 20);
static_assert(sizeof(TypeDescriptor) == 40 && offsetof(TypeDescriptor, helper) == 32);

}  // namespace orv

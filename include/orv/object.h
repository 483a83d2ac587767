#pragma once

#include <cstdint>

#include "orv/result.h"

namespace orv {

// Root of every interface. Slots 0..2; an interface's own operations start at slot 3.
struct IObject {
  static constexpr uint32_t kIid = 0;
  // Slot 0: adds a reference, returns the new count.
  virtual uint32_t AddRef() = 0;
  // Slot 1: drops a reference, returns the new count; 0 means the object is gone.
  virtual uint32_t Release() = 0;
  // Slot 2: 0 and one reference in *object, or 0x80000001 with *object null. Id 0: first interface.
  virtual result_t QueryInterface(uint32_t iid, void** object) = 0;

 protected:
  ~IObject() = default;
};

// The host's service locator, handed in at construction; never asked for by id.
struct IServiceLocator : IObject {
  // Slot 3: one reference in *object on success; null and a negative code otherwise.
  virtual result_t GetService(uint32_t iid, uint32_t serviceKey, void** object) = 0;

 protected:
  ~IServiceLocator() = default;
};

// The host's memory service.
struct IAllocator : IObject {
  static constexpr uint32_t kIid = 0x9cca5603;
  // Slot 3: 16-byte aligned memory, or null.
  virtual void* Alloc(size_t size) = 0;
  // Slot 4: as realloc; the module never calls it.
  virtual void* Realloc(void* pointer, size_t size) = 0;
  // Slot 5: frees what Alloc gave; null does nothing.
  virtual void Free(void* pointer) = 0;

 protected:
  ~IAllocator() = default;
};

// A class factory, given out by orvGetObjectFactory.
struct IObjectFactory : IObject {
  static constexpr uint32_t kIid = 0x80077a33;
  // Slot 3: creates an instance and stores its interface iid with one reference in *object.
  virtual result_t CreateInstance(IServiceLocator* locator, uint32_t iid, void** object) = 0;

 protected:
  ~IObjectFactory() = default;
};

}  // namespace orv

#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <utility>

#include "orv/intrusive_ptr.h"
#include "orv/module_lock.h"
#include "orv/object.h"

namespace orv {

// Memory of the inner objects of the module, which the host never sees: plain malloc and free.
struct malloc_free_memory_resource {
  static void* allocate(size_t size) noexcept { return std::malloc(size); }
  static void deallocate(void* memory) noexcept { std::free(memory); }
};

// An allocator without state over a memory resource; a null allocation is std::bad_alloc.
template <class Resource>
struct stateless_allocator {
  static void* Allocate(size_t size) {
    void* memory = Resource::allocate(size);
    if (memory == nullptr) {
      throw std::bad_alloc();
    }
    return memory;
  }
  static void Deallocate(void* memory) noexcept { Resource::deallocate(memory); }
};

// The allocation policy of the inner objects: stateless_allocator<malloc_free_memory_resource>.
struct abi_v2_allocator {
  using allocator = stateless_allocator<malloc_free_memory_resource>;
};

namespace object {
// The interfaces a class of the inner shell implements, first one first (identifier 0 gives it).
template <class First, class... Rest>
class Ifaces : public First, public Rest... {
 public:
  template <class Self>
  static void* Find(Self* self, uint32_t iid) noexcept {
    struct Entry {
      uint32_t iid;
      ptrdiff_t offset;
    };
    // Identifier 0 first, then every interface in order, each with its offset in the object.
    const char* base = reinterpret_cast<const char*>(self);
    const Entry table[] = {
        {0, reinterpret_cast<const char*>(static_cast<First*>(self)) - base},
        {First::kIid, reinterpret_cast<const char*>(static_cast<First*>(self)) - base},
        {Rest::kIid, reinterpret_cast<const char*>(static_cast<Rest*>(self)) - base}...};
    for (const Entry& entry : table) {
      if (entry.iid == iid) {
        return reinterpret_cast<char*>(self) + entry.offset;
      }
    }
    return nullptr;
  }

 protected:
  ~Ifaces() = default;
};
}  // namespace object

namespace detail {

// Adds with relaxed order; subtracts with acquire-release order, so every write of other owners is
// seen by the destructor. (A release subtraction with an acquire fence at zero would do the same,
// but ThreadSanitizer does not follow fences and reports the destruction as a race.)
class RefCounter {
 public:
  uint32_t Increment() noexcept { return m_count.fetch_add(1, std::memory_order_relaxed) + 1; }
  // The new count; at 0 the caller destroys.
  uint32_t Decrement() noexcept { return m_count.fetch_sub(1, std::memory_order_acq_rel) - 1; }
  void Set(uint32_t count) noexcept { m_count.store(count, std::memory_order_relaxed); }

 private:
  std::atomic<uint32_t> m_count{0};
};

// Each live object holds one count of the module.
struct ObjectLifetimeBase {};

template <class C, class Allocation, class Lifetime>
class ObjectImpl;

// The shell of an inner object: memory from malloc, one module count from allocation to free, and
// QueryInterface over C's Ifaces table. C's constructor arguments are passed through Create.
template <class C>
class ObjectImpl<C, abi_v2_allocator, ObjectLifetimeBase> final : public C {
  using Memory = abi_v2_allocator::allocator;

 public:
  // A new object with one reference for the caller. A throwing constructor gives the count and the
  // memory back and lets the exception go.
  template <class... Args>
  static intrusive_ptr<ObjectImpl> Create(Args&&... args) {
    void* memory = Memory::Allocate(sizeof(ObjectImpl));
    ModuleLock();
    ObjectImpl* object = nullptr;
    try {
      object = new (memory) ObjectImpl(std::forward<Args>(args)...);
    } catch (...) {
      ModuleUnlock();
      Memory::Deallocate(memory);
      throw;
    }
    object->m_references.Set(1);
    return intrusive_ptr<ObjectImpl>::Attach(object);
  }

  uint32_t AddRef() noexcept override { return m_references.Increment(); }
  uint32_t Release() noexcept override {
    const uint32_t count = m_references.Decrement();
    if (count == 0) {
      this->~ObjectImpl();
      ModuleUnlock();
      Memory::Deallocate(this);
    }
    return count;
  }
  result_t QueryInterface(uint32_t iid, void** object) noexcept override {
    *object = C::Find(this, iid);
    if (*object == nullptr) {
      return errors::kNoInterface;
    }
    AddRef();
    return errors::kOk;
  }

 private:
  template <class... Args>
  explicit ObjectImpl(Args&&... args) : C(std::forward<Args>(args)...) {}
  ~ObjectImpl() = default;

  RefCounter m_references;
};

}  // namespace detail
}  // namespace orv

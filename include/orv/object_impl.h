#pragma once

#include <atomic>
#include <cstdint>
#include <new>
#include <type_traits>
#include <utility>

#include "orv/intrusive_ptr.h"
#include "orv/module_lock.h"
#include "orv/object.h"
#include "orv/object_root.h"
#include "orv/report_exception.h"
#include "orv/service.h"

namespace orv {

// Opens the trace line of an exception thrown while an object or a factory is made; the
// exception's own text follows. A fixed line, byte for byte: do not reword it.
constexpr const char* kObjectConstructionFailedText = "Exception during object construction: ";

// The interfaces a class answers for, first one first (identifier 0 gives it).
template <class First, class... Rest>
struct InterfaceList {
  // The object's address adjusted to the interface, or null.
  template <class Self>
  static void* Find(Self* self, uint32_t iid) noexcept {
    if (iid == 0 || iid == First::kIid) {
      return static_cast<First*>(self);
    }
    void* found = nullptr;
    ((found == nullptr && iid == Rest::kIid ? (found = static_cast<Rest*>(self)) : nullptr), ...);
    return found;
  }
};

namespace detail {
template <class C, class = void>
struct HasFinalConstruct : std::false_type {};
template <class C>
struct HasFinalConstruct<C, std::void_t<decltype(std::declval<C&>().FinalConstruct())>>
    : std::true_type {};
template <class C, class = void>
struct HasFinalRelease : std::false_type {};
template <class C>
struct HasFinalRelease<C, std::void_t<decltype(std::declval<C&>().FinalRelease())>>
    : std::true_type {};
}  // namespace detail

struct LocatorObjectFactory {};
struct SimpleObjectFactory {};

template <class C, class Factory>
class Object;

// The shell of a service object: memory from the host's allocator, an atomic count, and the
// interfaces of C::Interfaces. C's constructor takes the locator.
template <class C>
class Object<C, LocatorObjectFactory> final : public C {
 public:
  // Never lets an exception out: constructor and FinalConstruct failures both become codes through
  // ReportCurrentException with the tracer of `locator`.
  static result_t CreateInstance(IServiceLocator* locator, uint32_t iid, void** object) noexcept {
    intrusive_ptr<IAllocator> allocator;
    const result_t got = GetInterface(locator, allocator.Ref());
    if (ORV_FAILED(got)) {
      return got;
    }
    if (!allocator) {
      return errors::kNoInterface;
    }
    try {
      void* memory = nullptr;
      try {
        memory = allocator->Alloc(sizeof(Object));
      } catch (...) {
        throw std::bad_alloc();
      }
      if (!memory) {
        throw std::bad_alloc();
      }
      ModuleLock();
      Object* instance = nullptr;
      try {
        instance = new (memory) Object(locator);
      } catch (...) {
        ModuleUnlock();
        allocator->Free(memory);
        throw;
      }
      instance->m_memory = allocator.Detach();
      // The construction reference; released on every way out, FinalConstruct's exceptions too.
      auto constructed = intrusive_ptr<Object>::Attach(instance);
      if constexpr (detail::HasFinalConstruct<C>::value) {
        const result_t result = instance->FinalConstruct();
        if (ORV_FAILED(result)) {
          return result;
        }
      }
      return instance->QueryInterface(iid, object);
    } catch (...) {
      intrusive_ptr<ITracer> tracer;
      GetInterface(locator, tracer.Ref());
      return ReportCurrentException(tracer.get(), kObjectConstructionFailedText);
    }
  }

  uint32_t AddRef() noexcept override { return m_references.fetch_add(1) + 1; }

  // FinalRelease while every member is valid, destructors, the module count, then the memory
  // through the allocator it came from. Anything thrown here ends the process.
  uint32_t Release() noexcept override {
    const uint32_t old = m_references.fetch_sub(1);
    if (old != 1) {
      return old - 1;
    }
    IAllocator* memory = m_memory;
    if constexpr (detail::HasFinalRelease<C>::value) {
      this->FinalRelease();
    }
    this->~Object();
    ModuleUnlock();
    memory->Free(this);
    memory->Release();
    return 0;
  }

  result_t QueryInterface(uint32_t iid, void** object) noexcept override {
    *object = C::Interfaces::Find(this, iid);
    if (!*object) {
      return errors::kNoInterface;
    }
    AddRef();
    return 0;
  }

 private:
  explicit Object(IServiceLocator* locator) : C(locator) {}
  ~Object() = default;

  std::atomic<uint32_t> m_references{1};
  IAllocator* m_memory = nullptr;  // one reference; the allocator this object's memory came from
};

// A class factory: its memory comes from operator new, before any allocator is known.
template <class C, class O>
class GenericObjectFactory : public ObjectRootEx<NoServiceStrategy>, public IObjectFactory {
 public:
  result_t CreateInstance(IServiceLocator* locator, uint32_t iid, void** object) override {
    return O::CreateInstance(locator, iid, object);
  }

 protected:
  ~GenericObjectFactory() = default;
};

template <class F>
class Object<F, SimpleObjectFactory> final : public ObjectModuleAutoLockTyped<F>, public F {
 public:
  // A new factory with one reference for the caller.
  static IObjectFactory* Create() {
    auto* factory = new Object();
    ModuleLock();
    return factory;
  }

  uint32_t AddRef() noexcept override { return m_references.fetch_add(1) + 1; }
  uint32_t Release() noexcept override {
    const uint32_t old = m_references.fetch_sub(1);
    if (old != 1) {
      return old - 1;
    }
    delete this;
    ModuleUnlock();
    return 0;
  }
  result_t QueryInterface(uint32_t iid, void** object) noexcept override {
    if (iid != 0 && iid != IObjectFactory::kIid) {
      *object = nullptr;
      return errors::kNoInterface;
    }
    *object = static_cast<IObjectFactory*>(this);
    AddRef();
    return 0;
  }

 private:
  Object() = default;
  ~Object() = default;

  std::atomic<uint32_t> m_references{1};
};

template <class C>
using FactoryFor =
    Object<GenericObjectFactory<C, Object<C, LocatorObjectFactory>>, SimpleObjectFactory>;

}  // namespace orv

#pragma once

#include <atomic>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "orv/intrusive_ptr.h"
#include "orv/object.h"

namespace host {
namespace detail {

// Whether `iid` names Interface; an interface without an identifier (the engine's connection
// objects) is only ever asked for as 0.
template <class Interface, class = void>
struct Identified {
  static bool Is(uint32_t) { return false; }
};
template <class Interface>
struct Identified<Interface, std::void_t<decltype(Interface::kIid)>> {
  static bool Is(uint32_t iid) { return iid == Interface::kIid; }
};

}  // namespace detail

// The shell of a host service or of an engine double: an atomic count, `delete this` at zero, and
// QueryInterface over the listed interfaces (identifier 0 gives the first).
template <class First, class... Rest>
class HostObject : public First, public Rest... {
 public:
  HostObject(const HostObject&) = delete;
  HostObject& operator=(const HostObject&) = delete;

  uint32_t AddRef() override { return m_references.fetch_add(1) + 1; }
  uint32_t Release() override {
    const uint32_t count = m_references.fetch_sub(1) - 1;
    if (count == 0) {
      delete this;
    }
    return count;
  }
  result_t QueryInterface(uint32_t iid, void** object) override {
    void* found = nullptr;
    if (iid == 0 || detail::Identified<First>::Is(iid)) {
      found = static_cast<First*>(this);
    }
    ((found == nullptr && detail::Identified<Rest>::Is(iid) ? (found = static_cast<Rest*>(this))
                                                            : nullptr),
     ...);
    *object = found;
    if (!found) {
      return orv::errors::kNoInterface;
    }
    AddRef();
    return 0;
  }
  uint32_t references() const noexcept { return m_references.load(); }

 protected:
  HostObject() = default;
  virtual ~HostObject() = default;

 private:
  std::atomic<uint32_t> m_references{1};
};

// A new host object with one reference, owned by the returned pointer.
template <class T, class... Args>
orv::intrusive_ptr<T> MakeObject(Args&&... args) {
  return orv::intrusive_ptr<T>::Attach(new T(std::forward<Args>(args)...));
}

}  // namespace host

#pragma once

#include <cstdint>
#include <map>
#include <mutex>

#include "host/host_object.h"
#include "orv/intrusive_ptr.h"
#include "orv/object.h"

namespace host {

// The locator handed to the module: services by interface identifier (service key 0 only).
// A missing service answers 0x8000004c with a null pointer. Thread-safe.
class ServiceLocator final : public HostObject<orv::IServiceLocator> {
 public:
  ServiceLocator() = default;

  // Registers `service` (queried for I) under I::kIid, replacing an earlier one.
  template <class I>
  void Add(I* service) {
    Register(I::kIid, service);
  }
  // Registers the object's interface `iid`; the locator keeps one reference.
  void Register(uint32_t iid, orv::IObject* service);
  void Remove(uint32_t iid);

  // orv::IServiceLocator
  result_t GetService(uint32_t iid, uint32_t serviceKey, void** object) override;

  // How often GetService was asked for `iid`.
  uint64_t Requests(uint32_t iid) const;

 private:
  mutable std::mutex m_mutex;  // guards both maps
  std::map<uint32_t, orv::intrusive_ptr<orv::IObject>> m_services;
  std::map<uint32_t, uint64_t> m_requests;
};

}  // namespace host

#include "host/service_locator.h"

#include <stdexcept>
#include <string>
#include <utility>

namespace host {

void ServiceLocator::Register(uint32_t iid, orv::IObject* service) {
  if (!service) {
    Remove(iid);
    return;
  }
  // The pointer the module gets must be the interface `iid` itself, not the object's first base.
  void* found = nullptr;
  if (ORV_FAILED(service->QueryInterface(iid, &found)) || !found) {
    throw std::invalid_argument("service does not implement interface " + std::to_string(iid));
  }
  // Every interface derives from IObject by single inheritance, so its IObject base sits at the
  // interface's own address.
  auto reference = orv::intrusive_ptr<orv::IObject>::Attach(static_cast<orv::IObject*>(found));
  const std::lock_guard lock(m_mutex);
  m_services[iid].swap(reference);
  // `reference` holds the replaced service and releases it after the lock.
}

void ServiceLocator::Remove(uint32_t iid) {
  orv::intrusive_ptr<orv::IObject> removed;
  const std::lock_guard lock(m_mutex);
  const auto found = m_services.find(iid);
  if (found != m_services.end()) {
    removed.swap(found->second);
    m_services.erase(found);
  }
}

result_t ServiceLocator::GetService(uint32_t iid, uint32_t serviceKey, void** object) {
  if (!object) {
    return orv::errors::kInvalidArgument;
  }
  *object = nullptr;
  orv::intrusive_ptr<orv::IObject> service;
  {
    const std::lock_guard lock(m_mutex);
    ++m_requests[iid];
    const auto found = m_services.find(iid);
    if (serviceKey != 0 || found == m_services.end()) {
      return orv::errors::kNotFound;
    }
    service = found->second;
  }
  *object = service.Detach();
  return orv::errors::kOk;
}

uint64_t ServiceLocator::Requests(uint32_t iid) const {
  const std::lock_guard lock(m_mutex);
  const auto found = m_requests.find(iid);
  return found == m_requests.end() ? 0 : found->second;
}

}  // namespace host

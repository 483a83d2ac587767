#pragma once

#include <cstdint>

#include "orv/exception.h"
#include "orv/intrusive_ptr.h"
#include "orv/object.h"

namespace orv {

// locator->GetService(iid of T, 0, slot): one reference lands in *slot on success.
template <class T>
result_t GetInterface(IServiceLocator* locator, T** slot) {
  *slot = nullptr;
  if (!locator) {
    return errors::kInvalidArgument;
  }
  return locator->GetService(T::kIid, 0, reinterpret_cast<void**>(slot));
}

// The throwing form for required members: orv::GetInterfaceException("Can't get interface", iid,
// key 0, result) when the service cannot be had.
template <class T>
intrusive_ptr<T> GetRequiredInterface(IServiceLocator* locator) {
  intrusive_ptr<T> service;
  const result_t result = GetInterface(locator, service.Ref());
  if (ORV_FAILED(result) || !service) {
    throw GetInterfaceException(__FILE__, __LINE__, "Can't get interface", T::kIid, 0,
                                ORV_FAILED(result) ? result : errors::kNoInterface);
  }
  return service;
}

}  // namespace orv

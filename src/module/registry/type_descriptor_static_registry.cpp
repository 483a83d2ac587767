#include "type_descriptor_static_registry.h"

#include <new>

#include "settings_descriptors.h"

namespace qel::tcp_traffic_interceptor::MetaInfoDescriptorsNamespace {

TypeDescriptorStaticRegistry::TypeDescriptorStaticRegistry(orv::IServiceLocator* locator)
    : ObjectRootEx(locator) {}

result_t TypeDescriptorStaticRegistry::GetTypeIds(orv::types::vector_t<uint32_t>& ids) {
  try {
    ids.reserve(ids.size() + 1);
    ids.push_back(InvalidCertificateHandlerSettingsDescriptor().id);
    return orv::errors::kOk;
  } catch (const std::bad_alloc&) {
    return orv::errors::kOutOfMemory;
  }
}

result_t TypeDescriptorStaticRegistry::GetDescriptor(uint32_t id,
                                                     const orv::TypeDescriptor** descriptor) {
  const orv::TypeDescriptor& settings = InvalidCertificateHandlerSettingsDescriptor();
  if (id != settings.id) {
    return orv::errors::kNotFound;
  }
  *descriptor = &settings;
  return orv::errors::kOk;
}

result_t TypeDescriptorStaticRegistry::Reserved4() { return orv::errors::kNotImplemented; }
result_t TypeDescriptorStaticRegistry::Reserved5() { return orv::errors::kNotImplemented; }
result_t TypeDescriptorStaticRegistry::Reserved6() { return orv::errors::kNotImplemented; }

}  // namespace qel::tcp_traffic_interceptor::MetaInfoDescriptorsNamespace

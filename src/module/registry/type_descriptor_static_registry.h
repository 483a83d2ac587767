#pragma once

#include <cstdint>

#include "orv/meta_info.h"
#include "orv/object_impl.h"
#include "orv/object_root.h"

namespace qel::tcp_traffic_interceptor::MetaInfoDescriptorsNamespace {

// Hands out the descriptions of the module's settings records by serial identifier. Holds the
// allocator and nothing else: what it serves is static, so every operation is safe from any thread.
class TypeDescriptorStaticRegistry
    : public orv::IStructMetaInfoRegistry,
      public orv::IMetaInfoProvider,
      public orv::ObjectRootEx<orv::ServiceStrategyAdapter<orv::AllocatorProvider>> {
 public:
  using Interfaces = orv::InterfaceList<orv::IStructMetaInfoRegistry, orv::IMetaInfoProvider>;

  explicit TypeDescriptorStaticRegistry(orv::IServiceLocator* locator);
  TypeDescriptorStaticRegistry(const TypeDescriptorStaticRegistry&) = delete;
  TypeDescriptorStaticRegistry& operator=(const TypeDescriptorStaticRegistry&) = delete;

  // orv::IStructMetaInfoRegistry
  result_t GetTypeIds(orv::types::vector_t<uint32_t>& ids) override;
  // Also orv::IMetaInfoProvider slot 3.
  result_t GetDescriptor(uint32_t id, const orv::TypeDescriptor** descriptor) override;
  // Reserved slots of both interfaces.
  result_t Reserved5() override;
  result_t Reserved6() override;
  // orv::IMetaInfoProvider
  result_t Reserved4() override;

 protected:
  ~TypeDescriptorStaticRegistry() = default;
};

}  // namespace qel::tcp_traffic_interceptor::MetaInfoDescriptorsNamespace

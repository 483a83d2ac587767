#include <cstdint>
#include <exception>

#include "cert_manager/certificate_manager.h"
#include "invalid_certificate_handler.h"
#include "network_ports.h"
#include "orv/intrusive_ptr.h"
#include "orv/module_lock.h"
#include "orv/object_impl.h"
#include "orv/report_exception.h"
#include "orv/service.h"
#include "qel/tcp_traffic_interceptor/class_ids.h"
#include "registry/type_descriptor_static_registry.h"
#include "tcp_interceptor_configurator.h"

namespace {

namespace tti = qel::tcp_traffic_interceptor;

// A new factory for a class this module serves, or null for an unknown class.
orv::IObjectFactory* CreateFactory(uint32_t classId) {
  switch (classId) {
    case tti::CLSID_TypeDescriptorStaticRegistry:
      return orv::FactoryFor<
          tti::MetaInfoDescriptorsNamespace::TypeDescriptorStaticRegistry>::Create();
    case tti::CLSID_InvalidCertificateHandler:
      return orv::FactoryFor<tti::InvalidCertificateHandler>::Create();
    case tti::CLSID_CertificateManager:
      return orv::FactoryFor<tti::CertificateManager>::Create();
    case tti::CLSID_NetworkPorts:
      return orv::FactoryFor<tti::NetworkPorts>::Create();
    case tti::CLSID_TcpInterceptorConfigurator:
      return orv::FactoryFor<tti::TcpInterceptorConfigurator>::Create();
    default:
      return nullptr;
  }
}

}  // namespace

extern "C" __attribute__((visibility("default"))) result_t orvGetObjectFactory(
    orv::IServiceLocator* locator, uint32_t classId, orv::IObjectFactory** factory) {
  if (!factory) {
    return orv::errors::kInvalidArgument;
  }
  try {
    if (orv::IObjectFactory* created = CreateFactory(classId)) {
      *factory = created;
      return orv::errors::kOk;
    }
  } catch (...) {
    orv::intrusive_ptr<orv::ITracer> tracer;
    orv::GetInterface(locator, tracer.Ref());
    return orv::ReportCurrentException(tracer.get(), orv::kObjectConstructionFailedText);
  }
  if (classId == tti::CLSID_Reserved) {
    std::terminate();
  }
  *factory = nullptr;
  return orv::errors::kNotImplemented;
}

extern "C" __attribute__((visibility("default"))) result_t orvCanUnloadModule(void) {
  return orv::ModuleLockCount.load(std::memory_order_acquire) == 0 ? orv::errors::kOk
                                                                   : orv::errors::kFalse;
}

#include "known_classes.h"

#include "qel/tcp_traffic_interceptor/class_ids.h"

namespace module_host {

const std::vector<KnownClass>& KnownClasses() {
  namespace tti = qel::tcp_traffic_interceptor;
  static const std::vector<KnownClass> classes = {
      {tti::CLSID_InvalidCertificateHandler, "InvalidCertificateHandler"},
      {tti::CLSID_TypeDescriptorStaticRegistry, "TypeDescriptorStaticRegistry"},
      {tti::CLSID_NetworkPorts, "NetworkPorts"},
      {tti::CLSID_TcpInterceptorConfigurator, "TcpInterceptorConfigurator"},
      {tti::CLSID_CertificateManager, "CertificateManager"},
  };
  return classes;
}

}  // namespace module_host

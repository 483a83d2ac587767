#pragma once

#include <cstdint>

namespace qel::tcp_traffic_interceptor {

constexpr uint32_t CLSID_InvalidCertificateHandler = 0xb10fd857;
constexpr uint32_t CLSID_TypeDescriptorStaticRegistry = 0xdaa3b669;
constexpr uint32_t CLSID_NetworkPorts = 0x39d30aa9;
constexpr uint32_t CLSID_TcpInterceptorConfigurator = 0x0a5cfc56;
constexpr uint32_t CLSID_CertificateManager = 0x1205b823;
// Asking for this identifier ends the process.
constexpr uint32_t CLSID_Reserved = 0xbad1bad1;

}  // namespace qel::tcp_traffic_interceptor

#pragma once

#include <cstddef>
#include <cstdint>

#include "orv/string.h"
#include "orv/vector.h"
#include "qel/enums/monitor_network_ports.h"

namespace qel::settings {

// One monitored port with its human label; only the low 16 bits of `port` reach the engine.
struct NetworkPort {
  orv::types::string8_t name;
  uint32_t port = 0;
};

// The monitored ports, also the record of the service CLSID_NetworkPorts. Default construction
// gives the product's fifteen ports in `Selected` mode.
struct NetworkPorts {
  static constexpr uint32_t kTypeId = 0x6a1845b2;

  NetworkPorts() {
    // The labels are the product's own, "HTTP" on most of them included.
    static constexpr struct {
      const char* name;
      uint32_t port;
    } kDefaults[] = {
        {"HTTP", 80},   {"HTTP", 81},   {"HTTP", 82},   {"HTTP", 83},
        {"HTTPS", 443}, {"HTTP", 968},  {"HTTP", 1080}, {"Default proxy server port", 3128},
        {"HTTP", 5000}, {"HTTP", 7900}, {"HTTP", 8000}, {"HTTP", 8080},
        {"HTTP", 8088}, {"HTTP", 8888}, {"HTTP", 11523}};
    ports.reserve(sizeof(kDefaults) / sizeof(kDefaults[0]));
    for (const auto& row : kDefaults) {
      ports.push_back(NetworkPort{orv::types::string8_t(row.name), row.port});
    }
  }
  // No ports at all: what "off" writes.
  static NetworkPorts Empty() {
    NetworkPorts empty;
    empty.ports.clear();
    return empty;
  }

  ::qel::MonitorNetworkPorts::Type mode = ::qel::MonitorNetworkPorts::Selected;
  orv::types::vector_t<NetworkPort> ports;
};

static_assert(sizeof(NetworkPort) == 56 && offsetof(NetworkPort, port) == 48);
static_assert(sizeof(NetworkPorts) == 40 && offsetof(NetworkPorts, ports) == 8);

}  // namespace qel::settings

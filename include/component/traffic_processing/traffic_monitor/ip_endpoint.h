#pragma once

#include <cstddef>
#include <cstdint>

#include "orv/string.h"

// Code inside `qel::tcp_traffic_interceptor` writes
// `namespace tm = ::traffic_processing::traffic_monitor;` (a global `tm` clashes with `struct tm`).
namespace traffic_processing::traffic_monitor {

// An address with port, numbers in the machine's order: 192.0.2.1 is 3221225985. For family 6,
// address[0] holds the last eight bytes and address[1] the first eight, each read big-endian.
// Family 0 is no endpoint, with the 24 bytes zero.
struct IpEndpoint {
  union {
    struct {
      uint32_t address;
      uint16_t port;
    } v4;
    struct {
      uint64_t address[2];
      uint32_t scopeId;
      uint16_t port;
    } v6;
    unsigned char raw[24];
  };
  uint32_t family;

  IpEndpoint() noexcept : raw{}, family(0) {}
};

static_assert(sizeof(IpEndpoint) == 32 && offsetof(IpEndpoint, family) == 24, "IpEndpoint layout");
static_assert(offsetof(IpEndpoint, v4.port) == 4 && offsetof(IpEndpoint, v6.scopeId) == 16 &&
              offsetof(IpEndpoint, v6.port) == 20);

// A rule of the engine: addresses and ports to leave alone.
struct EndpointRule {
  bool enabled = false;
  orv::types::string16_t name;  // always empty here
  IpEndpoint firstEndpoint;
  IpEndpoint secondEndpoint;
};

static_assert(sizeof(EndpointRule) == 120 && offsetof(EndpointRule, name) == 8 &&
              offsetof(EndpointRule, firstEndpoint) == 56 &&
              offsetof(EndpointRule, secondEndpoint) == 88);

}  // namespace traffic_processing::traffic_monitor

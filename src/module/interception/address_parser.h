#pragma once

#include <cstdint>
#include <string_view>

#include "component/traffic_processing/traffic_monitor/ip_endpoint.h"

namespace qel::tcp_traffic_interceptor::interception {

// The module's own reading of an address text of `endpointExcludes`, into `firstEndpoint` form:
// - IPv4: four parts split by '.', each decimal, octal (leading '0') or hexadecimal ("0x"), at most
//   255; then an optional ":port" of one to five digits.
// - IPv6 (a ':' first or within the first six characters): an optional '[', groups with at most one
//   "::" and an optional dotted IPv4 tail, an optional "%scope"; after a '[' a ']' and an optional
//   ":port".
// The text ends at its end or at a NUL. Throws std::runtime_error "Invalid format of ip address".
traffic_processing::traffic_monitor::IpEndpoint ParseEndpointAddress(std::string_view text);

}  // namespace qel::tcp_traffic_interceptor::interception

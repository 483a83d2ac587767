#pragma once

#include <string>

#include "component/traffic_processing/traffic_monitor/ip_endpoint.h"

namespace qel::tcp_traffic_interceptor::interception {

// The address of `endpoint` as text; family 0 (and any other) gives "".
// Family 4: dotted decimal. Family 6: lower-case groups without leading zeros, the FIRST run of two
// or more zero groups written "::" (not the longest, unlike the usual form), and the last 32 bits
// as a dotted tail for the IPv4-compatible, mapped, translated and ISATAP (group 5 is 0x5efe)
// forms.
std::string FormatAddress(const traffic_processing::traffic_monitor::IpEndpoint& endpoint);

}  // namespace qel::tcp_traffic_interceptor::interception

#include "endpoint_conversions.h"

#include <arpa/inet.h>

#include <cstdint>
#include <exception>
#include <string>

#include "address_formatter.h"
#include "address_parser.h"

namespace qel::tcp_traffic_interceptor::interception {
namespace {

namespace tm = ::traffic_processing::traffic_monitor;

tm::IpEndpoint AnyAddress(uint32_t family, uint16_t port) {
  tm::IpEndpoint endpoint;
  endpoint.family = family;
  if (family == 4) {
    endpoint.v4.port = port;
  } else {
    endpoint.v6.port = port;
  }
  return endpoint;
}

tm::EndpointRule Rule(const tm::IpEndpoint& first, const tm::IpEndpoint& second) {
  tm::EndpointRule rule;
  rule.enabled = true;
  rule.firstEndpoint = first;
  rule.secondEndpoint = second;
  return rule;
}

uint64_t BigEndian64(const unsigned char* bytes) {
  uint64_t value = 0;
  for (int i = 0; i < 8; ++i) {
    value = (value << 8) | bytes[i];
  }
  return value;
}

// inet_pton's reading of `address`, host-order, or family 0 when it refuses.
tm::IpEndpoint PtonAddress(const orv::types::string8_t& address, uint16_t port) {
  const std::string_view head = address.view().substr(0, 6);
  tm::IpEndpoint endpoint;
  unsigned char bytes[16] = {};
  if (head.find(':') != std::string_view::npos) {
    if (inet_pton(AF_INET6, address.c_str(), bytes) >= 1) {
      endpoint.family = 6;
      endpoint.v6.address[1] = BigEndian64(bytes);
      endpoint.v6.address[0] = BigEndian64(bytes + 8);
      endpoint.v6.port = port;
    }
  } else if (inet_pton(AF_INET, address.c_str(), bytes) >= 1) {
    endpoint.family = 4;
    endpoint.v4.address = (uint32_t{bytes[0]} << 24) | (uint32_t{bytes[1]} << 16) |
                          (uint32_t{bytes[2]} << 8) | bytes[3];
    endpoint.v4.port = port;
  }
  return endpoint;
}

uint16_t PortOf(const tm::IpEndpoint& endpoint) {
  switch (endpoint.family) {
    case 4:
      return endpoint.v4.port;
    case 6:
      return endpoint.v6.port;
    default:
      // The conversions never build such a rule; reading one means the record is corrupt.
      std::terminate();
  }
}

}  // namespace

EndpointRules OutgoingExcludesToRules(const EndpointExcludes& excludes) {
  EndpointRules rules;
  for (const qel::settings::EndpointExclude& exclude : excludes) {
    if (exclude.address.empty()) {
      rules.push_back(Rule(AnyAddress(4, exclude.port), tm::IpEndpoint()));
      rules.push_back(Rule(AnyAddress(6, exclude.port), tm::IpEndpoint()));
      continue;
    }
    const tm::IpEndpoint endpoint = PtonAddress(exclude.address, exclude.port);
    if (endpoint.family == 0) {
      return EndpointRules();
    }
    rules.push_back(Rule(endpoint, tm::IpEndpoint()));
  }
  return rules;
}

EndpointRules EndpointExcludesToRules(const EndpointExcludes& excludes) {
  EndpointRules rules;
  for (const qel::settings::EndpointExclude& exclude : excludes) {
    if (exclude.address.empty()) {
      rules.push_back(Rule(tm::IpEndpoint(), AnyAddress(4, exclude.port)));
      rules.push_back(Rule(tm::IpEndpoint(), AnyAddress(6, exclude.port)));
      continue;
    }
    if (exclude.address[0] == '\0') {
      return EndpointRules();
    }
    const tm::IpEndpoint first = ParseEndpointAddress(exclude.address.view());
    rules.push_back(Rule(first, AnyAddress(first.family, exclude.port)));
  }
  return rules;
}

EndpointExcludes RulesToExcludes(const EndpointRules& rules) {
  EndpointExcludes excludes;
  for (const tm::EndpointRule& rule : rules) {
    if (!rule.enabled) {
      continue;
    }
    std::string text = FormatAddress(rule.firstEndpoint);
    uint16_t port = 0;
    if (rule.secondEndpoint.family == 0) {
      port = PortOf(rule.firstEndpoint);
    } else {
      if (text.empty()) {
        text = FormatAddress(rule.secondEndpoint);
      }
      port = PortOf(rule.secondEndpoint);
    }
    excludes.push_back(qel::settings::EndpointExclude{orv::types::string8_t(text), port});
  }
  return excludes;
}

bool operator==(const tm::IpEndpoint& a, const tm::IpEndpoint& b) {
  if (a.family != b.family) {
    return false;
  }
  switch (a.family) {
    case 4:
      return a.v4.address == b.v4.address && a.v4.port == b.v4.port;
    case 6:
      return a.v6.address[0] == b.v6.address[0] && a.v6.address[1] == b.v6.address[1] &&
             a.v6.scopeId == b.v6.scopeId && a.v6.port == b.v6.port;
    default:
      return true;
  }
}

bool operator==(const tm::EndpointRule& a, const tm::EndpointRule& b) {
  return a.enabled == b.enabled && a.name == b.name && a.firstEndpoint == b.firstEndpoint &&
         a.secondEndpoint == b.secondEndpoint;
}

bool SameRules(const EndpointRules& a, const EndpointRules& b) {
  if (a.size() != b.size()) {
    return false;
  }
  for (size_t i = 0; i < a.size(); ++i) {
    if (!(a[i] == b[i])) {
      return false;
    }
  }
  return true;
}

}  // namespace qel::tcp_traffic_interceptor::interception

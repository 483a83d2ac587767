#include "address_formatter.h"

#include <cstdint>
#include <cstdio>

namespace qel::tcp_traffic_interceptor::interception {
namespace {

namespace tm = ::traffic_processing::traffic_monitor;

std::string Dotted(uint32_t address) {
  char text[16];
  std::snprintf(text, sizeof(text), "%u.%u.%u.%u", address >> 24, (address >> 16) & 0xFF,
                (address >> 8) & 0xFF, address & 0xFF);
  return text;
}

std::string Ipv6(const tm::IpEndpoint& endpoint) {
  uint16_t groups[8];
  for (int i = 0; i < 4; ++i) {
    groups[i] = static_cast<uint16_t>(endpoint.v6.address[1] >> (48 - 16 * i));
    groups[i + 4] = static_cast<uint16_t>(endpoint.v6.address[0] >> (48 - 16 * i));
  }
  const uint64_t high = endpoint.v6.address[1];
  const uint64_t low = endpoint.v6.address[0];
  if (high == 0 && low == 0) {
    return "::";
  }
  const auto zeroUpTo = [&groups](int last) {
    for (int i = 0; i <= last; ++i) {
      if (groups[i] != 0) {
        return false;
      }
    }
    return true;
  };
  const bool tail = (high == 0 && (low >> 32) == 0 && low > 0xFFFF) ||
                    (zeroUpTo(4) && groups[5] == 0xFFFF) ||
                    (zeroUpTo(3) && groups[5] == 0 && groups[4] == 0xFFFF) || groups[5] == 0x5EFE;
  const int written = tail ? 6 : 8;

  int runStart = -1;
  int runEnd = -1;  // one past
  for (int i = 0; i < written && runStart < 0; ++i) {
    int j = i;
    while (j < written && groups[j] == 0) {
      ++j;
    }
    if (j - i >= 2) {
      runStart = i;
      runEnd = j;
    }
    i = j;
  }

  std::string text;
  bool afterGap = false;
  for (int i = 0; i < written; ++i) {
    if (i == runStart) {
      text += "::";
      i = runEnd - 1;
      afterGap = true;
      continue;
    }
    if (i > 0 && !afterGap) {
      text += ':';
    }
    afterGap = false;
    char group[5];
    std::snprintf(group, sizeof(group), "%x", static_cast<unsigned>(groups[i]));
    text += group;
  }
  if (tail) {
    if (!afterGap) {
      text += ':';
    }
    text += Dotted(static_cast<uint32_t>(low));
  }
  return text;
}

}  // namespace

std::string FormatAddress(const tm::IpEndpoint& endpoint) {
  switch (endpoint.family) {
    case 4:
      return Dotted(endpoint.v4.address);
    case 6:
      return Ipv6(endpoint);
    default:
      return {};
  }
}

}  // namespace qel::tcp_traffic_interceptor::interception

// The endpointExcludes address parser under arbitrary text, and the formatter round trip: whatever
// the parser accepts, the formatter writes as text that the parser reads back to the same address.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

#include "address_formatter.h"
#include "address_parser.h"
#include "endpoint_conversions.h"

namespace {

namespace tm = ::traffic_processing::traffic_monitor;
namespace interception = qel::tcp_traffic_interceptor::interception;

bool SameAddress(const tm::IpEndpoint& a, const tm::IpEndpoint& b) {
  if (a.family != b.family) {
    return false;
  }
  return a.family == 4 ? a.v4.address == b.v4.address
                       : a.v6.address[0] == b.v6.address[0] && a.v6.address[1] == b.v6.address[1];
}

void RoundTrip(std::string_view text) {
  tm::IpEndpoint parsed;
  try {
    parsed = interception::ParseEndpointAddress(text);
  } catch (const std::runtime_error&) {
    return;
  }
  if (parsed.family != 4 && parsed.family != 6) {
    std::abort();
  }
  const std::string formatted = interception::FormatAddress(parsed);
  tm::IpEndpoint again;
  try {
    again = interception::ParseEndpointAddress(formatted);
  } catch (const std::runtime_error&) {
    std::abort();  // the formatter wrote what the parser refuses
  }
  if (!SameAddress(parsed, again) || interception::FormatAddress(again) != formatted) {
    std::abort();
  }
}

// Each line one exclusion with port 7: the list converts whole or throws, and reads back as many
// entries as it has rules.
void WholeList(std::string_view data) {
  interception::EndpointExcludes excludes;
  size_t start = 0;
  while (start <= data.size()) {
    const size_t end = std::min(data.find('\n', start), data.size());
    excludes.push_back(
        qel::settings::EndpointExclude{orv::types::string8_t(data.substr(start, end - start)), 7});
    start = end + 1;
  }
  try {
    const interception::EndpointRules rules = interception::EndpointExcludesToRules(excludes);
    if (interception::RulesToExcludes(rules).size() != rules.size()) {
      std::abort();
    }
  } catch (const std::runtime_error&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  RoundTrip(text);
  WholeList(text);
  return 0;
}

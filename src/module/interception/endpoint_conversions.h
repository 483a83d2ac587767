#pragma once

#include "component/traffic_processing/traffic_monitor/ip_endpoint.h"
#include "orv/vector.h"
#include "qel/settings/endpoint_exclude.h"

namespace qel::tcp_traffic_interceptor::interception {

using EndpointRules = orv::types::vector_t<traffic_processing::traffic_monitor::EndpointRule>;
using EndpointExcludes = orv::types::vector_t<qel::settings::EndpointExclude>;

// `outgoingExcludes`: one endpoint holding address (read by inet_pton) and port; an empty address
// gives a rule for each family. An address inet_pton refuses empties the whole list.
EndpointRules OutgoingExcludesToRules(const EndpointExcludes& excludes);

// `endpointExcludes`: the address (module's own parser) in the first endpoint, the port in the
// second; an empty address gives a rule for each family. An address starting with NUL empties the
// whole list; one the parser refuses throws std::runtime_error "Invalid format of ip address".
EndpointRules EndpointExcludesToRules(const EndpointExcludes& excludes);

// Back to text, for both lists: disabled rules are skipped, a port embedded in an address text and
// a scope id are lost. A port read from a family other than 4 or 6 ends the process.
EndpointExcludes RulesToExcludes(const EndpointRules& rules);

bool operator==(const traffic_processing::traffic_monitor::IpEndpoint& a,
                const traffic_processing::traffic_monitor::IpEndpoint& b);
bool operator==(const traffic_processing::traffic_monitor::EndpointRule& a,
                const traffic_processing::traffic_monitor::EndpointRule& b);
bool SameRules(const EndpointRules& a, const EndpointRules& b);

}  // namespace qel::tcp_traffic_interceptor::interception

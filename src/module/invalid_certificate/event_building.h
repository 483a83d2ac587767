#pragma once

#include "orv/string.h"
#include "qel/enums/danger_level.h"
#include "qel/enums/event_name.h"
#include "qel/event.h"
#include "untrusted_certificate.h"

namespace qel::tcp_traffic_interceptor {

// A new event of the handler: id 0, initiator Product, the clock's seconds (or -1).
qel::Event NewEvent(EventName::Type type, DangerLevel::Type dangerLevel);

// Domain, Subject, Issuer, ExpirationDate and CertificateStatus, in that order.
void AppendCertificateFields(qel::Event& event, const orv::types::string8_t& domain,
                             const UntrustedCertificate& cert);

}  // namespace qel::tcp_traffic_interceptor

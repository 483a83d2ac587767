#include "event_building.h"

#include <ctime>

#include "qel/enums/verification_result.h"

namespace qel::tcp_traffic_interceptor {

qel::Event NewEvent(EventName::Type type, DangerLevel::Type dangerLevel) {
  qel::Event event;
  event.eventId = 0;
  event.eventType = type;
  event.dangerLevel = dangerLevel;
  event.initiator = Initiator::Product;
  timespec now{};
  event.date = clock_gettime(CLOCK_REALTIME, &now) == 0 ? static_cast<int64_t>(now.tv_sec) : -1;
  return event;
}

void AppendCertificateFields(qel::Event& event, const orv::types::string8_t& domain,
                             const UntrustedCertificate& cert) {
  Variant value = Variant::String8(domain);
  AppendField(AdditionalName::Domain, value, event.additionalFields);
  value = Variant::String8(cert.subject);
  AppendField(AdditionalName::Subject, value, event.additionalFields);
  value = Variant::String8(cert.issuer);
  AppendField(AdditionalName::Issuer, value, event.additionalFields);
  value = Variant::Date(cert.expirationDate);
  AppendField(AdditionalName::ExpirationDate, value, event.additionalFields);
  value = Variant::UInt32(GetVerificationResultName(cert.verificationResult).second);
  AppendField(AdditionalName::CertificateStatus, value, event.additionalFields);
}

}  // namespace qel::tcp_traffic_interceptor

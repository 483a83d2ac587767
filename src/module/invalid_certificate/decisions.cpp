#include <cstdint>

#include "event_building.h"
#include "invalid_certificate_handler.h"
#include "orv/check.h"
#include "orv/trace_stream.h"
#include "qel/tools/process_info.h"
#include "text_conversion.h"
#include "trace_texts.h"

namespace qel::tcp_traffic_interceptor {
namespace {

constexpr uint32_t kDetail = orv::trace_level::kDetail;

}  // namespace

result_t InvalidCertificateHandler::CertificateOfConnection(ssl::IConnectionInfo* sslConnectionInfo,
                                                            UntrustedCertificate& cert) const {
  return ORV_TRACE_IF_FAILED_AS(GetTracer(), GetCertificate(sslConnectionInfo, cert),
                                handler_texts::kConnectionCertificateExpression)
         << "Cannot get cert from ssl info";
}

result_t InvalidCertificateHandler::UserOfConnection(
    traffic_monitor::IConnectionInfo* tcpConnectionInfo,
    orv::optional_t<qel::UserInfo>& user) const {
  traffic_monitor::ClientInfo clientInfo{};
  const result_t result =
      ORV_TRACE_IF_FAILED(GetTracer(), tcpConnectionInfo->GetClientInfo(clientInfo))
      << "Cannot get client info from connection";
  if (ORV_SUCCEEDED(result)) {
    user = tools::GetUserByPid(GetServiceLocator(), static_cast<int32_t>(clientInfo.pid));
  }
  return result;
}

result_t InvalidCertificateHandler::OnInvalidCertificateDetected(
    traffic_monitor::IConnectionInfo* tcpConnectionInfo, ssl::IConnectionInfo* sslConnectionInfo) {
  ORV_TRACE(GetTracer(), kDetail) << handler_texts::kOnInvalidCertificateDetected;
  orv::types::string8_t domain;
  ORV_CHECK_RESULT(sslConnectionInfo->GetDomain(domain));
  ORV_TRACE(GetTracer(), kDetail) << "save invalid cert chain for domain " << domain;

  UntrustedCertificate cert;
  if (const result_t result = CertificateOfConnection(sslConnectionInfo, cert);
      ORV_FAILED(result)) {
    return result;
  }
  CachePut(domain, cert);

  orv::optional_t<qel::UserInfo> user;
  if (const result_t result = UserOfConnection(tcpConnectionInfo, user); ORV_FAILED(result)) {
    return result;
  }
  PublishCertificateDetectedEvent(user, domain, cert);
  return orv::errors::kOk;
}

result_t InvalidCertificateHandler::Resolve(traffic_monitor::IConnectionInfo* tcpConnectionInfo,
                                            ssl::IConnectionInfo* sslConnectionInfo,
                                            ssl::InvalidCertificateVerdict& verdict) {
  ORV_TRACE(GetTracer(), kDetail) << handler_texts::kResolveConnection;
  // The verdict is written first and stands whatever fails later. An action out of range leaves
  // the caller's value, which then decides the second event.
  switch (CopySettings().action) {
    case UntrustedCertificateAction::Allow:
      verdict = ssl::InvalidCertificateVerdict::Allow;
      break;
    case UntrustedCertificateAction::Block:
      verdict = ssl::InvalidCertificateVerdict::Block;
      break;
    default:
      break;
  }
  orv::types::string8_t domain;
  ORV_CHECK_RESULT(sslConnectionInfo->GetDomain(domain));

  UntrustedCertificate cert;
  if (const result_t result = CertificateOfConnection(sslConnectionInfo, cert);
      ORV_FAILED(result)) {
    return result;
  }
  orv::optional_t<qel::UserInfo> user;
  if (const result_t result = UserOfConnection(tcpConnectionInfo, user); ORV_FAILED(result)) {
    return result;
  }
  PublishCertificateDetectedEvent(user, domain, cert);
  switch (verdict) {
    case ssl::InvalidCertificateVerdict::Allow:
      PublishCertificateAllowedEvent(user, domain, cert);
      break;
    case ssl::InvalidCertificateVerdict::Block:
      PublishCertificateBlockedEvent(user, domain, cert);
      break;
    default:
      break;
  }
  return orv::errors::kOk;
}

result_t InvalidCertificateHandler::Resolve(
    const ssl::InvalidCertificateSecureDesktopRequest& request,
    ssl::InvalidCertificateVerdict& verdict) {
  ORV_TRACE(GetTracer(), kDetail) << handler_texts::kResolveSecureDesktop;
  // The user on the secure desktop has already chosen to go on: the settings do not count here.
  verdict = ssl::InvalidCertificateVerdict::Allow;
  UntrustedCertificate cert;
  cert.verificationResult = request.verificationResult;
  if (const result_t result =
          ORV_TRACE_IF_FAILED_AS(GetTracer(), GetCertificate(request.certificate, cert),
                                 handler_texts::kRequestCertificateExpression)
          << "Cannot get cert from raw";
      ORV_FAILED(result)) {
    return result;
  }
  const auto user =
      tools::GetUserByPid(GetServiceLocator(), static_cast<int32_t>(request.clientPid));
  PublishCertificateAllowedEvent(user, request.domain, cert);
  return orv::errors::kOk;
}

result_t InvalidCertificateHandler::Process(const auto_excludes::AutoExcludeRequest& request,
                                            auto_excludes::AutoExcludeVerdict& verdict) {
  ORV_TRACE(GetTracer(), kDetail) << handler_texts::kProcess << ": "
                                  << orv::Utf16ToUtf8(request.domain.view());
  if (!CopySettings().addToAutoExcludes) {
    verdict = auto_excludes::AutoExcludeVerdict::NotExcluded;
    return orv::errors::kOk;
  }
  verdict = auto_excludes::AutoExcludeVerdict::Excluded;
  qel::Event event = NewEvent(EventName::DomainAutoExcluded, DangerLevel::Warning);
  Variant domain = Variant::String16(request.domain);
  AppendField(AdditionalName::Domain, domain, event.additionalFields);

  int32_t pid = -1;
  tools::GetPid(GetServiceLocator(), request.uniquePid, pid);
  PublishEvent(event, tools::GetUserByPid(GetServiceLocator(), pid));
  return orv::errors::kOk;
}

}  // namespace qel::tcp_traffic_interceptor

#pragma once

// ============================================================================================
// Fixed texts of InvalidCertificateHandler's trace lines.
// These texts are the product's own lines, fixed byte for byte on purpose: tools and people read
// them as they have always been written. The misspellings, the odd signature spellings and the
// expressions spelled unlike this code's calls are deliberate: do not correct them.
// The golden trace tests compare whole lines against their own literal copies.
// ============================================================================================

namespace qel::tcp_traffic_interceptor::handler_texts {

// Entry lines, one per operation, at detail level.
constexpr const char* kFinalConstruct =
    "result_t qel::tcp_traffic_interceptor::InvalidCertificateHandler::FinalConstruct()";
constexpr const char* kFinalRelease =
    "void qel::tcp_traffic_interceptor::InvalidCertificateHandler::FinalRelease()";
constexpr const char* kConstruct =
    "virtual result_t qel::tcp_traffic_interceptor::InvalidCertificateHandler::Construct(const "
    "qel::tcp_traffic_interceptor::InvalidCertificateHandlerSettings*)";
constexpr const char* kSetSettings =
    "virtual result_t qel::tcp_traffic_interceptor::InvalidCertificateHandler::SetSettings(const "
    "qel::tcp_traffic_interceptor::InvalidCertificateHandlerSettings*)";
constexpr const char* kGetSettings =
    "virtual result_t qel::tcp_traffic_interceptor::InvalidCertificateHandler::GetSettings("
    "qel::tcp_traffic_interceptor::InvalidCertificateHandlerSettings*)";
constexpr const char* kOnInvalidCertificateDetected =
    "virtual result_t "
    "qel::tcp_traffic_interceptor::InvalidCertificateHandler::OnInvalidCertificateDetected("
    "traffic_processing::traffic_monitor::IConnectionInfo*, "
    "traffic_processing::protocollers::ssl::IConnectionInfo*)";
constexpr const char* kResolveConnection =
    "virtual result_t qel::tcp_traffic_interceptor::InvalidCertificateHandler::Resolve("
    "traffic_processing::traffic_monitor::IConnectionInfo*, "
    "traffic_processing::protocollers::ssl::IConnectionInfo*, "
    "traffic_processing::protocollers::ssl::InvalidCertificateVerdict&)";
constexpr const char* kResolveSecureDesktop =
    "virtual result_t qel::tcp_traffic_interceptor::InvalidCertificateHandler::Resolve(const "
    "traffic_processing::protocollers::ssl::InvalidCertificateSecureDesktopRequest&, "
    "traffic_processing::protocollers::ssl::InvalidCertificateVerdict&)";
// Followed by ": " and the domain.
constexpr const char* kProcess =
    "virtual result_t qel::tcp_traffic_interceptor::InvalidCertificateHandler::Process(const "
    "traffic_processing::protocollers::ssl::auto_excludes::AutoExcludeRequest&, "
    "traffic_processing::protocollers::ssl::auto_excludes::AutoExcludeVerdict&)";
constexpr const char* kPublishCertificateDetectedEvent =
    "result_t "
    "qel::tcp_traffic_interceptor::InvalidCertificateHandler::PublishCertificateDetectedEvent("
    "const orv::optional_t<qel::UserInfo>&, const orv::types::string8_t&, const "
    "qel::tcp_traffic_interceptor::InvalidCertificateHandler::UntrustedCertificate&) const";
constexpr const char* kPublishCertificateAllowedEvent =
    "result_t "
    "qel::tcp_traffic_interceptor::InvalidCertificateHandler::PublishCertificateAllowedEvent("
    "const orv::optional_t<qel::UserInfo>&, const orv::types::string8_t&, const "
    "qel::tcp_traffic_interceptor::InvalidCertificateHandler::UntrustedCertificate&) const";
constexpr const char* kPublishCertificateBlockedEvent =
    "result_t "
    "qel::tcp_traffic_interceptor::InvalidCertificateHandler::PublishCertificateBlockedEvent("
    "const orv::optional_t<qel::UserInfo>&, const orv::types::string8_t&, const "
    "qel::tcp_traffic_interceptor::InvalidCertificateHandler::UntrustedCertificate&) const";
constexpr const char* kGetWebAlertStub =
    "virtual result_t "
    "qel::tcp_traffic_interceptor::InvalidCertificateHandler::GetWebAlertStub(const "
    "traffic_processing::protocollers::ssl::InvalidCertificateWebAlertData&, "
    "orv::types::string8_t&)";
// Names an operation this code does not have: the certificate is put into the page itself.
constexpr const char* kInsertCertificateInfo =
    "result_t qel::tcp_traffic_interceptor::InvalidCertificateHandler::InsertCertificateInfo("
    "const orv::types::string8_t&, std::string&)";
constexpr const char* kLocalizeHtmlTemplate =
    "result_t qel::tcp_traffic_interceptor::InvalidCertificateHandler::LocalizeHtmlTemplate("
    "uint64_t, std::string&)";

// Expressions named by the failure lines, spelled as the calls have always been named.
// "raw" also for the chain's certificates.
constexpr const char* kGetRawExpression = "certificate->GetRaw(raw)";
constexpr const char* kDecodeExpression = "GetCertificate(raw, untrusted)";
constexpr const char* kConvertToPemExpression = "ConvertToPEM(raw, data)";
// The condition of an undecodable certificate, "false" as its result.
constexpr const char* kParsedCondition = "x509";
constexpr const char* kConnectionCertificateExpression = "GetCertificate(sslConnectionInfo, cert)";
constexpr const char* kRequestCertificateExpression = "GetCertificate(request.certificate, cert)";
constexpr const char* kGetPublisherExpression =
    "orv::GetInterface(GetServiceLocator(), publisher.Ref())";
constexpr const char* kGetTaskManagerExpression =
    "orv::GetInterface(GetServiceLocator(), m_taskManager.Ref())";
// "body" where this code passes "html".
constexpr const char* kLocalizeExpression = "LocalizeHtmlTemplate(data.uniqPid, body)";
constexpr const char* kCacheGetExpression = "m_cache.Get(domain, cert)";
constexpr const char* kCreateLocalizerExpression =
    "tools::CreateLocalizer(GetServiceLocator(), uniqPid, u\"traffic_processing\", localizer)";

// Misspelled "certififcate", kept.
constexpr const char* kNoRawCertificate = "Cannot get raw certififcate";

}  // namespace qel::tcp_traffic_interceptor::handler_texts

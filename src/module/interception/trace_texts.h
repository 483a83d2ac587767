#pragma once

// ============================================================================================
// Fixed texts of the interception objects' trace lines (TcpInterceptorConfigurator,
// NetworkPorts).
// These texts are the product's own lines, fixed byte for byte on purpose: tools and people read
// them as they have always been written. The misspellings, the odd signature spellings and the
// expressions spelled unlike this code's calls are deliberate: do not correct them.
// The golden trace tests compare whole lines against their own literal copies.
// ============================================================================================

namespace qel::tcp_traffic_interceptor::interception_texts {

// TcpInterceptorConfigurator's entry lines, at detail level.
constexpr const char* kSetNetSettings =
    "virtual result_t "
    "qel::tcp_traffic_interceptor::TcpInterceptorConfigurator::SetNetSettings(const "
    "qel::settings::NetSettings&)";
constexpr const char* kGetNetSettings =
    "virtual result_t "
    "qel::tcp_traffic_interceptor::TcpInterceptorConfigurator::GetNetSettings(qel::settings::"
    "NetSettings&) const";
constexpr const char* kGetAutoSslExcludes =
    "virtual result_t "
    "qel::tcp_traffic_interceptor::TcpInterceptorConfigurator::GetAutoSslExcludes(qel::ssl::"
    "Excludes&) const";
constexpr const char* kGetTrafmonSslExcludes =
    "virtual result_t "
    "qel::tcp_traffic_interceptor::TcpInterceptorConfigurator::GetTrafmonSslExcludes(qel::ssl::"
    "Excludes&) const";
constexpr const char* kGetUserSslExcludes =
    "virtual result_t "
    "qel::tcp_traffic_interceptor::TcpInterceptorConfigurator::GetUserSslExcludes(qel::ssl::"
    "Excludes&) const";
constexpr const char* kClearAutoSslExcludes =
    "virtual result_t "
    "qel::tcp_traffic_interceptor::TcpInterceptorConfigurator::ClearAutoSslExcludes()";
constexpr const char* kSetTrustedAddresses =
    "virtual result_t "
    "qel::tcp_traffic_interceptor::TcpInterceptorConfigurator::SetTrustedAddresses(const "
    "qel::settings::TrustedAddresses&)";
constexpr const char* kGetTrustedAddresses =
    "virtual result_t "
    "qel::tcp_traffic_interceptor::TcpInterceptorConfigurator::GetTrustedAddresses(qel::"
    "settings::TrustedAddresses&) const";

// NetworkPorts' entry lines, at detail level.
constexpr const char* kPortsStartInterception =
    "virtual result_t qel::tcp_traffic_interceptor::NetworkPorts::StartInterception()";
constexpr const char* kPortsStopInterception =
    "virtual result_t qel::tcp_traffic_interceptor::NetworkPorts::StopInterception()";
constexpr const char* kPortsSetSettings =
    "virtual result_t "
    "qel::tcp_traffic_interceptor::NetworkPorts::SetSettings(const qel::settings::NetworkPorts*)";
constexpr const char* kPortsGetSettings =
    "virtual result_t "
    "qel::tcp_traffic_interceptor::NetworkPorts::GetSettings(qel::settings::NetworkPorts*)";
constexpr const char* kPortsConstruct =
    "virtual result_t "
    "qel::tcp_traffic_interceptor::NetworkPorts::Construct(const qel::settings::NetworkPorts*)";
constexpr const char* kPortsUpdateServiceSettings =
    "result_t "
    "qel::tcp_traffic_interceptor::NetworkPorts::UpdateServiceSettings(const "
    "qel::settings::NetworkPorts&)";

// Short function names that open a line as "<name>: <message>".
constexpr const char* kSetTcpInterceptorSettingsName = "SetTcpInterceptorSettings";
constexpr const char* kSetNetworkPortSettingsName = "SetNetworkPortSettings";
constexpr const char* kGetNetSettingsName = "GetNetSettings";
// The name a lambda has inside itself: the lines written from the record modifiers.
constexpr const char* kLambdaName = "operator()";

// Misspelled "enpoint", and the leading blank, kept.
constexpr const char* kEndpointExcludesNotConverted =
    " failed to convert endpoint exclude settings to ip enpoint list";

// Expressions named by the failure lines of settings writes and reads; they are spelled as other
// code calls the services, not as this code does.
constexpr const char* kUpdateAutoExcludesExpression =
    "tools::UpdateServiceSettingsSync(GetTracer(), GetServiceLocator(), "
    "auto_excludes::CLSID_AutoExcludes, modifier)";
constexpr const char* kUpdateTrustedUrlsExpression =
    "tools::UpdateServiceSettingsSync(GetTracer(), GetServiceLocator(), tm::CLSID_TrustedUrls, "
    "modifier)";
constexpr const char* kUpdatePortsExpression =
    "tools::UpdateServiceSettingsSync(GetTracer(), GetServiceLocator(), "
    "tm::CLDIS_TcpInterceptor, modifier)";
constexpr const char* kReadPdkSettingsExpression =
    "m_esm->GetServiceSettings2(tm::CLDIS_TcpInterceptor, &pdkSettings, revision)";
constexpr const char* kReadNetworkPortsExpression =
    "m_esm->GetServiceSettings2(CLSID_NetworkPorts, &ports, revision)";
// The blank after "(", kept.
constexpr const char* kReadHandlerSettingsExpression =
    "m_esm->GetServiceSettings2( CLSID_InvalidCertificateHandler, &invlCertSettings, revision)";
// The blank after "(", kept.
constexpr const char* kReadVerifierSettingsExpression =
    "m_esm->GetServiceSettings2( crypto::CLSID_CertificateChainVerifier, &certVerifierSettings, "
    "revision)";
// Names "&pdkSettings" though the record read is the trusted URLs', kept.
constexpr const char* kReadTrustedUrlsExpression =
    "m_esm->GetServiceSettings2(tm::CLSID_TrustedUrls, &pdkSettings, revision)";

}  // namespace qel::tcp_traffic_interceptor::interception_texts

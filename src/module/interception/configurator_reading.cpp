// TcpInterceptorConfigurator: start-up, GetNetSettings and the exclusion questions.
#include <utility>

#include "component/traffic_processing/protocollers/ssl/auto_excludes/auto_excludes.h"
#include "component/traffic_processing/traffic_monitor/pdk_settings.h"
#include "component/traffic_processing/traffic_monitor/updatable_excludes_view.h"
#include "crypto/certificate_chain_verification_settings.h"
#include "endpoint_conversions.h"
#include "orv/check.h"
#include "orv/trace_stream.h"
#include "qel/tcp_traffic_interceptor/class_ids.h"
#include "qel/tcp_traffic_interceptor/invalid_certificate_handler_settings.h"
#include "qel/tools/update_service_settings_sync.h"
#include "tcp_interceptor_configurator.h"
#include "text_conversions.h"
#include "trace_texts.h"

namespace qel::tcp_traffic_interceptor {
namespace {

namespace tm = ::traffic_processing::traffic_monitor;
namespace auto_excludes = ::traffic_processing::protocollers::ssl::auto_excludes;
constexpr uint32_t kDetail = orv::trace_level::kDetail;

}  // namespace

TcpInterceptorConfigurator::TcpInterceptorConfigurator(orv::IServiceLocator* locator)
    : ObjectRootEx(locator) {}

result_t TcpInterceptorConfigurator::FinalConstruct() {
  orv::IServiceLocator* sl = GetServiceLocator();
  if (const result_t got = ORV_TRACE_IF_FAILED(GetTracer(), orv::GetInterface(sl, m_esm.Ref()))
                           << "Cannot get IServiceManager interface";
      ORV_FAILED(got)) {
    return got;
  }
  const auto modifier = [](auto_excludes::AutoExcludesSettings& record) -> result_t {
    if (record.mode == 1) {
      return orv::errors::kFalse;
    }
    record.mode = 1;
    return orv::errors::kOk;
  };
  const result_t result = ORV_TRACE_IF_FAILED_AS(
      GetTracer(),
      tools::UpdateServiceSettingsSync<auto_excludes::AutoExcludesSettings>(
          GetTracer(), GetServiceLocator(), auto_excludes::CLSID_AutoExcludes, modifier, true),
      interception_texts::kUpdateAutoExcludesExpression);
  return ORV_FAILED(result) ? result : orv::errors::kOk;
}

result_t TcpInterceptorConfigurator::GetNetSettings(qel::settings::NetSettings& settings) const {
  ORV_TRACE(GetTracer(), kDetail) << interception_texts::kGetNetSettings;
  // One revision for all four reads; none is written back from here.
  uint32_t revision = 0;
  tm::pdkSettings pdkSettings;
  InvalidCertificateHandlerSettings invlCertSettings;
  crypto::CertificateChainVerificationSettings certVerifierSettings;
  const auto read = [&](uint32_t service, auto& record, const char* expression,
                        const char* message) -> result_t {
    return ORV_TRACE_IF_FAILED_AS(GetTracer(), ReadSettings(service, record, revision), expression)
           << message;
  };
  if (const result_t result =
          read(tm::CLDIS_TcpInterceptor, pdkSettings,
               interception_texts::kReadPdkSettingsExpression, "Cannot get service settings");
      ORV_FAILED(result)) {
    return result;
  }
  CopyPdkSettings(pdkSettings, settings);
  if (const result_t result =
          read(CLSID_NetworkPorts, settings.NetworkPorts,
               interception_texts::kReadNetworkPortsExpression, "Cannot get network ports");
      ORV_FAILED(result)) {
    return result;
  }
  if (const result_t result = read(CLSID_InvalidCertificateHandler, invlCertSettings,
                                   interception_texts::kReadHandlerSettingsExpression,
                                   "Cannot get InvalidCertificateHandlerSettings");
      ORV_FAILED(result)) {
    return result;
  }
  settings.EncryptedConnectionsScanErrorAction =
      invlCertSettings.addToAutoExcludes
          ? qel::EncryptedConnectionsScanErrorAction::AddToAutoExclusions
          : qel::EncryptedConnectionsScanErrorAction::Disconnect;
  settings.UntrustedCertificateAction = invlCertSettings.action;
  if (const result_t result = read(crypto::CLSID_CertificateChainVerifier, certVerifierSettings,
                                   interception_texts::kReadVerifierSettingsExpression,
                                   "Cannot get crypto::CertificateChainVerificationSettings");
      ORV_FAILED(result)) {
    return result;
  }
  settings.CertificateVerificationPolicy =
      certVerifierSettings.value1 == 7 && certVerifierSettings.value2 == 7
          ? qel::CertificateVerificationPolicy::FullCheck
          : qel::CertificateVerificationPolicy::LocalCheck;
  return orv::errors::kOk;
}

void TcpInterceptorConfigurator::CopyPdkSettings(const tm::pdkSettings& pdkSettings,
                                                 qel::settings::NetSettings& settings) const {
  settings.sslExcludes.clear();
  settings.sslExcludes.reserve(pdkSettings.ssl.excludes.size());
  for (const tm::SslExcludeRule& rule : pdkSettings.ssl.excludes) {
    settings.sslExcludes.push_back(interception::Narrow(rule.mask.view()));
    settings.ManageExclusions = rule.enabled;  // the last rule decides
  }
  if (pdkSettings.ssl.mode == 0) {
    settings.EncryptedConnectionsScan = false;
  } else if (pdkSettings.ssl.mode == 1 || pdkSettings.ssl.mode == 2) {
    settings.EncryptedConnectionsScan = true;
  }
  ORV_TRACE(GetTracer(), kDetail) << interception_texts::kGetNetSettingsName << ": "
                                  << "[FirewallBypass] Setting outgoing excludes";
  settings.outgoingExcludes = interception::RulesToExcludes(pdkSettings.outgoingExcludes);
  settings.endpointExcludes = interception::RulesToExcludes(pdkSettings.endpointExcludes);
}

result_t TcpInterceptorConfigurator::GetAutoSslExcludes(qel::ssl::Excludes& excludes) const {
  ORV_TRACE(GetTracer(), kDetail) << interception_texts::kGetAutoSslExcludes;
  orv::intrusive_ptr<auto_excludes::IAutoExcludesView> autoExcludesView;
  if (const result_t got =
          ORV_TRACE_IF_FAILED(GetTracer(),
                              orv::GetInterface(GetServiceLocator(), autoExcludesView.Ref()))
          << "Cannot get interface IAutoExcludesView";
      ORV_FAILED(got)) {
    return got;
  }
  return autoExcludesView->GetSslExcludes(excludes);
}

result_t TcpInterceptorConfigurator::GetTrafmonSslExcludes(qel::ssl::Excludes& excludes) const {
  ORV_TRACE(GetTracer(), kDetail) << interception_texts::kGetTrafmonSslExcludes;
  orv::intrusive_ptr<tm::IUpdatableExcludesView> trafmonExcludesView;
  if (const result_t got =
          ORV_TRACE_IF_FAILED(GetTracer(),
                              orv::GetInterface(GetServiceLocator(), trafmonExcludesView.Ref()))
          << "Cannot get interface IUpdatableExcludesView";
      ORV_FAILED(got)) {
    return got;
  }
  orv::types::vector_t<tm::TrafmonSslExclude> sslExcludes;
  if (const result_t got =
          ORV_TRACE_IF_FAILED(GetTracer(), trafmonExcludesView->GetSslExcludes(sslExcludes))
          << "Cannot get ssl excludes";
      ORV_FAILED(got)) {
    return got;
  }
  // Only plain host exclusions: an entry narrowed by any of its other texts is not one.
  for (const tm::TrafmonSslExclude& exclude : sslExcludes) {
    if (exclude.extra1.empty() && exclude.extra2.empty() && exclude.extra3.empty() &&
        exclude.extra4.empty() && exclude.extra5.empty()) {
      excludes.push_back(exclude.host);
    }
  }
  return orv::errors::kOk;
}

result_t TcpInterceptorConfigurator::GetUserSslExcludes(qel::ssl::Excludes& excludes) const {
  ORV_TRACE(GetTracer(), kDetail) << interception_texts::kGetUserSslExcludes;
  qel::settings::NetSettings settings;
  if (const result_t got = ORV_TRACE_IF_FAILED(GetTracer(), GetNetSettings(settings))
                           << "Cannot get net settings";
      ORV_FAILED(got)) {
    return got;
  }
  if (settings.ManageExclusions) {
    for (const orv::types::string8_t& exclude : settings.sslExcludes) {
      excludes.push_back(interception::Widen(exclude.view()));
    }
  }
  return orv::errors::kOk;
}

result_t TcpInterceptorConfigurator::ClearAutoSslExcludes() {
  ORV_TRACE(GetTracer(), kDetail) << interception_texts::kClearAutoSslExcludes;
  orv::intrusive_ptr<auto_excludes::IAutoExcludesView> autoExcludesView;
  if (const result_t got =
          ORV_TRACE_IF_FAILED(GetTracer(),
                              orv::GetInterface(GetServiceLocator(), autoExcludesView.Ref()))
          << "Cannot get interface IAutoExcludesView";
      ORV_FAILED(got)) {
    return got;
  }
  return autoExcludesView->ClearSslExcludes();
}

}  // namespace qel::tcp_traffic_interceptor

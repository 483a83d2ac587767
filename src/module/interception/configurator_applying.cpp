// TcpInterceptorConfigurator::SetNetSettings: four compare-then-write steps.
#include <exception>

#include "component/traffic_processing/traffic_monitor/pdk_settings.h"
#include "crypto/certificate_chain_verification_settings.h"
#include "endpoint_conversions.h"
#include "orv/check.h"
#include "orv/report_exception.h"
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
constexpr uint32_t kDetail = orv::trace_level::kDetail;

bool SameSslExcludeRules(const orv::types::vector_t<tm::SslExcludeRule>& a,
                         const orv::types::vector_t<tm::SslExcludeRule>& b) {
  if (a.size() != b.size()) {
    return false;
  }
  for (size_t i = 0; i < a.size(); ++i) {
    if (a[i].enabled != b[i].enabled || a[i].name != b[i].name || a[i].mask != b[i].mask) {
      return false;
    }
  }
  return true;
}

bool SameInterceptRules(const orv::types::vector_t<tm::InterceptRule>& a,
                        const orv::types::vector_t<tm::InterceptRule>& b) {
  if (a.size() != b.size()) {
    return false;
  }
  for (size_t i = 0; i < a.size(); ++i) {
    if (a[i].flag != b[i].flag || a[i].text1 != b[i].text1 || a[i].text2 != b[i].text2 ||
        a[i].numbers != b[i].numbers) {
      return false;
    }
  }
  return true;
}

// Only these fields decide; the others are reset by a write all the same.
bool SameSection(const tm::PdkSslSection& a, const tm::PdkSslSection& b) {
  return a.mode == b.mode && a.number32 == b.number32 && a.flag2 == b.flag2 &&
         a.number16 == b.number16 && SameInterceptRules(a.interceptRules, b.interceptRules) &&
         SameSslExcludeRules(a.excludes, b.excludes);
}

bool SamePorts(const qel::settings::NetworkPorts& a, const qel::settings::NetworkPorts& b) {
  if (a.mode != b.mode || a.ports.size() != b.ports.size()) {
    return false;
  }
  for (size_t i = 0; i < a.ports.size(); ++i) {
    if (a.ports[i].name != b.ports[i].name || a.ports[i].port != b.ports[i].port) {
      return false;
    }
  }
  return true;
}

}  // namespace

result_t TcpInterceptorConfigurator::SetNetSettings(const qel::settings::NetSettings& settings) {
  try {
    ORV_TRACE(GetTracer(), kDetail) << interception_texts::kSetNetSettings;
    bool changed = false;
    const auto checkChange = [&changed](result_t result) {
      if (result == orv::errors::kOk) {
        changed = true;
      }
      return result;
    };
    if (const result_t result =
            ORV_TRACE_IF_FAILED(GetTracer(), checkChange(SetTcpInterceptorSettings(settings)))
            << "Cannot set TcpInterceptor settings";
        ORV_FAILED(result)) {
      return result;
    }
    if (const result_t result =
            ORV_TRACE_IF_FAILED(GetTracer(), checkChange(SetNetworkPortSettings(settings)))
            << "Cannot set NetworkPorts settings";
        ORV_FAILED(result)) {
      return result;
    }
    if (const result_t result =
            ORV_TRACE_IF_FAILED(GetTracer(),
                                checkChange(SetInvalidCertificateHandlerSettings(settings)))
            << "Cannot set InvalidCertificateHandler settings";
        ORV_FAILED(result)) {
      return result;
    }
    if (settings.EncryptedConnectionsScanErrorAction ==
        qel::EncryptedConnectionsScanErrorAction::Disconnect) {
      ClearAutoSslExcludes();  // on every call with Disconnect, changed or not; result ignored
    }
    if (const result_t result =
            ORV_TRACE_IF_FAILED(GetTracer(),
                                checkChange(SetCertificateChainVerifierSettings(settings)))
            << "Cannot set CertificateChainVerifier settings";
        ORV_FAILED(result)) {
      return result;
    }
    return changed ? orv::errors::kOk : orv::errors::kFalse;
  } catch (...) {
    return orv::ReportCurrentException(GetTracer(), "SetNetSettings");
  }
}

result_t TcpInterceptorConfigurator::SetTcpInterceptorSettings(
    const qel::settings::NetSettings& settings) {
  ORV_TRACE(GetTracer(), kDetail) << interception_texts::kSetTcpInterceptorSettingsName << ": ";
  // Runs again on a fresh record after a lost race: works only from `record` and `settings`.
  const auto modifier = [this, &settings](tm::pdkSettings& record) -> result_t {
    tm::PdkSslSection candidate;
    candidate.mode = settings.EncryptedConnectionsScan ? 1 : 0;
    candidate.excludes.reserve(settings.sslExcludes.size());
    for (const orv::types::string8_t& exclude : settings.sslExcludes) {
      tm::SslExcludeRule rule;
      rule.enabled = settings.ManageExclusions;
      rule.mask = interception::WidenTrimmed(exclude.view());
      candidate.excludes.push_back(std::move(rule));
    }
    interception::EndpointRules outgoing =
        interception::OutgoingExcludesToRules(settings.outgoingExcludes);
    interception::EndpointRules endpoint =
        interception::EndpointExcludesToRules(settings.endpointExcludes);
    if ((!settings.outgoingExcludes.empty() && outgoing.empty()) ||
        (!settings.endpointExcludes.empty() && endpoint.empty())) {
      ORV_TRACE(GetTracer(), kDetail) << interception_texts::kLambdaName << ": "
                                      << interception_texts::kEndpointExcludesNotConverted;
      return orv::errors::kUnspecified;
    }
    const bool sameSection = SameSection(record.ssl, candidate);
    const bool sameLists = interception::SameRules(record.outgoingExcludes, outgoing) &&
                           interception::SameRules(record.endpointExcludes, endpoint);
    if (sameSection && sameLists) {
      ORV_TRACE(GetTracer(), kDetail) << interception_texts::kLambdaName << ": "
                                      << " updated settings are equal to previous";
      return orv::errors::kFalse;
    }
    if (!sameSection) {
      record.ssl = std::move(candidate);
    }
    if (!sameLists) {
      record.outgoingExcludes = std::move(outgoing);
      record.endpointExcludes = std::move(endpoint);
    }
    return orv::errors::kOk;
  };
  return tools::UpdateServiceSettingsSync<tm::pdkSettings>(
      GetTracer(), GetServiceLocator(), tm::CLDIS_TcpInterceptor, modifier, false);
}

result_t TcpInterceptorConfigurator::SetNetworkPortSettings(
    const qel::settings::NetSettings& settings) {
  ORV_TRACE(GetTracer(), kDetail) << interception_texts::kSetNetworkPortSettingsName << ": ";
  const auto modifier = [this, &settings](qel::settings::NetworkPorts& record) -> result_t {
    if (SamePorts(record, settings.NetworkPorts)) {
      ORV_TRACE(GetTracer(), kDetail) << interception_texts::kLambdaName << ": "
                                      << " no changes";
      return orv::errors::kFalse;
    }
    ORV_TRACE(GetTracer(), kDetail) << interception_texts::kLambdaName << ": "
                                    << " network ports list changed, applying new";
    record = settings.NetworkPorts;
    return orv::errors::kOk;
  };
  return tools::UpdateServiceSettingsSync<qel::settings::NetworkPorts>(
      GetTracer(), GetServiceLocator(), CLSID_NetworkPorts, modifier, false);
}

result_t TcpInterceptorConfigurator::SetInvalidCertificateHandlerSettings(
    const qel::settings::NetSettings& settings) {
  const auto modifier = [&settings](InvalidCertificateHandlerSettings& record) -> result_t {
    InvalidCertificateHandlerSettings wanted;
    wanted.action = settings.UntrustedCertificateAction;
    wanted.addToAutoExcludes = settings.EncryptedConnectionsScanErrorAction ==
                               qel::EncryptedConnectionsScanErrorAction::AddToAutoExclusions;
    if (record == wanted) {
      return orv::errors::kFalse;
    }
    record.action = wanted.action;
    record.addToAutoExcludes = wanted.addToAutoExcludes;
    return orv::errors::kOk;
  };
  return tools::UpdateServiceSettingsSync<InvalidCertificateHandlerSettings>(
      GetTracer(), GetServiceLocator(), CLSID_InvalidCertificateHandler, modifier, false);
}

result_t TcpInterceptorConfigurator::SetCertificateChainVerifierSettings(
    const qel::settings::NetSettings& settings) {
  const auto modifier = [&settings](crypto::CertificateChainVerificationSettings& record) {
    const bool fullCheck = settings.CertificateVerificationPolicy != 0;
    const uint32_t first = fullCheck ? 7 : 6;
    const uint32_t second = fullCheck ? 7 : 2;
    if (record.value1 == first && record.value2 == second && record.value3 == 60000) {
      return orv::errors::kFalse;
    }
    record.value1 = first;
    record.value2 = second;
    record.value3 = 60000;
    return orv::errors::kOk;
  };
  // The one step that flushes: a written verifier record is also a durable one.
  return tools::UpdateServiceSettingsSync<crypto::CertificateChainVerificationSettings>(
      GetTracer(), GetServiceLocator(), crypto::CLSID_CertificateChainVerifier, modifier, true);
}

}  // namespace qel::tcp_traffic_interceptor

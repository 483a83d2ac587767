// TcpInterceptorConfigurator: the trusted URLs. Writing and reading are not symmetrical on purpose:
// the flag read back is the last entry's `enabled`, which every write sets true.
#include <utility>

#include "component/traffic_processing/traffic_monitor/trusted_urls_settings.h"
#include "orv/check.h"
#include "orv/trace_stream.h"
#include "qel/tools/update_service_settings_sync.h"
#include "tcp_interceptor_configurator.h"
#include "text_conversions.h"
#include "trace_texts.h"

namespace qel::tcp_traffic_interceptor {
namespace {

namespace tm = ::traffic_processing::traffic_monitor;
constexpr uint32_t kDetail = orv::trace_level::kDetail;

}  // namespace

result_t TcpInterceptorConfigurator::SetTrustedAddresses(
    const qel::settings::TrustedAddresses& addresses) {
  ORV_TRACE(GetTracer(), kDetail) << interception_texts::kSetTrustedAddresses;
  // No comparison: written and flushed on every call.
  const auto modifier = [&addresses](tm::TrustedUrlsSettings& record) -> result_t {
    record.useTrustedUrls = addresses.UseTrustedAddresses;
    record.urls.clear();
    record.urls.reserve(addresses.addresses.size());
    for (const orv::types::string16_t& address : addresses.addresses) {
      tm::TrustedUrl url;
      url.url = interception::Trim(address);
      url.enabled = true;
      record.urls.push_back(std::move(url));
    }
    return orv::errors::kOk;
  };
  const result_t result = ORV_TRACE_IF_FAILED_AS(
      GetTracer(),
      tools::UpdateServiceSettingsSync<tm::TrustedUrlsSettings>(
          GetTracer(), GetServiceLocator(), tm::CLSID_TrustedUrls, modifier, true),
      interception_texts::kUpdateTrustedUrlsExpression);
  return ORV_FAILED(result) ? result : orv::errors::kOk;
}

result_t TcpInterceptorConfigurator::GetTrustedAddresses(
    qel::settings::TrustedAddresses& addresses) const {
  ORV_TRACE(GetTracer(), kDetail) << interception_texts::kGetTrustedAddresses;
  uint32_t revision = 0;
  tm::TrustedUrlsSettings record;
  if (const result_t result =
          ORV_TRACE_IF_FAILED_AS(GetTracer(), ReadSettings(tm::CLSID_TrustedUrls, record, revision),
                                 interception_texts::kReadTrustedUrlsExpression)
          << "Cannot get service settings";
      ORV_FAILED(result)) {
    return result;
  }
  qel::settings::TrustedAddresses read;
  read.addresses.reserve(record.urls.size());
  for (const tm::TrustedUrl& url : record.urls) {
    read.addresses.push_back(url.url);
    read.UseTrustedAddresses = url.enabled;
  }
  std::swap(addresses.UseTrustedAddresses, read.UseTrustedAddresses);
  addresses.addresses.swap(read.addresses);
  return orv::errors::kOk;
}

}  // namespace qel::tcp_traffic_interceptor

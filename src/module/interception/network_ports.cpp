#include "network_ports.h"

#include <utility>

#include "component/traffic_processing/traffic_monitor/pdk_settings.h"
#include "orv/check.h"
#include "orv/trace_stream.h"
#include "qel/tools/update_service_settings_sync.h"
#include "text_conversions.h"
#include "trace_texts.h"

namespace qel::tcp_traffic_interceptor {
namespace {

namespace tm = ::traffic_processing::traffic_monitor;
constexpr uint32_t kDetail = orv::trace_level::kDetail;

}  // namespace

NetworkPorts::NetworkPorts(orv::IServiceLocator* locator) : ObjectRootEx(locator) {}

result_t NetworkPorts::StartInterception() {
  ORV_TRACE(GetTracer(), kDetail) << interception_texts::kPortsStartInterception;
  if (m_startCount.load() != 0) {
    ++m_startCount;
    return orv::errors::kOk;
  }
  if (const result_t result = ORV_TRACE_IF_FAILED(GetTracer(), UpdateServiceSettings(GetPorts()))
                              << "Cannot set service settings";
      ORV_FAILED(result)) {
    return result;
  }
  ++m_startCount;
  return orv::errors::kOk;
}

result_t NetworkPorts::StopInterception() {
  ORV_TRACE(GetTracer(), kDetail) << interception_texts::kPortsStopInterception;
  const int32_t count = m_startCount.load();
  if (count < 2) {
    const qel::settings::NetworkPorts empty = qel::settings::NetworkPorts::Empty();
    if (const result_t result = ORV_TRACE_IF_FAILED(GetTracer(), UpdateServiceSettings(empty))
                                << "Cannot set service settings";
        ORV_FAILED(result)) {
      return result;
    }
  }
  if (count > 0) {
    --m_startCount;
  }
  return orv::errors::kOk;
}

result_t NetworkPorts::SetSettings(const qel::settings::NetworkPorts* ports) {
  ORV_TRACE(GetTracer(), kDetail) << interception_texts::kPortsSetSettings;
  if (m_startCount.load() == 0) {
    SetPorts(*ports);
    return orv::errors::kOk;
  }
  if (const result_t result = ORV_TRACE_IF_FAILED(GetTracer(), UpdateServiceSettings(*ports));
      ORV_FAILED(result)) {
    return result;
  }
  SetPorts(*ports);
  return orv::errors::kOk;
}

result_t NetworkPorts::GetSettings(qel::settings::NetworkPorts* ports) {
  ORV_TRACE(GetTracer(), kDetail) << interception_texts::kPortsGetSettings;
  qel::settings::NetworkPorts copy = GetPorts();
  std::swap(ports->mode, copy.mode);
  ports->ports.swap(copy.ports);
  return orv::errors::kOk;
}

result_t NetworkPorts::Construct(const qel::settings::NetworkPorts* ports) {
  ORV_TRACE(GetTracer(), kDetail) << interception_texts::kPortsConstruct;
  SetPorts(*ports);
  return orv::errors::kOk;
}

qel::settings::NetworkPorts NetworkPorts::GetPorts() const {
  const orv::MutexLock lock(m_settingsMutex);
  return m_settings;
}

void NetworkPorts::SetPorts(const qel::settings::NetworkPorts& ports) {
  qel::settings::NetworkPorts copy = ports;  // outside the lock: a copy may throw or allocate
  const orv::MutexLock lock(m_settingsMutex);
  m_settings.mode = copy.mode;
  m_settings.ports.swap(copy.ports);
}

result_t NetworkPorts::UpdateServiceSettings(const qel::settings::NetworkPorts& settings) {
  ORV_TRACE(GetTracer(), kDetail) << interception_texts::kPortsUpdateServiceSettings;
  // Always a write: the engine's record is not compared, so a start is never skipped.
  const auto modifier = [&settings](tm::pdkSettings& record) -> result_t {
    record.ports.clear();
    if (settings.mode == qel::MonitorNetworkPorts::All) {
      record.monitorAllPorts = true;
      return orv::errors::kOk;
    }
    record.monitorAllPorts = false;
    record.ports.reserve(settings.ports.size());
    for (const qel::settings::NetworkPort& port : settings.ports) {
      tm::InterceptedPort intercepted;
      intercepted.enabled = true;
      intercepted.name = interception::Widen(port.name.view());
      intercepted.port = static_cast<uint16_t>(port.port);
      record.ports.push_back(std::move(intercepted));
    }
    return orv::errors::kOk;
  };
  const result_t result = ORV_TRACE_IF_FAILED_AS(
      GetTracer(),
      tools::UpdateServiceSettingsSync<tm::pdkSettings>(GetTracer(), GetServiceLocator(),
                                                        tm::CLDIS_TcpInterceptor, modifier, true),
      interception_texts::kUpdatePortsExpression);
  return ORV_FAILED(result) ? result : orv::errors::kOk;
}

}  // namespace qel::tcp_traffic_interceptor

#pragma once

#include <atomic>
#include <cstdint>

#include "orv/mutex.h"
#include "orv/object_impl.h"
#include "orv/object_root.h"
#include "qel/settings/network_ports.h"
#include "qel/tcp_traffic_interceptor/tcp_interceptor.h"

namespace qel::tcp_traffic_interceptor {

// The host's switch of traffic interception and the keeper of the monitored ports. Start and stop
// become writes of the engine's `pdkSettings` record (ports, or none) through the settings update
// procedure; the engine is never called directly.
// Threads: any host thread. `m_settingsMutex` (plain) guards `m_settings` and is held only for
// a copy or a replacement, never across a service call. `m_startCount` is atomic; its test and
// change are two steps, so two racing first starts may both write the (same) record.
class NetworkPorts : public ITcpInterceptor,
                     public INetworkPortsSettings,
                     public INetworkPortsConstruct,
                     public orv::StandardObjectRoot {
 public:
  using Interfaces =
      orv::InterfaceList<ITcpInterceptor, INetworkPortsSettings, INetworkPortsConstruct>;

  explicit NetworkPorts(orv::IServiceLocator* locator);
  NetworkPorts(const NetworkPorts&) = delete;
  NetworkPorts& operator=(const NetworkPorts&) = delete;

  // ITcpInterceptor
  result_t StartInterception() override;
  result_t StopInterception() override;

  // INetworkPortsSettings
  result_t SetSettings(const qel::settings::NetworkPorts* ports) override;
  result_t GetSettings(qel::settings::NetworkPorts* ports) override;

  // INetworkPortsConstruct
  result_t Construct(const qel::settings::NetworkPorts* ports) override;

 protected:
  ~NetworkPorts() = default;

 private:
  qel::settings::NetworkPorts GetPorts() const ORV_EXCLUDES(m_settingsMutex);
  void SetPorts(const qel::settings::NetworkPorts& ports) ORV_EXCLUDES(m_settingsMutex);
  // Writes `settings` as the engine's port list; 0 or a failure.
  result_t UpdateServiceSettings(const qel::settings::NetworkPorts& settings);

  mutable orv::Mutex m_settingsMutex;
  qel::settings::NetworkPorts m_settings ORV_GUARDED_BY(m_settingsMutex);
  std::atomic<int32_t> m_startCount{0};
};

}  // namespace qel::tcp_traffic_interceptor

#pragma once

#include <cstdint>

#include "component/traffic_processing/traffic_monitor/pdk_settings.h"
#include "orv/intrusive_ptr.h"
#include "orv/object_impl.h"
#include "orv/object_root.h"
#include "qel/service_manager.h"
#include "qel/tcp_traffic_interceptor/tcp_interceptor_configurator.h"
#include "qel/web_av_info_provider.h"

namespace qel::tcp_traffic_interceptor {

// The settings layer's facade over the settings of four services: the TCP interceptor, the network
// ports, the invalid certificate handler and the certificate chain verifier. It keeps no copy of
// any: each read asks the services, each write compares and writes only what differs, so that
// settings saved without a change leave the engine alone. Also answers the exclusion questions of
// IWebAvInfoProvider and keeps the trusted URLs.
// Threads: any host thread. No lock: parallel writers of one record are handled by the revision
// retry of the update procedure; the four reads are not one snapshot.
// Start-up (FinalConstruct) sets the automatic exclusions to mode 1; no object exists without it.
class TcpInterceptorConfigurator : public ITcpInterceptorConfigurator,
                                   public IWebAvInfoProvider,
                                   public orv::StandardObjectRoot {
 public:
  using Interfaces = orv::InterfaceList<ITcpInterceptorConfigurator, IWebAvInfoProvider>;

  explicit TcpInterceptorConfigurator(orv::IServiceLocator* locator);
  TcpInterceptorConfigurator(const TcpInterceptorConfigurator&) = delete;
  TcpInterceptorConfigurator& operator=(const TcpInterceptorConfigurator&) = delete;
  result_t FinalConstruct();

  // ITcpInterceptorConfigurator
  result_t SetNetSettings(const qel::settings::NetSettings& settings) override;
  result_t GetNetSettings(qel::settings::NetSettings& settings) const override;
  result_t SetTrustedAddresses(const qel::settings::TrustedAddresses& addresses) override;
  result_t GetTrustedAddresses(qel::settings::TrustedAddresses& addresses) const override;

  // IWebAvInfoProvider
  result_t GetAutoSslExcludes(qel::ssl::Excludes& excludes) const override;
  result_t GetTrafmonSslExcludes(qel::ssl::Excludes& excludes) const override;
  result_t GetUserSslExcludes(qel::ssl::Excludes& excludes) const override;
  result_t ClearAutoSslExcludes() override;

 protected:
  ~TcpInterceptorConfigurator() = default;

 private:
  // The steps of SetNetSettings: 0 written, 1 nothing to do, negative a failure.
  result_t SetTcpInterceptorSettings(const qel::settings::NetSettings& settings);
  result_t SetNetworkPortSettings(const qel::settings::NetSettings& settings);
  result_t SetInvalidCertificateHandlerSettings(const qel::settings::NetSettings& settings);
  result_t SetCertificateChainVerifierSettings(const qel::settings::NetSettings& settings);

  // GetNetSettings' share of the engine's record: exclusions, scan mode, address exclusions.
  void CopyPdkSettings(const ::traffic_processing::traffic_monitor::pdkSettings& pdkSettings,
                       qel::settings::NetSettings& settings) const;
  // One read of `serviceKey`'s record into `record`.
  template <class Record>
  result_t ReadSettings(uint32_t serviceKey, Record& record, uint32_t& revision) const {
    orv::intrusive_ptr<orv::IObject> descriptor;
    return m_esm->GetServiceSettings2(serviceKey, {&record, Record::kTypeId, descriptor.Ref()},
                                      revision);
  }

  orv::intrusive_ptr<qel::IServiceManager> m_esm;  // set by FinalConstruct
};

}  // namespace qel::tcp_traffic_interceptor

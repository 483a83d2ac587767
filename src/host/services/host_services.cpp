#include "host/host_services.h"

#include "component/traffic_processing/protocollers/ssl/auto_excludes/auto_excludes.h"
#include "component/traffic_processing/traffic_monitor/pdk_settings.h"
#include "component/traffic_processing/traffic_monitor/trusted_urls_settings.h"
#include "crypto/certificate_chain_verification_settings.h"
#include "qel/settings/network_ports.h"
#include "qel/tcp_traffic_interceptor/class_ids.h"
#include "qel/tcp_traffic_interceptor/invalid_certificate_handler_settings.h"

namespace host {

HostServices HostServices::Create(orv::ITracer* tracer,
                                  const std::string& trustedCertificatesDirectory) {
  HostServices services;
  services.allocator = MakeObject<MallocAllocator>();
  services.tracer = orv::intrusive_ptr<orv::ITracer>(tracer);
  services.settings = MakeObject<MemoryServiceManager>();
  SeedDefaultSettings(*services.settings);
  services.locator = MakeObject<ServiceLocator>();
  services.locator->Add<orv::IAllocator>(services.allocator.get());
  if (tracer) {
    services.locator->Add<orv::ITracer>(tracer);
  }
  services.locator->Add<qel::IServiceManager>(services.settings.get());
  services.tasks = MakeObject<TaskManager>();
  services.locator->Add<qel::IQelTaskManager>(services.tasks.get());
  services.events = MakeObject<EventPublisher>();
  services.locator->Add<qel::INonRemoteEventPublisher>(services.events.get());
  services.processes = MakeObject<ProcessManager>();
  services.locator->Add<qel::IProcessManager>(services.processes.get());
  services.autoExcludes = MakeObject<AutoExcludesView>();
  services.locator->Add<traffic_processing::protocollers::ssl::auto_excludes::IAutoExcludesView>(
      services.autoExcludes.get());
  services.trafmonExcludes = MakeObject<UpdatableExcludesView>();
  services.locator->Add<traffic_processing::traffic_monitor::IUpdatableExcludesView>(
      services.trafmonExcludes.get());
  services.fileEvents = MakeObject<InotifyEventsProvider>();
  services.locator->Add<qel::IInotifyEventsProvider>(services.fileEvents.get());
  services.trusted = MakeObject<TrustedCertificatesProvider>(trustedCertificatesDirectory);
  services.locator->Add<qel::ITrustedCertificatesProvider>(services.trusted.get());
  return services;
}

void SeedDefaultSettings(MemoryServiceManager& settings) {
  namespace tti = qel::tcp_traffic_interceptor;
  // One line per record the module reads: its service key and its default value.
  settings.Seed<tti::InvalidCertificateHandlerSettings>(tti::CLSID_InvalidCertificateHandler);
  namespace tm = traffic_processing::traffic_monitor;
  namespace auto_excludes = traffic_processing::protocollers::ssl::auto_excludes;
  settings.Seed<tm::pdkSettings>(tm::CLDIS_TcpInterceptor);
  settings.Seed<qel::settings::NetworkPorts>(tti::CLSID_NetworkPorts);
  settings.Seed<crypto::CertificateChainVerificationSettings>(
      crypto::CLSID_CertificateChainVerifier);
  settings.Seed<tm::TrustedUrlsSettings>(tm::CLSID_TrustedUrls);
  settings.Seed<auto_excludes::AutoExcludesSettings>(auto_excludes::CLSID_AutoExcludes);
}

}  // namespace host

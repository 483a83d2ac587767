#include "host/host_services.h"

#include "qel/tcp_traffic_interceptor/class_ids.h"
#include "qel/tcp_traffic_interceptor/invalid_certificate_handler_settings.h"

namespace host {

HostServices HostServices::Create(orv::ITracer* tracer) {
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
  return services;
}

void SeedDefaultSettings(MemoryServiceManager& settings) {
  namespace tti = qel::tcp_traffic_interceptor;
  // One line per record the module reads: its service key and its default value.
  settings.Seed<tti::InvalidCertificateHandlerSettings>(tti::CLSID_InvalidCertificateHandler);
}

}  // namespace host

#pragma once

#include <cstdint>
#include <string>

#include "host/capturing_tracer.h"
#include "host/event_publisher.h"
#include "host/excludes_views.h"
#include "host/inotify_events_provider.h"
#include "host/malloc_allocator.h"
#include "host/memory_service_manager.h"
#include "host/process_manager.h"
#include "host/service_locator.h"
#include "host/task_manager.h"
#include "host/trusted_certificates_provider.h"
#include "orv/intrusive_ptr.h"
#include "orv/tracer.h"

namespace host {

// The services a host hands to the module, wired into one locator.
struct HostServices {
  orv::intrusive_ptr<MallocAllocator> allocator;
  orv::intrusive_ptr<orv::ITracer> tracer;
  orv::intrusive_ptr<MemoryServiceManager> settings;
  orv::intrusive_ptr<ServiceLocator> locator;
  orv::intrusive_ptr<TaskManager> tasks;                      // no task until configured
  orv::intrusive_ptr<EventPublisher> events;                  // JSON lines on standard output
  orv::intrusive_ptr<ProcessManager> processes;               // the real /proc
  orv::intrusive_ptr<AutoExcludesView> autoExcludes;          // two fixed host masks
  orv::intrusive_ptr<UpdatableExcludesView> trafmonExcludes;  // three fixed entries
  orv::intrusive_ptr<InotifyEventsProvider> fileEvents;       // real inotify, thread on demand
  orv::intrusive_ptr<TrustedCertificatesProvider> trusted;    // PEM files of one directory

  // Allocator, `tracer` and a service manager seeded with the default records, all registered.
  // `trustedCertificatesDirectory`: the PEM files the trusted certificates provider serves (empty:
  // none).
  static HostServices Create(orv::ITracer* tracer,
                             const std::string& trustedCertificatesDirectory = std::string());
};

// Seeds every settings record the host knows with its default value.
void SeedDefaultSettings(MemoryServiceManager& settings);

}  // namespace host

#pragma once

#include <cstdint>
#include <string>

#include "host/host_services.h"
#include "host/module_loader.h"
#include "orv/intrusive_ptr.h"
#include "orv/object.h"
#include "orv/result.h"
#include "orv/tracer.h"

namespace module_host {

// std::runtime_error "<call> failed: 0x%08x" when `result` is a failure.
void Check(result_t result, const char* call);

// The whole of a file; std::runtime_error "cannot open <path>".
std::string ReadWholeFile(const std::string& path);

// Another interface of the same object (the module's objects implement several).
template <class I>
orv::intrusive_ptr<I> As(orv::IObject* object) {
  orv::intrusive_ptr<I> found;
  Check(object->QueryInterface(I::kIid, reinterpret_cast<void**>(found.Ref())), "QueryInterface");
  return found;
}

// The module loaded into fresh host services. Objects made through the session must be released
// before it ends: declare them after it. The destructor unloads the module when it may go.
class ModuleSession {
 public:
  // `trustedDirectory`: the PEM files of the host's trusted certificates provider (empty: none).
  ModuleSession(const std::string& modulePath, orv::ITracer* tracer,
                const std::string& trustedDirectory = std::string())
      : m_module(modulePath), m_services(host::HostServices::Create(tracer, trustedDirectory)) {}
  ~ModuleSession() { m_module.Unload(); }
  ModuleSession(const ModuleSession&) = delete;
  ModuleSession& operator=(const ModuleSession&) = delete;

  host::HostServices& services() { return m_services; }

  // An object of `classId` made by the module's factory, asked for T.
  template <class T>
  orv::intrusive_ptr<T> Create(uint32_t classId) {
    orv::intrusive_ptr<orv::IObjectFactory> factory;
    Check(m_module.GetObjectFactory(m_services.locator.get(), classId, factory.Ref()),
          "orvGetObjectFactory");
    orv::intrusive_ptr<T> object;
    Check(factory->CreateInstance(m_services.locator.get(), T::kIid,
                                  reinterpret_cast<void**>(object.Ref())),
          "CreateInstance");
    return object;
  }

 private:
  host::LoadedModule m_module;
  host::HostServices m_services;
};

}  // namespace module_host

#pragma once

#include <cstdint>
#include <string>

#include "orv/object.h"

namespace host {

// The module loaded with dlopen(RTLD_NOW | RTLD_LOCAL) and its two entry points. Unload() closes
// the library only after orvCanUnloadModule() gave 0; the destructor does the same and otherwise
// leaves the library loaded.
class LoadedModule {
 public:
  using GetObjectFactoryFn = result_t (*)(orv::IServiceLocator*, uint32_t, orv::IObjectFactory**);
  using CanUnloadModuleFn = result_t (*)();

  // Throws std::runtime_error with dlerror()'s text when the library or an export is missing.
  explicit LoadedModule(const std::string& path);
  ~LoadedModule();
  LoadedModule(const LoadedModule&) = delete;
  LoadedModule& operator=(const LoadedModule&) = delete;

  result_t GetObjectFactory(orv::IServiceLocator* locator, uint32_t classId,
                            orv::IObjectFactory** factory) const;
  result_t CanUnloadModule() const;
  // dlclose when the module says it may go; returns orvCanUnloadModule's answer.
  result_t Unload();
  bool loaded() const noexcept { return m_handle != nullptr; }

  // The module next to the running executable, <dir of
  // /proc/self/exe>/libtcp_traffic_interceptor.so, or when it is not there and the program lies in
  // an installed product tree, <that dir>/../lib/libtcp_traffic_interceptor.so.
  static std::string DefaultPath();

 private:
  void* m_handle = nullptr;
  GetObjectFactoryFn m_getObjectFactory = nullptr;
  CanUnloadModuleFn m_canUnloadModule = nullptr;
};

}  // namespace host

#include "host/module_loader.h"

#include <dlfcn.h>

#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace host {
namespace {

constexpr char kModuleFileName[] = "libtcp_traffic_interceptor.so";

std::string LastDlError(const std::string& context) {
  const char* text = dlerror();
  return context + ": " + (text ? text : "unknown error");
}

}  // namespace

LoadedModule::LoadedModule(const std::string& path) {
  m_handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!m_handle) {
    throw std::runtime_error(LastDlError("cannot load " + path));
  }
  dlerror();
  m_getObjectFactory = reinterpret_cast<GetObjectFactoryFn>(dlsym(m_handle, "orvGetObjectFactory"));
  if (!m_getObjectFactory) {
    const std::string message = LastDlError(path);
    dlclose(m_handle);
    throw std::runtime_error(message);
  }
  m_canUnloadModule = reinterpret_cast<CanUnloadModuleFn>(dlsym(m_handle, "orvCanUnloadModule"));
  if (!m_canUnloadModule) {
    const std::string message = LastDlError(path);
    dlclose(m_handle);
    throw std::runtime_error(message);
  }
}

LoadedModule::~LoadedModule() { Unload(); }

result_t LoadedModule::GetObjectFactory(orv::IServiceLocator* locator, uint32_t classId,
                                        orv::IObjectFactory** factory) const {
  if (!m_handle) {
    if (factory) {
      *factory = nullptr;
    }
    return orv::errors::kUnexpected;
  }
  return m_getObjectFactory(locator, classId, factory);
}

result_t LoadedModule::CanUnloadModule() const {
  return m_handle ? m_canUnloadModule() : orv::errors::kOk;
}

result_t LoadedModule::Unload() {
  if (!m_handle) {
    return orv::errors::kOk;
  }
  // A module with live objects stays mapped: their code would vanish under them.
  const result_t answer = m_canUnloadModule();
  if (answer == orv::errors::kOk) {
    dlclose(m_handle);
    m_handle = nullptr;
    m_getObjectFactory = nullptr;
    m_canUnloadModule = nullptr;
  }
  return answer;
}

std::string LoadedModule::DefaultPath() {
  std::error_code error;
  const std::filesystem::path executable = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) {
    return kModuleFileName;
  }
  // A build directory keeps the program and the module in bin/; the installed product tree keeps
  // the program in bin/ and the module in lib/.
  const std::filesystem::path beside = executable.parent_path() / kModuleFileName;
  const std::filesystem::path installed =
      executable.parent_path().parent_path() / "lib" / kModuleFileName;
  return !std::filesystem::exists(beside, error) && std::filesystem::exists(installed, error)
             ? installed.string()
             : beside.string();
}

}  // namespace host

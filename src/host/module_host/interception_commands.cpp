#include "interception_commands.h"

#include <fstream>
#include <stdexcept>
#include <utility>

#include "component/traffic_processing/traffic_monitor/pdk_settings.h"
#include "host/host_services.h"
#include "host/module_loader.h"
#include "info_report.h"
#include "orv/intrusive_ptr.h"
#include "orv/result.h"
#include "qel/tcp_traffic_interceptor/class_ids.h"
#include "qel/tcp_traffic_interceptor/tcp_interceptor.h"
#include "qel/tcp_traffic_interceptor/tcp_interceptor_configurator.h"
#include "settings_json.h"

namespace module_host {
namespace {

namespace tti = qel::tcp_traffic_interceptor;
namespace tm = ::traffic_processing::traffic_monitor;
using nlohmann::json;

nlohmann::json ReadJsonFile(const std::string& path) {
  std::ifstream file(path);
  if (!file) {
    throw std::runtime_error("cannot open " + path);
  }
  try {
    return json::parse(file);
  } catch (const json::exception& error) {
    throw std::runtime_error(path + ": " + error.what());
  }
}

std::string ResultText(result_t result) { return Hex(static_cast<uint32_t>(result)); }

// The module loaded into fresh host services; objects made here are released before it unloads.
class Session {
 public:
  Session(const std::string& modulePath, orv::ITracer* tracer)
      : m_module(modulePath), m_services(host::HostServices::Create(tracer)) {}
  ~Session() { m_module.Unload(); }

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
  json Counters() const {
    return {{"reads", m_services.settings->reads()},
            {"writes", m_services.settings->writes()},
            {"flushes", m_services.settings->flushes()}};
  }
  json Engine() const {
    tm::pdkSettings record;
    m_services.settings->Read(tm::CLDIS_TcpInterceptor, record);
    return EngineToJson(record);
  }

 private:
  static void Check(result_t result, const char* call) {
    if (ORV_FAILED(result)) {
      throw std::runtime_error(std::string(call) + " failed: " + ResultText(result));
    }
  }

  host::LoadedModule m_module;
  host::HostServices m_services;
};

// One application of `settings`, with what it cost.
json Apply(Session& session, tti::ITcpInterceptorConfigurator& configurator,
           const qel::settings::NetSettings& settings) {
  const json before = session.Counters();
  const result_t result = configurator.SetNetSettings(settings);
  const json after = session.Counters();
  json cost;
  for (const char* counter : {"reads", "writes", "flushes"}) {
    cost[counter] = after[counter].get<uint64_t>() - before[counter].get<uint64_t>();
  }
  return {{"result", ResultText(result)}, {"cost", cost}};
}

}  // namespace

json RunPorts(const std::string& modulePath, orv::ITracer* tracer, const std::string& action,
              const std::string& file) {
  const qel::settings::NetworkPorts ports =
      action == "set" ? NetworkPortsFromJson(ReadJsonFile(file)) : qel::settings::NetworkPorts();
  Session session(modulePath, tracer);
  json report;
  {
    auto interceptor = session.Create<tti::ITcpInterceptor>(tti::CLSID_NetworkPorts);
    result_t result = 0;
    if (action == "start") {
      result = interceptor->StartInterception();
    } else if (action == "stop") {
      result = interceptor->StopInterception();
    } else {
      orv::intrusive_ptr<tti::INetworkPortsSettings> settings;
      interceptor->QueryInterface(tti::INetworkPortsSettings::kIid,
                                  reinterpret_cast<void**>(settings.Ref()));
      result = interceptor->StartInterception();
      if (ORV_SUCCEEDED(result)) {
        result = settings->SetSettings(&ports);
      }
    }
    report = {{"action", action}, {"result", ResultText(result)}, {"engine", session.Engine()}};
  }
  report["counters"] = session.Counters();
  return report;
}

json RunNetSettings(const std::string& modulePath, orv::ITracer* tracer, const std::string& action,
                    const std::string& file, int times) {
  const qel::settings::NetSettings wanted =
      action == "set" ? NetSettingsFromJson(ReadJsonFile(file)) : qel::settings::NetSettings();
  Session session(modulePath, tracer);
  json report = json::object();
  {
    auto configurator =
        session.Create<tti::ITcpInterceptorConfigurator>(tti::CLSID_TcpInterceptorConfigurator);
    if (action == "set") {
      json applied = json::array();
      for (int i = 0; i < times; ++i) {
        applied.push_back(Apply(session, *configurator, wanted));
      }
      report["applied"] = applied;
    }
    qel::settings::NetSettings settings;
    const result_t result = configurator->GetNetSettings(settings);
    report["result"] = ResultText(result);
    report["settings"] = ToJson(settings);
  }
  return report;
}

json RunTrusted(const std::string& modulePath, orv::ITracer* tracer, const std::string& action,
                const std::string& file) {
  const qel::settings::TrustedAddresses wanted = action == "set"
                                                     ? TrustedAddressesFromJson(ReadJsonFile(file))
                                                     : qel::settings::TrustedAddresses();
  Session session(modulePath, tracer);
  json report = json::object();
  {
    auto configurator =
        session.Create<tti::ITcpInterceptorConfigurator>(tti::CLSID_TcpInterceptorConfigurator);
    if (action == "set") {
      report["set"] = ResultText(configurator->SetTrustedAddresses(wanted));
    }
    qel::settings::TrustedAddresses read;
    report["result"] = ResultText(configurator->GetTrustedAddresses(read));
    report["trusted"] = ToJson(read);
  }
  return report;
}

json RunInterception(const std::string& modulePath, orv::ITracer* tracer, const std::string& file) {
  const qel::settings::NetSettings wanted = NetSettingsFromJson(ReadJsonFile(file));
  Session session(modulePath, tracer);
  json steps = json::array();
  {
    auto interceptor = session.Create<tti::ITcpInterceptor>(tti::CLSID_NetworkPorts);
    auto configurator =
        session.Create<tti::ITcpInterceptorConfigurator>(tti::CLSID_TcpInterceptorConfigurator);
    const result_t started = interceptor->StartInterception();
    steps.push_back({{"step", "start interception"},
                     {"result", ResultText(started)},
                     {"enginePorts", session.Engine()["ports"].size()}});
    json first = Apply(session, *configurator, wanted);
    first["step"] = "apply settings";
    steps.push_back(first);
    json second = Apply(session, *configurator, wanted);
    second["step"] = "apply the same settings again";
    steps.push_back(second);
    const result_t stopped = interceptor->StopInterception();
    steps.push_back({{"step", "stop interception"},
                     {"result", ResultText(stopped)},
                     {"enginePorts", session.Engine()["ports"].size()}});
  }
  return {{"steps", steps}, {"counters", session.Counters()}};
}

}  // namespace module_host

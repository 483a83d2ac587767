#include "interception_commands.h"

#include <stdexcept>
#include <utility>

#include "component/traffic_processing/traffic_monitor/pdk_settings.h"
#include "host/host_services.h"
#include "info_report.h"
#include "module_session.h"
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
  const std::string text = ReadWholeFile(path);
  try {
    return json::parse(text);
  } catch (const json::exception& error) {
    throw std::runtime_error(path + ": " + error.what());
  }
}

// The record of a settings file; a value of the wrong type is named with the file and its path.
template <class Record>
Record ReadSettings(const std::string& path, Record (*fromJson)(const json&)) {
  const json document = ReadJsonFile(path);
  try {
    return fromJson(document);
  } catch (const std::invalid_argument& error) {
    throw std::runtime_error(path + ": " + error.what());
  }
}

std::string ResultText(result_t result) { return Hex(static_cast<uint32_t>(result)); }

// What the module cost the settings store so far.
json Counters(ModuleSession& session) {
  const host::MemoryServiceManager& settings = *session.services().settings;
  return {
      {"reads", settings.reads()}, {"writes", settings.writes()}, {"flushes", settings.flushes()}};
}

// The engine's record as the module left it.
json EngineRecord(ModuleSession& session) {
  tm::pdkSettings record;
  session.services().settings->Read(tm::CLDIS_TcpInterceptor, record);
  return EngineToJson(record);
}

// One application of `settings`, with what it cost.
json Apply(ModuleSession& session, tti::ITcpInterceptorConfigurator& configurator,
           const qel::settings::NetSettings& settings) {
  const json before = Counters(session);
  const result_t result = configurator.SetNetSettings(settings);
  const json after = Counters(session);
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
      action == "set" ? ReadSettings(file, NetworkPortsFromJson) : qel::settings::NetworkPorts();
  ModuleSession session(modulePath, tracer);
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
    report = {
        {"action", action}, {"result", ResultText(result)}, {"engine", EngineRecord(session)}};
  }
  report["counters"] = Counters(session);
  return report;
}

json RunNetSettings(const std::string& modulePath, orv::ITracer* tracer, const std::string& action,
                    const std::string& file, int times) {
  const qel::settings::NetSettings wanted =
      action == "set" ? ReadSettings(file, NetSettingsFromJson) : qel::settings::NetSettings();
  ModuleSession session(modulePath, tracer);
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
                                                     ? ReadSettings(file, TrustedAddressesFromJson)
                                                     : qel::settings::TrustedAddresses();
  ModuleSession session(modulePath, tracer);
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
  const qel::settings::NetSettings wanted = ReadSettings(file, NetSettingsFromJson);
  ModuleSession session(modulePath, tracer);
  json steps = json::array();
  {
    auto interceptor = session.Create<tti::ITcpInterceptor>(tti::CLSID_NetworkPorts);
    auto configurator =
        session.Create<tti::ITcpInterceptorConfigurator>(tti::CLSID_TcpInterceptorConfigurator);
    const result_t started = interceptor->StartInterception();
    steps.push_back({{"step", "start interception"},
                     {"result", ResultText(started)},
                     {"enginePorts", EngineRecord(session)["ports"].size()}});
    json first = Apply(session, *configurator, wanted);
    first["step"] = "apply settings";
    steps.push_back(first);
    json second = Apply(session, *configurator, wanted);
    second["step"] = "apply the same settings again";
    steps.push_back(second);
    const result_t stopped = interceptor->StopInterception();
    steps.push_back({{"step", "stop interception"},
                     {"result", ResultText(stopped)},
                     {"enginePorts", EngineRecord(session)["ports"].size()}});
  }
  return {{"steps", steps}, {"counters", Counters(session)}};
}

}  // namespace module_host

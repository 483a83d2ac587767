#include "settings_json.h"

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "text_conversion.h"

namespace module_host {
namespace {

namespace tm = ::traffic_processing::traffic_monitor;
using nlohmann::json;

std::string Text(const orv::types::string8_t& text) { return std::string(text.view()); }

json Excludes(const orv::types::vector_t<qel::settings::EndpointExclude>& excludes) {
  json list = json::array();
  for (const qel::settings::EndpointExclude& exclude : excludes) {
    list.push_back({{"address", Text(exclude.address)}, {"port", exclude.port}});
  }
  return list;
}

// Where a value sits in the document, for messages: "NetworkPorts.ports[0].port".
std::string Member(const std::string& path, const char* name) {
  return path.empty() ? name : path + "." + name;
}

std::string Element(const std::string& path, size_t index) {
  return path + "[" + std::to_string(index) + "]";
}

[[noreturn]] void Refuse(const std::string& path, const std::string& expected, const json& value) {
  throw std::invalid_argument((path.empty() ? std::string("the document") : path) + ": expected " +
                              expected + ", found " + value.type_name());
}

// The value as T, or std::invalid_argument naming the path and the type T needs. Numbers are
// unsigned integers that fit T: nlohmann would wrap a negative or a large one without a word.
template <class T>
T As(const json& value, const std::string& path) {
  if constexpr (std::is_same_v<T, bool>) {
    if (!value.is_boolean()) {
      Refuse(path, "a boolean", value);
    }
  } else if constexpr (std::is_same_v<T, std::string>) {
    if (!value.is_string()) {
      Refuse(path, "a string", value);
    }
  } else {
    static_assert(std::is_unsigned_v<T>);
    if (!value.is_number_unsigned() || value.get<uint64_t>() > std::numeric_limits<T>::max()) {
      Refuse(path, "an integer from 0 to " + std::to_string(std::numeric_limits<T>::max()), value);
    }
  }
  return value.get<T>();
}

const json& Object(const json& value, const std::string& path) {
  if (!value.is_object()) {
    Refuse(path, "an object", value);
  }
  return value;
}

// The elements of the array at `path` with their paths.
template <class Visit>
void ForEach(const json& list, const std::string& path, Visit visit) {
  if (!list.is_array()) {
    Refuse(path, "an array", list);
  }
  for (size_t index = 0; index < list.size(); ++index) {
    visit(list[index], Element(path, index));
  }
}

// The member `name` of the object at `path` into `field`; a missing member keeps the field.
template <class T>
void Read(const json& object, const std::string& path, const char* name, T& field) {
  if (const auto found = object.find(name); found != object.end()) {
    field = As<T>(*found, Member(path, name));
  }
}

// A member holding a number of an enumeration.
template <class Enum>
void ReadNumber(const json& object, const std::string& path, const char* name, Enum& field) {
  uint32_t number = field;
  Read(object, path, name, number);
  field = static_cast<Enum>(number);
}

orv::types::vector_t<qel::settings::EndpointExclude> ExcludesFromJson(const json& list,
                                                                      const std::string& path) {
  orv::types::vector_t<qel::settings::EndpointExclude> excludes;
  ForEach(list, path, [&](const json& entry, const std::string& at) {
    std::string address;
    uint16_t port = 0;
    Read(Object(entry, at), at, "address", address);
    Read(entry, at, "port", port);
    excludes.push_back(qel::settings::EndpointExclude{orv::types::string8_t(address), port});
  });
  return excludes;
}

qel::settings::NetworkPorts NetworkPortsAt(const json& json, const std::string& path) {
  qel::settings::NetworkPorts ports;
  ReadNumber(Object(json, path), path, "mode", ports.mode);
  if (const auto list = json.find("ports"); list != json.end()) {
    ports.ports.clear();
    ForEach(*list, Member(path, "ports"), [&](const nlohmann::json& entry, const std::string& at) {
      std::string name;
      uint32_t port = 0;
      Read(Object(entry, at), at, "name", name);
      Read(entry, at, "port", port);
      ports.ports.push_back(qel::settings::NetworkPort{orv::types::string8_t(name), port});
    });
  }
  return ports;
}

}  // namespace

json ToJson(const qel::settings::NetworkPorts& ports) {
  json list = json::array();
  for (const qel::settings::NetworkPort& port : ports.ports) {
    list.push_back({{"name", Text(port.name)}, {"port", port.port}});
  }
  return {{"mode", static_cast<uint32_t>(ports.mode)}, {"ports", list}};
}

json ToJson(const qel::settings::NetSettings& settings) {
  json sslExcludes = json::array();
  for (const orv::types::string8_t& exclude : settings.sslExcludes) {
    sslExcludes.push_back(Text(exclude));
  }
  return {
      {"EncryptedConnectionsScan", settings.EncryptedConnectionsScan},
      {"EncryptedConnectionsScanErrorAction",
       static_cast<uint32_t>(settings.EncryptedConnectionsScanErrorAction)},
      {"ManageExclusions", settings.ManageExclusions},
      {"sslExcludes", sslExcludes},
      {"UntrustedCertificateAction", static_cast<uint32_t>(settings.UntrustedCertificateAction)},
      {"CertificateVerificationPolicy",
       static_cast<uint32_t>(settings.CertificateVerificationPolicy)},
      {"endpointExcludes", Excludes(settings.endpointExcludes)},
      {"outgoingExcludes", Excludes(settings.outgoingExcludes)},
      {"NetworkPorts", ToJson(settings.NetworkPorts)},
  };
}

json ToJson(const qel::settings::TrustedAddresses& addresses) {
  json list = json::array();
  for (const orv::types::string16_t& address : addresses.addresses) {
    list.push_back(orv::Utf16ToUtf8(address.view()));
  }
  return {{"addresses", list}, {"UseTrustedAddresses", addresses.UseTrustedAddresses}};
}

json EngineToJson(const tm::pdkSettings& record) {
  json ports = json::array();
  for (const tm::InterceptedPort& port : record.ports) {
    ports.push_back({{"enabled", port.enabled},
                     {"name", orv::Utf16ToUtf8(port.name.view())},
                     {"port", port.port}});
  }
  return {{"monitorAllPorts", record.monitorAllPorts}, {"ports", ports}};
}

qel::settings::NetworkPorts NetworkPortsFromJson(const json& json) {
  return NetworkPortsAt(json, "");
}

qel::settings::NetSettings NetSettingsFromJson(const json& json) {
  qel::settings::NetSettings settings;
  Read(Object(json, ""), "", "EncryptedConnectionsScan", settings.EncryptedConnectionsScan);
  Read(json, "", "ManageExclusions", settings.ManageExclusions);
  ReadNumber(json, "", "EncryptedConnectionsScanErrorAction",
             settings.EncryptedConnectionsScanErrorAction);
  ReadNumber(json, "", "UntrustedCertificateAction", settings.UntrustedCertificateAction);
  ReadNumber(json, "", "CertificateVerificationPolicy", settings.CertificateVerificationPolicy);
  if (const auto list = json.find("sslExcludes"); list != json.end()) {
    ForEach(*list, "sslExcludes", [&](const nlohmann::json& entry, const std::string& at) {
      settings.sslExcludes.push_back(orv::types::string8_t(As<std::string>(entry, at)));
    });
  }
  if (const auto list = json.find("endpointExcludes"); list != json.end()) {
    settings.endpointExcludes = ExcludesFromJson(*list, "endpointExcludes");
  }
  if (const auto list = json.find("outgoingExcludes"); list != json.end()) {
    settings.outgoingExcludes = ExcludesFromJson(*list, "outgoingExcludes");
  }
  if (const auto ports = json.find("NetworkPorts"); ports != json.end()) {
    settings.NetworkPorts = NetworkPortsAt(*ports, "NetworkPorts");
  }
  return settings;
}

qel::settings::TrustedAddresses TrustedAddressesFromJson(const json& json) {
  qel::settings::TrustedAddresses addresses;
  Read(Object(json, ""), "", "UseTrustedAddresses", addresses.UseTrustedAddresses);
  if (const auto list = json.find("addresses"); list != json.end()) {
    ForEach(*list, "addresses", [&](const nlohmann::json& entry, const std::string& at) {
      addresses.addresses.push_back(
          orv::types::string16_t(orv::Utf8ToUtf16(As<std::string>(entry, at))));
    });
  }
  return addresses;
}

}  // namespace module_host

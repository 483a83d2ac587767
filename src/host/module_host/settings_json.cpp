#include "settings_json.h"

#include <cstdint>
#include <stdexcept>
#include <string>

namespace module_host {
namespace {

namespace tm = ::traffic_processing::traffic_monitor;
using nlohmann::json;

// UTF-16 to UTF-8; a lone surrogate becomes U+FFFD.
std::string Utf8(std::u16string_view text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    char32_t c = text[i];
    if (c >= 0xD800 && c < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
        text[i + 1] < 0xE000) {
      c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00);
    } else if (c >= 0xD800 && c < 0xE000) {
      c = 0xFFFD;
    }
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else if (c < 0x800) {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      out += static_cast<char>(0xE0 | (c >> 12));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | (c >> 18));
      out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return out;
}

// UTF-8 (as nlohmann's parser has already checked it) to UTF-16.
std::u16string Utf16(std::string_view text) {
  std::u16string out;
  for (size_t i = 0; i < text.size();) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const size_t length = byte < 0x80 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
    if (i + length > text.size()) {
      throw std::runtime_error("cut UTF-8 sequence");
    }
    char32_t c = length == 1 ? byte : byte & (0x7F >> length);
    for (size_t k = 1; k < length; ++k) {
      c = (c << 6) | (static_cast<unsigned char>(text[i + k]) & 0x3F);
    }
    if (c > 0xFFFF) {
      c -= 0x10000;
      out += static_cast<char16_t>(0xD800 + (c >> 10));
      out += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
    } else {
      out += static_cast<char16_t>(c);
    }
    i += length;
  }
  return out;
}

std::string Text(const orv::types::string8_t& text) { return std::string(text.view()); }

json Excludes(const orv::types::vector_t<qel::settings::EndpointExclude>& excludes) {
  json list = json::array();
  for (const qel::settings::EndpointExclude& exclude : excludes) {
    list.push_back({{"address", Text(exclude.address)}, {"port", exclude.port}});
  }
  return list;
}

orv::types::vector_t<qel::settings::EndpointExclude> ExcludesFromJson(const json& list) {
  orv::types::vector_t<qel::settings::EndpointExclude> excludes;
  for (const json& entry : list) {
    excludes.push_back(
        qel::settings::EndpointExclude{orv::types::string8_t(entry.value("address", std::string())),
                                       entry.value("port", uint16_t{0})});
  }
  return excludes;
}

template <class T>
void Read(const json& object, const char* name, T& field) {
  if (const auto found = object.find(name); found != object.end()) {
    field = found->get<T>();
  }
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
    list.push_back(Utf8(address.view()));
  }
  return {{"addresses", list}, {"UseTrustedAddresses", addresses.UseTrustedAddresses}};
}

json EngineToJson(const tm::pdkSettings& record) {
  json ports = json::array();
  for (const tm::InterceptedPort& port : record.ports) {
    ports.push_back(
        {{"enabled", port.enabled}, {"name", Utf8(port.name.view())}, {"port", port.port}});
  }
  return {{"monitorAllPorts", record.monitorAllPorts}, {"ports", ports}};
}

qel::settings::NetworkPorts NetworkPortsFromJson(const json& json) {
  qel::settings::NetworkPorts ports;
  uint32_t mode = ports.mode;
  Read(json, "mode", mode);
  ports.mode = static_cast<qel::MonitorNetworkPorts::Type>(mode);
  if (const auto list = json.find("ports"); list != json.end()) {
    ports.ports.clear();
    for (const nlohmann::json& entry : *list) {
      ports.ports.push_back(
          qel::settings::NetworkPort{orv::types::string8_t(entry.value("name", std::string())),
                                     entry.value("port", uint32_t{0})});
    }
  }
  return ports;
}

qel::settings::NetSettings NetSettingsFromJson(const json& json) {
  qel::settings::NetSettings settings;
  Read(json, "EncryptedConnectionsScan", settings.EncryptedConnectionsScan);
  Read(json, "ManageExclusions", settings.ManageExclusions);
  uint32_t number = settings.EncryptedConnectionsScanErrorAction;
  Read(json, "EncryptedConnectionsScanErrorAction", number);
  settings.EncryptedConnectionsScanErrorAction =
      static_cast<qel::EncryptedConnectionsScanErrorAction::Type>(number);
  number = settings.UntrustedCertificateAction;
  Read(json, "UntrustedCertificateAction", number);
  settings.UntrustedCertificateAction = static_cast<qel::UntrustedCertificateAction::Type>(number);
  number = settings.CertificateVerificationPolicy;
  Read(json, "CertificateVerificationPolicy", number);
  settings.CertificateVerificationPolicy =
      static_cast<qel::CertificateVerificationPolicy::Type>(number);
  if (const auto list = json.find("sslExcludes"); list != json.end()) {
    for (const nlohmann::json& entry : *list) {
      settings.sslExcludes.push_back(orv::types::string8_t(entry.get<std::string>()));
    }
  }
  if (const auto list = json.find("endpointExcludes"); list != json.end()) {
    settings.endpointExcludes = ExcludesFromJson(*list);
  }
  if (const auto list = json.find("outgoingExcludes"); list != json.end()) {
    settings.outgoingExcludes = ExcludesFromJson(*list);
  }
  if (const auto ports = json.find("NetworkPorts"); ports != json.end()) {
    settings.NetworkPorts = NetworkPortsFromJson(*ports);
  }
  return settings;
}

qel::settings::TrustedAddresses TrustedAddressesFromJson(const json& json) {
  qel::settings::TrustedAddresses addresses;
  Read(json, "UseTrustedAddresses", addresses.UseTrustedAddresses);
  if (const auto list = json.find("addresses"); list != json.end()) {
    for (const nlohmann::json& entry : *list) {
      addresses.addresses.push_back(orv::types::string16_t(Utf16(entry.get<std::string>())));
    }
  }
  return addresses;
}

}  // namespace module_host

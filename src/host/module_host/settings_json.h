#pragma once

#include <nlohmann/json.hpp>

#include "component/traffic_processing/traffic_monitor/pdk_settings.h"
#include "qel/settings/net_settings.h"
#include "qel/settings/network_ports.h"
#include "qel/settings/trusted_addresses.h"

namespace module_host {

// The settings records as JSON, field names as in the records. Reading starts from the record's
// defaults: a missing field keeps its default; a value of the wrong type, or a number that is not
// an unsigned integer the field can hold, throws std::invalid_argument with its path and the type
// expected ("ports[0].port: expected an integer from 0 to 4294967295, found string"). 16-bit
// texts are UTF-8 in JSON.
nlohmann::json ToJson(const qel::settings::NetworkPorts& ports);
nlohmann::json ToJson(const qel::settings::NetSettings& settings);
nlohmann::json ToJson(const qel::settings::TrustedAddresses& addresses);
// What the engine is told: monitorAllPorts and the intercepted ports.
nlohmann::json EngineToJson(const traffic_processing::traffic_monitor::pdkSettings& record);

qel::settings::NetworkPorts NetworkPortsFromJson(const nlohmann::json& json);
qel::settings::NetSettings NetSettingsFromJson(const nlohmann::json& json);
qel::settings::TrustedAddresses TrustedAddressesFromJson(const nlohmann::json& json);

}  // namespace module_host

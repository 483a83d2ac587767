#pragma once

#include <cstdint>

#include "orv/object.h"
#include "qel/settings/network_ports.h"

namespace qel::tcp_traffic_interceptor {

// The host's on/off switch of traffic interception (NetworkPorts, first interface).
struct ITcpInterceptor : orv::IObject {
  static constexpr uint32_t kIid = 0xbf2659a6;
  // Slot 3: interception on; only the first of nested starts writes the engine's record.
  virtual result_t StartInterception() = 0;
  // Slot 4: interception off when the last start is undone; writes an empty port list.
  virtual result_t StopInterception() = 0;

 protected:
  ~ITcpInterceptor() = default;
};

// The stored port list of NetworkPorts. Pointers are not checked.
struct INetworkPortsSettings : orv::IObject {
  static constexpr uint32_t kIid = 0x29e5e2f2;
  // Slot 3: replaces the list; while interception is on the engine gets it first.
  virtual result_t SetSettings(const qel::settings::NetworkPorts* ports) = 0;
  // Slot 4: swaps a copy of the list into *ports; 0.
  virtual result_t GetSettings(qel::settings::NetworkPorts* ports) = 0;

 protected:
  ~INetworkPortsSettings() = default;
};

// The initial port list of NetworkPorts. The pointer is not checked.
struct INetworkPortsConstruct : orv::IObject {
  static constexpr uint32_t kIid = 0xe2845fa0;
  // Slot 3: stores a copy; touches neither the start count nor the engine; 0.
  virtual result_t Construct(const qel::settings::NetworkPorts* ports) = 0;

 protected:
  ~INetworkPortsConstruct() = default;
};

}  // namespace qel::tcp_traffic_interceptor

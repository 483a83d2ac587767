#pragma once

#include <cstdint>

#include "orv/object.h"
#include "qel/settings/net_settings.h"
#include "qel/settings/trusted_addresses.h"

namespace qel::tcp_traffic_interceptor {

// The settings layer's view of the network settings of four services (configurator, first).
struct ITcpInterceptorConfigurator : orv::IObject {
  static constexpr uint32_t kIid = 0x8bb1524a;
  // Slot 3: 0 when a service was written, 1 when nothing changed, a failure otherwise. Never
  // throws.
  virtual result_t SetNetSettings(const qel::settings::NetSettings& settings) = 0;
  // Slot 4: fills what the four services hold; fields not reached keep their values.
  virtual result_t GetNetSettings(qel::settings::NetSettings& settings) const = 0;
  // Slot 5: writes and flushes the trusted URLs record on every call; 0 or a failure.
  virtual result_t SetTrustedAddresses(const qel::settings::TrustedAddresses& addresses) = 0;
  // Slot 6: the stored list; the flag comes from the last entry (true when empty).
  virtual result_t GetTrustedAddresses(qel::settings::TrustedAddresses& addresses) const = 0;

 protected:
  ~ITcpInterceptorConfigurator() = default;
};

}  // namespace qel::tcp_traffic_interceptor

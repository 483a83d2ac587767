#pragma once

#include <cstdint>

#include "orv/object.h"

namespace traffic_processing::traffic_monitor {

// The client side of an intercepted connection. The handler zeroes it; the engine writes the pid.
struct ClientInfo {
  uint32_t pid = 0;  // the client's process id
};

static_assert(sizeof(ClientInfo) == 4 && alignof(ClientInfo) == 4);

// The engine's TCP connection object; asked for nothing but its client (no identifier needed).
struct IConnectionInfo : orv::IObject {
  // Slot 3: fills `clientInfo`.
  virtual result_t GetClientInfo(ClientInfo& clientInfo) = 0;

 protected:
  ~IConnectionInfo() = default;
};

}  // namespace traffic_processing::traffic_monitor

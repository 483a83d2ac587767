#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_MonitorNetworkPorts(ROW) \
  ROW(Selected, 0)                             \
  ROW(All, 1)

namespace qel::MonitorNetworkPorts {
enum Type : uint32_t { QEL_ENUM_ROWS_MonitorNetworkPorts(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::MonitorNetworkPorts

QEL_ENUM_INFO(MonitorNetworkPorts, 48, true, true)

#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_DeviceClassPolicy(ROW) \
  ROW(Allow, 0)                              \
  ROW(Block, 1)                              \
  ROW(DependsOnBus, 2)

namespace qel::DeviceClassPolicy {
enum Type : uint32_t { QEL_ENUM_ROWS_DeviceClassPolicy(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::DeviceClassPolicy

QEL_ENUM_INFO(DeviceClassPolicy, 41, true, false)

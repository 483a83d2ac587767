#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_DeviceControlMode(ROW) \
  ROW(Notify, 0)                             \
  ROW(Block, 1)

namespace qel::DeviceControlMode {
enum Type : uint32_t { QEL_ENUM_ROWS_DeviceControlMode(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::DeviceControlMode

QEL_ENUM_INFO(DeviceControlMode, 42, true, false)

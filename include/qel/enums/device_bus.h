#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_DeviceBus(ROW) \
  ROW(UnknownBus, 0)                 \
  ROW(USB, 1)                        \
  ROW(Firewire, 2)

namespace qel::DeviceBus {
enum Type : uint32_t { QEL_ENUM_ROWS_DeviceBus(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::DeviceBus

QEL_ENUM_INFO(DeviceBus, 51, true, false)

#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_MonitoringMode(ROW) \
  ROW(Active, 0)                          \
  ROW(InformOnly, 1)

namespace qel::MonitoringMode {
enum Type : uint32_t { QEL_ENUM_ROWS_MonitoringMode(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::MonitoringMode

QEL_ENUM_INFO(MonitoringMode, 77, true, true)

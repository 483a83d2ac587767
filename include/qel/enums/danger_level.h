#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_DangerLevel(ROW) \
  ROW(Critical, 0)                     \
  ROW(_deprecatedHigh, 1)              \
  ROW(Warning, 2)                      \
  ROW(_deprecatedLow, 3)               \
  ROW(Informational, 4)                \
  ROW(Error, 5)

namespace qel::DangerLevel {
enum Type : uint32_t { QEL_ENUM_ROWS_DangerLevel(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::DangerLevel

QEL_ENUM_INFO(DangerLevel, 8, true, true)

#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_RotatePeriod(ROW) \
  ROW(Daily, 0)                         \
  ROW(Weekly, 1)                        \
  ROW(Monthly, 2)                       \
  ROW(Never, 3)

namespace qel::RotatePeriod {
enum Type : uint32_t { QEL_ENUM_ROWS_RotatePeriod(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::RotatePeriod

QEL_ENUM_INFO(RotatePeriod, 15, false, false)

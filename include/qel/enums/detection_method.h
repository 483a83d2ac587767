#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_DetectionMethod(ROW) \
  ROW(Database, 0)                         \
  ROW(Heuristic, 1)                        \
  ROW(Cloud, 2)

namespace qel::DetectionMethod {
enum Type : uint32_t { QEL_ENUM_ROWS_DetectionMethod(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::DetectionMethod

QEL_ENUM_INFO(DetectionMethod, 54, true, true)

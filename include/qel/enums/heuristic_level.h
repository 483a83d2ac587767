#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_HeuristicLevel(ROW) \
  ROW(Light, 0)                           \
  ROW(Medium, 1)                          \
  ROW(Deep, 2)                            \
  ROW(Recommended, 3)

namespace qel::HeuristicLevel {
enum Type : uint32_t { QEL_ENUM_ROWS_HeuristicLevel(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::HeuristicLevel

QEL_ENUM_INFO(HeuristicLevel, 2, true, false)

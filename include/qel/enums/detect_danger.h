#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_DetectDanger(ROW) \
  ROW(Unknown, 0)                       \
  ROW(High, 1)                          \
  ROW(Medium, 2)                        \
  ROW(Low, 3)                           \
  ROW(Informational, 4)                 \
  ROW(All, 5)

namespace qel::DetectDanger {
enum Type : uint32_t { QEL_ENUM_ROWS_DetectDanger(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::DetectDanger

QEL_ENUM_INFO(DetectDanger, 71, true, true)

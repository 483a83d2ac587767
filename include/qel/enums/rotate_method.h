#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_RotateMethod(ROW) \
  ROW(Erase, 0)                         \
  ROW(Move, 1)

namespace qel::RotateMethod {
enum Type : uint32_t { QEL_ENUM_ROWS_RotateMethod(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::RotateMethod

QEL_ENUM_INFO(RotateMethod, 14, false, false)

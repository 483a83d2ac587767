#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_GoldenImageAction(ROW) \
  ROW(DoNothing, 0)                          \
  ROW(Create, 1)                             \
  ROW(Remove, 2)

namespace qel::GoldenImageAction {
enum Type : uint32_t { QEL_ENUM_ROWS_GoldenImageAction(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::GoldenImageAction

QEL_ENUM_INFO(GoldenImageAction, 88, true, true)

#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_AppControlAccess(ROW) \
  ROW(Block, 0)                             \
  ROW(Allow, 1)

namespace qel::AppControlAccess {
enum Type : uint32_t { QEL_ENUM_ROWS_AppControlAccess(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::AppControlAccess

QEL_ENUM_INFO(AppControlAccess, 66, true, false)

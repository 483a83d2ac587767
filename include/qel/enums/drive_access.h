#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_DriveAccess(ROW) \
  ROW(Block, 0)                        \
  ROW(Allow, 1)

namespace qel::DriveAccess {
enum Type : uint32_t { QEL_ENUM_ROWS_DriveAccess(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::DriveAccess

QEL_ENUM_INFO(DriveAccess, 46, true, false)

#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_AppControlMode(ROW) ROW(AllowList, 0)

namespace qel::AppControlMode {
enum Type : uint32_t { QEL_ENUM_ROWS_AppControlMode(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::AppControlMode

QEL_ENUM_INFO(AppControlMode, 63, true, true)

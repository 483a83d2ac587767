#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_Boolean(ROW) \
  ROW(No, 0)                       \
  ROW(Yes, 1)

namespace qel::Boolean {
enum Type : uint32_t { QEL_ENUM_ROWS_Boolean(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::Boolean

QEL_ENUM_INFO(Boolean, 0, true, false)

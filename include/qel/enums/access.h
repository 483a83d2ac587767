#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_Access(ROW) \
  ROW(SmartCheck, 0)              \
  ROW(Open, 1)                    \
  ROW(OpenAndModify, 2)

namespace qel::Access {
enum Type : uint32_t { QEL_ENUM_ROWS_Access(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::Access

QEL_ENUM_INFO(Access, 10, true, false)

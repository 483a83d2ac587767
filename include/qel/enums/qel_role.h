#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_QelRole(ROW) \
  ROW(Admin, 1)                    \
  ROW(User, 2)                     \
  ROW(Auditor, 3)

namespace qel::QelRole {
enum Type : uint32_t { QEL_ENUM_ROWS_QelRole(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::QelRole

QEL_ENUM_INFO(QelRole, 53, true, false)

#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_AppControlRuleStatus(ROW) \
  ROW(On, 0)                                    \
  ROW(Off, 1)                                   \
  ROW(Test, 2)

namespace qel::AppControlRuleStatus {
enum Type : uint32_t { QEL_ENUM_ROWS_AppControlRuleStatus(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::AppControlRuleStatus

QEL_ENUM_INFO(AppControlRuleStatus, 65, true, true)

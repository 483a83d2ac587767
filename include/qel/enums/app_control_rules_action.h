#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_AppControlRulesAction(ROW) \
  ROW(TestRules, 0)                              \
  ROW(ApplyRules, 1)

namespace qel::AppControlRulesAction {
enum Type : uint32_t { QEL_ENUM_ROWS_AppControlRulesAction(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::AppControlRulesAction

QEL_ENUM_INFO(AppControlRulesAction, 64, true, true)

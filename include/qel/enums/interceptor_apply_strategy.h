#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_InterceptorApplyStrategy(ROW) \
  ROW(RestartServiceAutomatically, 0)               \
  ROW(RestartServiceManually, 1)

namespace qel::InterceptorApplyStrategy {
enum Type : uint32_t { QEL_ENUM_ROWS_InterceptorApplyStrategy(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::InterceptorApplyStrategy

QEL_ENUM_INFO(InterceptorApplyStrategy, 92, true, true)

#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_InterceptorFallbackStrategy(ROW) \
  ROW(FallbackToFanotify, 0)                           \
  ROW(FallbackToLimitedMode, 1)

namespace qel::InterceptorFallbackStrategy {
enum Type : uint32_t { QEL_ENUM_ROWS_InterceptorFallbackStrategy(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::InterceptorFallbackStrategy

QEL_ENUM_INFO(InterceptorFallbackStrategy, 91, true, true)

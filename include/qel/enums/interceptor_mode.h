#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_InterceptorMode(ROW) \
  ROW(UseFanotify, 0)                      \
  ROW(UseUpdatableKernelModule, 1)

namespace qel::InterceptorMode {
enum Type : uint32_t { QEL_ENUM_ROWS_InterceptorMode(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::InterceptorMode

QEL_ENUM_INFO(InterceptorMode, 90, true, true)

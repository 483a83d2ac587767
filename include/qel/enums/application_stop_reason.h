#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_ApplicationStopReason(ROW) \
  ROW(NormalExit, 0)                             \
  ROW(Crash, 1)                                  \
  ROW(Freeze, 2)                                 \
  ROW(MemoryLimitExceeded, 3)                    \
  ROW(GenericFailure, 4)

namespace qel::ApplicationStopReason {
enum Type : uint32_t { QEL_ENUM_ROWS_ApplicationStopReason(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::ApplicationStopReason

QEL_ENUM_INFO(ApplicationStopReason, 20, true, true)

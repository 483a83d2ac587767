#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_TaskState(ROW) \
  ROW(Starting, 0)                   \
  ROW(Started, 1)                    \
  ROW(Pausing, 2)                    \
  ROW(Suspended, 3)                  \
  ROW(Resuming, 4)                   \
  ROW(Stopping, 5)                   \
  ROW(Stopped, 6)                    \
  ROW(Unknown, 7)

namespace qel::TaskState {
enum Type : uint32_t { QEL_ENUM_ROWS_TaskState(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::TaskState

QEL_ENUM_INFO(TaskState, 6, true, true)

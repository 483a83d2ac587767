#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_ULKMState(ROW) \
  ROW(Unknown, 0)                    \
  ROW(Running, 1)                    \
  ROW(Stopped, 2)                    \
  ROW(NotAvailable, 3)               \
  ROW(Malfunction, 4)

namespace qel::ULKMState {
enum Type : uint32_t { QEL_ENUM_ROWS_ULKMState(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::ULKMState

QEL_ENUM_INFO(ULKMState, 89, true, true)

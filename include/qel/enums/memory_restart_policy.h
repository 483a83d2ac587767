#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_MemoryRestartPolicy(ROW) \
  ROW(Off, 0)                                  \
  ROW(Percent, 1)                              \
  ROW(Size, 2)                                 \
  ROW(Lowest, 3)                               \
  ROW(Highest, 4)                              \
  ROW(Auto, 5)

namespace qel::MemoryRestartPolicy {
enum Type : uint32_t { QEL_ENUM_ROWS_MemoryRestartPolicy(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::MemoryRestartPolicy

QEL_ENUM_INFO(MemoryRestartPolicy, 78, true, true)

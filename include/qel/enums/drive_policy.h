#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_DrivePolicy(ROW) \
  ROW(Allow, 0)                        \
  ROW(Block, 1)                        \
  ROW(DependsOnBus, 2)                 \
  ROW(ByRule, 3)                       \
  ROW(ReadOnly, 4)

namespace qel::DrivePolicy {
enum Type : uint32_t { QEL_ENUM_ROWS_DrivePolicy(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::DrivePolicy

QEL_ENUM_INFO(DrivePolicy, 43, true, false)

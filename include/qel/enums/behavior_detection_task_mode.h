#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_BehaviorDetectionTaskMode(ROW) \
  ROW(Block, 0)                                      \
  ROW(Notify, 1)

namespace qel::BehaviorDetectionTaskMode {
enum Type : uint32_t { QEL_ENUM_ROWS_BehaviorDetectionTaskMode(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::BehaviorDetectionTaskMode

QEL_ENUM_INFO(BehaviorDetectionTaskMode, 69, true, false)

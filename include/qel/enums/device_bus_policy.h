#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_DeviceBusPolicy(ROW) \
  ROW(Allow, 0)                            \
  ROW(Block, 1)

namespace qel::DeviceBusPolicy {
enum Type : uint32_t { QEL_ENUM_ROWS_DeviceBusPolicy(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::DeviceBusPolicy

QEL_ENUM_INFO(DeviceBusPolicy, 45, true, false)

#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_ProtectionMode(ROW) \
  ROW(Disabled, 0)                        \
  ROW(Default, 1)

namespace qel::ProtectionMode {
enum Type : uint32_t { QEL_ENUM_ROWS_ProtectionMode(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::ProtectionMode

QEL_ENUM_INFO(ProtectionMode, 79, false, true)

#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_AEPMode(ROW) \
  ROW(Block, 0)                    \
  ROW(Notify, 1)

namespace qel::AEPMode {
enum Type : uint32_t { QEL_ENUM_ROWS_AEPMode(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::AEPMode

QEL_ENUM_INFO(AEPMode, 70, true, true)

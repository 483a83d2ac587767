#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_WebControlAction(ROW) \
  ROW(Allow, 0)                             \
  ROW(Block, 1)                             \
  ROW(Notify, 2)

namespace qel::WebControlAction {
enum Type : uint32_t { QEL_ENUM_ROWS_WebControlAction(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::WebControlAction

QEL_ENUM_INFO(WebControlAction, 75, true, true)

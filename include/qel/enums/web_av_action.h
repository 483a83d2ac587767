#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_WebAvAction(ROW) \
  ROW(Notify, 0)                       \
  ROW(Block, 1)

namespace qel::WebAvAction {
enum Type : uint32_t { QEL_ENUM_ROWS_WebAvAction(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::WebAvAction

QEL_ENUM_INFO(WebAvAction, 47, true, false)

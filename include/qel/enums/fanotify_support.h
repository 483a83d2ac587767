#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_FanotifySupport(ROW) \
  ROW(Full, 0)                             \
  ROW(NoRename, 1)                         \
  ROW(NoFid, 2)                            \
  ROW(NoFanotify, 3)                       \
  ROW(Fail, 4)

namespace qel::FanotifySupport {
enum Type : uint32_t { QEL_ENUM_ROWS_FanotifySupport(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::FanotifySupport

QEL_ENUM_INFO(FanotifySupport, 93, true, true)

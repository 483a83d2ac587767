#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_ImageAction(ROW) \
  ROW(Skip, 0)                         \
  ROW(Delete, 1)

namespace qel::ImageAction {
enum Type : uint32_t { QEL_ENUM_ROWS_ImageAction(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::ImageAction

QEL_ENUM_INFO(ImageAction, 57, true, true)

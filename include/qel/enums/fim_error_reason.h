#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_FimErrorReason(ROW) \
  ROW(Unknown, 0)                         \
  ROW(PathDoesntExist, 1)                 \
  ROW(Cancelled, 2)

namespace qel::FimErrorReason {
enum Type : uint32_t { QEL_ENUM_ROWS_FimErrorReason(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::FimErrorReason

QEL_ENUM_INFO(FimErrorReason, 32, true, true)

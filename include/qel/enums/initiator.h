#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_Initiator(ROW) \
  ROW(User, 1)                       \
  ROW(Product, 2)

namespace qel::Initiator {
enum Type : uint32_t { QEL_ENUM_ROWS_Initiator(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::Initiator

QEL_ENUM_INFO(Initiator, 38, true, true)

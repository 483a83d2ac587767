#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_ObjectType(ROW) \
  ROW(Quarantine, 0)                  \
  ROW(Backup, 1)                      \
  ROW(UserAdded, 2)                   \
  ROW(Untreated, 3)                   \
  ROW(Unknown, 4)

namespace qel::ObjectType {
enum Type : uint32_t { QEL_ENUM_ROWS_ObjectType(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::ObjectType

QEL_ENUM_INFO(ObjectType, 7, true, false)

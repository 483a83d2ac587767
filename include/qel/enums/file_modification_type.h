#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_FileModificationType(ROW) \
  ROW(Ignore, 0)                                \
  ROW(ObjectAccessControlAttributesChanged, 1)  \
  ROW(ObjectAccessed, 2)                        \
  ROW(ObjectAttributesChanged, 3)               \
  ROW(ObjectClosedAfterWrite, 4)                \
  ROW(ObjectClosedWithoutWrite, 5)              \
  ROW(ObjectContentChanged, 6)                  \
  ROW(ObjectCreated, 7)                         \
  ROW(ObjectDeleted, 8)                         \
  ROW(ObjectMoved, 9)                           \
  ROW(ObjectMovedFrom, 10)                      \
  ROW(ObjectMovedTo, 11)                        \
  ROW(ObjectOpened, 12)                         \
  ROW(ObjectRenamed, 13)                        \
  ROW(Unknown, 14)

namespace qel::FileModificationType {
enum Type : uint32_t { QEL_ENUM_ROWS_FileModificationType(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::FileModificationType

QEL_ENUM_INFO(FileModificationType, 24, true, true)

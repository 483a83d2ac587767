#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_FileType(ROW) \
  ROW(Unknown, 0)                   \
  ROW(Executable, 1)

namespace qel::FileType {
enum Type : uint32_t { QEL_ENUM_ROWS_FileType(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::FileType

QEL_ENUM_INFO(FileType, 62, true, false)

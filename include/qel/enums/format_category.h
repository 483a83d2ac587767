#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_FormatCategory(ROW) \
  ROW(Any, 0)                             \
  ROW(Video, 1)                           \
  ROW(Audio, 2)                           \
  ROW(OfficeDocuments, 3)                 \
  ROW(Executable, 4)                      \
  ROW(Archives, 5)                        \
  ROW(Images, 6)

namespace qel::FormatCategory {
enum Type : uint32_t { QEL_ENUM_ROWS_FormatCategory(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::FormatCategory

QEL_ENUM_INFO(FormatCategory, 74, true, true)

#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_PatchImportance(ROW) \
  ROW(Normal, 0)                           \
  ROW(Critical, 1)

namespace qel::PatchImportance {
enum Type : uint32_t { QEL_ENUM_ROWS_PatchImportance(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::PatchImportance

QEL_ENUM_INFO(PatchImportance, 30, true, false)

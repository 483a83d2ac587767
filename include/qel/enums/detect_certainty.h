#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_DetectCertainty(ROW) \
  ROW(Unknown, 0)                          \
  ROW(Sure, 1)                             \
  ROW(Warning, 2)                          \
  ROW(Suspicion, 3)

namespace qel::DetectCertainty {
enum Type : uint32_t { QEL_ENUM_ROWS_DetectCertainty(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::DetectCertainty

QEL_ENUM_INFO(DetectCertainty, 4, true, true)

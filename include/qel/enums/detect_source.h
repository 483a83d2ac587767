#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_DetectSource(ROW) \
  ROW(Local, 0)                         \
  ROW(Sandbox, 3)                       \
  ROW(CloudSandbox, 4)

namespace qel::DetectSource {
enum Type : uint32_t { QEL_ENUM_ROWS_DetectSource(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::DetectSource

QEL_ENUM_INFO(DetectSource, 5, true, true)

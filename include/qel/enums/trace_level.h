#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_TraceLevel(ROW) \
  ROW(None, 0)                        \
  ROW(NotDetailed, 1)                 \
  ROW(Detailed, 2)                    \
  ROW(MediumDetailed, 3)

namespace qel::TraceLevel {
enum Type : uint32_t { QEL_ENUM_ROWS_TraceLevel(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::TraceLevel

QEL_ENUM_INFO(TraceLevel, 13, true, true)

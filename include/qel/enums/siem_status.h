#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_SiemStatus(ROW) \
  ROW(Stopped, 0)                     \
  ROW(Running, 1)                     \
  ROW(Malfunction, 2)

namespace qel::SiemStatus {
enum Type : uint32_t { QEL_ENUM_ROWS_SiemStatus(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::SiemStatus

QEL_ENUM_INFO(SiemStatus, 86, true, true)

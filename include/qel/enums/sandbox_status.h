#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_SandboxStatus(ROW) \
  ROW(Stopped, 0)                        \
  ROW(Running, 1)                        \
  ROW(Malfunction, 2)

namespace qel::SandboxStatus {
enum Type : uint32_t { QEL_ENUM_ROWS_SandboxStatus(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::SandboxStatus

QEL_ENUM_INFO(SandboxStatus, 83, true, true)

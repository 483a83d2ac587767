#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_ContainerScanAction(ROW) \
  ROW(Skip, 0)                                 \
  ROW(StopContainer, 1)                        \
  ROW(StopContainerIfFailed, 2)

namespace qel::ContainerScanAction {
enum Type : uint32_t { QEL_ENUM_ROWS_ContainerScanAction(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::ContainerScanAction

QEL_ENUM_INFO(ContainerScanAction, 56, true, true)

#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_OnConnectScanAction(ROW) \
  ROW(NoScan, 0)                               \
  ROW(QuickScan, 1)                            \
  ROW(DetailedScan, 2)

namespace qel::OnConnectScanAction {
enum Type : uint32_t { QEL_ENUM_ROWS_OnConnectScanAction(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::OnConnectScanAction

QEL_ENUM_INFO(OnConnectScanAction, 52, true, false)

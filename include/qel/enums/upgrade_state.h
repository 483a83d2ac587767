#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_UpgradeState(ROW) \
  ROW(NotInstalled, 0)                  \
  ROW(Installed, 1)                     \
  ROW(PackageReconfigured, 2)           \
  ROW(Upgrade, 3)                       \
  ROW(Start, 4)                         \
  ROW(UpgradeFailed, 5)                 \
  ROW(StartFailed, 6)                   \
  ROW(RollingBack, 7)                   \
  ROW(RolledBack, 8)                    \
  ROW(UpgradeWithRenaming, 9)

namespace qel::UpgradeState {
enum Type : uint32_t { QEL_ENUM_ROWS_UpgradeState(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::UpgradeState

QEL_ENUM_INFO(UpgradeState, 33, true, false)

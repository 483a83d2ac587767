#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_NetworkAttackAction(ROW) \
  ROW(IpNotBlocked, 0)                         \
  ROW(IpBlocked, 1)                            \
  ROW(IpCannotBeBlocked, 2)                    \
  ROW(IpBlockIsNotRequired, 3)

namespace qel::NetworkAttackAction {
enum Type : uint32_t { QEL_ENUM_ROWS_NetworkAttackAction(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::NetworkAttackAction

QEL_ENUM_INFO(NetworkAttackAction, 55, true, true)

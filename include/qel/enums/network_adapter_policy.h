#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_NetworkAdapterPolicy(ROW) \
  ROW(Allow, 0)                                 \
  ROW(DependsOnBus, 2)

namespace qel::NetworkAdapterPolicy {
enum Type : uint32_t { QEL_ENUM_ROWS_NetworkAdapterPolicy(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::NetworkAdapterPolicy

QEL_ENUM_INFO(NetworkAdapterPolicy, 44, true, false)

#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_IPAddressFamily(ROW) \
  ROW(IPv4, 0)                             \
  ROW(IPv6, 1)

namespace qel::IPAddressFamily {
enum Type : uint32_t { QEL_ENUM_ROWS_IPAddressFamily(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::IPAddressFamily

QEL_ENUM_INFO(IPAddressFamily, 25, true, false)

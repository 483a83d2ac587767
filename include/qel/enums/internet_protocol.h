#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_InternetProtocol(ROW) \
  ROW(ICMP, 0)                              \
  ROW(IGMP, 1)                              \
  ROW(GGP, 2)                               \
  ROW(TCP, 3)                               \
  ROW(IGP, 4)                               \
  ROW(UDP, 5)                               \
  ROW(GRE, 6)                               \
  ROW(ESP, 7)                               \
  ROW(AH, 8)                                \
  ROW(SwIPe, 9)                             \
  ROW(ICMPv6, 10)

namespace qel::InternetProtocol {
enum Type : uint32_t { QEL_ENUM_ROWS_InternetProtocol(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::InternetProtocol

QEL_ENUM_INFO(InternetProtocol, 60, true, true)

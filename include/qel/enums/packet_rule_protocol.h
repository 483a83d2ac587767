#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_PacketRuleProtocol(ROW) \
  ROW(Any, 0)                                 \
  ROW(ICMP, 1)                                \
  ROW(IGMP, 2)                                \
  ROW(TCP, 6)                                 \
  ROW(UDP, 17)                                \
  ROW(GRE, 47)                                \
  ROW(ICMPv6, 58)

namespace qel::PacketRuleProtocol {
enum Type : uint32_t { QEL_ENUM_ROWS_PacketRuleProtocol(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::PacketRuleProtocol

QEL_ENUM_INFO(PacketRuleProtocol, 28, true, false)

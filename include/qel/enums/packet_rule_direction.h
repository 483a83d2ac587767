#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_PacketRuleDirection(ROW) \
  ROW(IncomingOutgoing, 0)                     \
  ROW(Incoming, 1)                             \
  ROW(Outgoing, 2)                             \
  ROW(IncomingOutgoingPacket, 3)               \
  ROW(IncomingPacket, 4)                       \
  ROW(OutgoingPacket, 5)

namespace qel::PacketRuleDirection {
enum Type : uint32_t { QEL_ENUM_ROWS_PacketRuleDirection(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::PacketRuleDirection

QEL_ENUM_INFO(PacketRuleDirection, 27, true, false)

#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_PacketRuleAction(ROW) \
  ROW(Allow, 0)                             \
  ROW(Block, 1)

namespace qel::PacketRuleAction {
enum Type : uint32_t { QEL_ENUM_ROWS_PacketRuleAction(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::PacketRuleAction

QEL_ENUM_INFO(PacketRuleAction, 26, true, false)

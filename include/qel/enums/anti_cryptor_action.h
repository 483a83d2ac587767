#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_AntiCryptorAction(ROW) \
  ROW(Notify, 0)                             \
  ROW(Block, 1)

namespace qel::AntiCryptorAction {
enum Type : uint32_t { QEL_ENUM_ROWS_AntiCryptorAction(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::AntiCryptorAction

QEL_ENUM_INFO(AntiCryptorAction, 82, true, true)

#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_ActionOnThreat(ROW) \
  ROW(DisinfectDeleteIfNotPossible, 0)    \
  ROW(DisinfectBlockIfNotPossible, 1)     \
  ROW(DisinfectInformIfNotPossible, 2)    \
  ROW(Block, 3)                           \
  ROW(Inform, 4)                          \
  ROW(Skip, 5)

namespace qel::ActionOnThreat {
enum Type : uint32_t { QEL_ENUM_ROWS_ActionOnThreat(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::ActionOnThreat

QEL_ENUM_INFO(ActionOnThreat, 1, true, false)

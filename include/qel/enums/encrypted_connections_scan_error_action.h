#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_EncryptedConnectionsScanErrorAction(ROW) \
  ROW(AddToAutoExclusions, 0)                                  \
  ROW(Disconnect, 1)

namespace qel::EncryptedConnectionsScanErrorAction {
enum Type : uint32_t { QEL_ENUM_ROWS_EncryptedConnectionsScanErrorAction(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::EncryptedConnectionsScanErrorAction

QEL_ENUM_INFO(EncryptedConnectionsScanErrorAction, 49, true, true)

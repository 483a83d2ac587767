#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_ApplicationUpdateMode(ROW) \
  ROW(Disabled, 0)                               \
  ROW(DownloadOnly, 1)                           \
  ROW(DownloadAndInstall, 2)

namespace qel::ApplicationUpdateMode {
enum Type : uint32_t { QEL_ENUM_ROWS_ApplicationUpdateMode(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::ApplicationUpdateMode

QEL_ENUM_INFO(ApplicationUpdateMode, 34, true, false)

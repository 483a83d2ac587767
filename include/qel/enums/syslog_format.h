#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_SyslogFormat(ROW) \
  ROW(JSON, 0)                          \
  ROW(CEF, 1)

namespace qel::SyslogFormat {
enum Type : uint32_t { QEL_ENUM_ROWS_SyslogFormat(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::SyslogFormat

QEL_ENUM_INFO(SyslogFormat, 76, true, true)

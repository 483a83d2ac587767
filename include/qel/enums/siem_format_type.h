#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_SiemFormatType(ROW) ROW(Syslog, 0)

namespace qel::SiemFormatType {
enum Type : uint32_t { QEL_ENUM_ROWS_SiemFormatType(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::SiemFormatType

QEL_ENUM_INFO(SiemFormatType, 85, true, true)

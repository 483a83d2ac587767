#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_DataDiodeProtocol(ROW) ROW(UDP, 0)

namespace qel::DataDiodeProtocol {
enum Type : uint32_t { QEL_ENUM_ROWS_DataDiodeProtocol(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::DataDiodeProtocol

QEL_ENUM_INFO(DataDiodeProtocol, 97, true, true)

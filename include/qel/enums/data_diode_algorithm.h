#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_DataDiodeAlgorithm(ROW) ROW(AES256CGM, 0)

namespace qel::DataDiodeAlgorithm {
enum Type : uint32_t { QEL_ENUM_ROWS_DataDiodeAlgorithm(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::DataDiodeAlgorithm

QEL_ENUM_INFO(DataDiodeAlgorithm, 96, true, true)

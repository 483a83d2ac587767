#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_ReportFeatures(ROW) \
  ROW(FileInterceptor, 0)                 \
  ROW(ProcessInterceptor, 1)              \
  ROW(Iptables, 2)                        \
  ROW(NetworkIsolation, 3)                \
  ROW(AutomaticExploitPrevention, 4)

namespace qel::ReportFeatures {
enum Type : uint32_t { QEL_ENUM_ROWS_ReportFeatures(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::ReportFeatures

QEL_ENUM_INFO(ReportFeatures, 94, true, true)

#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_DetectType(ROW) \
  ROW(Other, 0)                       \
  ROW(Virware, 1)                     \
  ROW(Trojware, 2)                    \
  ROW(Malware, 3)                     \
  ROW(Adware, 4)                      \
  ROW(Pornware, 5)                    \
  ROW(SuspiciousPackedFiles, 6)       \
  ROW(LegacyDetect, 7)                \
  ROW(Phishing, 8)                    \
  ROW(SuspiciousUrl, 9)

namespace qel::DetectType {
enum Type : uint32_t { QEL_ENUM_ROWS_DetectType(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::DetectType

QEL_ENUM_INFO(DetectType, 3, true, true)

#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_TaskFailedReason(ROW) \
  ROW(InternalSettingsError, 0)             \
  ROW(NetworkServicesNotAvailable, 2)       \
  ROW(SmbNotAvailable, 3)                   \
  ROW(NfsNotAvailable, 4)                   \
  ROW(InternalError, 5)                     \
  ROW(NetworkInterceptorError, 7)           \
  ROW(TaskInterrupted, 8)                   \
  ROW(StartProhibitedByPolicy, 12)          \
  ROW(StartProhibitedByPowerMode, 14)       \
  ROW(SetSettingsError, 15)                 \
  ROW(NetworkError, 16)

namespace qel::TaskFailedReason {
enum Type : uint32_t { QEL_ENUM_ROWS_TaskFailedReason(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::TaskFailedReason

QEL_ENUM_INFO(TaskFailedReason, 21, true, true)

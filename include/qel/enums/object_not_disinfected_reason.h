#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_ObjectNotDisinfectedReason(ROW) \
  ROW(None, 0)                                        \
  ROW(NonCurable, 1)                                  \
  ROW(Locked, 2)                                      \
  ROW(ReportOnly, 3)                                  \
  ROW(NoPermissions, 4)                               \
  ROW(Cancelled, 5)                                   \
  ROW(WriteProtect, 6)                                \
  ROW(TaskStopped, 7)                                 \
  ROW(Postponed, 8)                                   \
  ROW(NonOverwritable, 9)                             \
  ROW(CopyFailed, 10)                                 \
  ROW(WriteError, 11)                                 \
  ROW(OutOfSpace, 12)                                 \
  ROW(ReadError, 13)                                  \
  ROW(DeviceNotReady, 14)                             \
  ROW(ObjectNotFound, 15)                             \
  ROW(WriteNotSupported, 16)                          \
  ROW(CannotBackup, 17)                               \
  ROW(SystemCriticalObject, 18)                       \
  ROW(AlreadyProcessed, 19)

namespace qel::ObjectNotDisinfectedReason {
enum Type : uint32_t { QEL_ENUM_ROWS_ObjectNotDisinfectedReason(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::ObjectNotDisinfectedReason

QEL_ENUM_INFO(ObjectNotDisinfectedReason, 17, true, true)

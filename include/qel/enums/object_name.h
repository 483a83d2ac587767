#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_ObjectName(ROW) \
  ROW(File, 0)                        \
  ROW(LogicalDrive, 1)                \
  ROW(PhysicalDisk, 2)                \
  ROW(SystemMemory, 3)                \
  ROW(MemoryProcess, 4)               \
  ROW(MemoryModule, 5)                \
  ROW(MailMsgRef, 6)                  \
  ROW(MailMsgMime, 7)                 \
  ROW(MailMsgBody, 8)                 \
  ROW(MailMsgAttach, 9)               \
  ROW(StartUp, 10)                    \
  ROW(Folder, 11)                     \
  ROW(URL, 13)

namespace qel::ObjectName {
enum Type : uint32_t { QEL_ENUM_ROWS_ObjectName(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::ObjectName

QEL_ENUM_INFO(ObjectName, 16, true, true)

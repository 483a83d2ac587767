#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_FilesystemType(ROW) \
  ROW(Local, 0)                           \
  ROW(Mounted, 1)                         \
  ROW(Shared, 2)                          \
  ROW(AllRemoteMounted, 3)                \
  ROW(AllShared, 4)                       \
  ROW(BootSectors, 5)                     \
  ROW(Memory, 6)                          \
  ROW(Invalid, 7)

namespace qel::FilesystemType {
enum Type : uint32_t { QEL_ENUM_ROWS_FilesystemType(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::FilesystemType

QEL_ENUM_INFO(FilesystemType, 18, true, true)

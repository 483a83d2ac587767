#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_FilesystemName(ROW) \
  ROW(Any, 0)                             \
  ROW(NFS, 1)                             \
  ROW(SMB, 2)                             \
  ROW(Custom, 3)

namespace qel::FilesystemName {
enum Type : uint32_t { QEL_ENUM_ROWS_FilesystemName(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::FilesystemName

QEL_ENUM_INFO(FilesystemName, 19, true, false)

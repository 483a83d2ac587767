#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_FileObjectType(ROW) \
  ROW(File, 0)                            \
  ROW(Directory, 1)                       \
  ROW(CharacterDevice, 2)                 \
  ROW(BlockDevice, 3)                     \
  ROW(NamedPipe, 4)                       \
  ROW(SymbolicLink, 5)                    \
  ROW(Socket, 6)

namespace qel::FileObjectType {
enum Type : uint32_t { QEL_ENUM_ROWS_FileObjectType(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::FileObjectType

QEL_ENUM_INFO(FileObjectType, 29, true, true)

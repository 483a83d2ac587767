#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_ProductUpdateStatus(ROW) \
  ROW(Unknown, 0)                              \
  ROW(NoUpdatesAvailable, 1)                   \
  ROW(UpdateDownloaded, 2)                     \
  ROW(UpdateInstalled, 3)                      \
  ROW(UpdateFailed, 4)                         \
  ROW(ModuleUpdateInstalled, 5)                \
  ROW(PatchFilesCorrupted, 6)

namespace qel::ProductUpdateStatus {
enum Type : uint32_t { QEL_ENUM_ROWS_ProductUpdateStatus(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::ProductUpdateStatus

QEL_ENUM_INFO(ProductUpdateStatus, 31, true, false)

#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_ReportFeatureTechs(ROW) \
  ROW(Ebpf, 0)                                \
  ROW(Fanotify, 1)                            \
  ROW(Iptables, 2)                            \
  ROW(Ipv6, 3)                                \
  ROW(Kprobe, 4)                              \
  ROW(LegacyKernelModule, 5)                  \
  ROW(LockFile, 6)                            \
  ROW(MultipleMarks, 7)                       \
  ROW(Netlink, 8)                             \
  ROW(UpdateableKernelModule, 9)

namespace qel::ReportFeatureTechs {
enum Type : uint32_t { QEL_ENUM_ROWS_ReportFeatureTechs(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::ReportFeatureTechs

QEL_ENUM_INFO(ReportFeatureTechs, 95, true, true)

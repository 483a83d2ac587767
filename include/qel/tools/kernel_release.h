#pragma once

#include <cstdint>
#include <tuple>

#include "orv/tracer.h"

namespace qel::tools {

// The numbers of the running kernel's release "major.minor.patch-build"; -1 where absent.
struct KernelRelease {
  int32_t build = -1;
  int32_t patch = -1;
  int32_t minor = -1;
  int32_t major = -1;
};

// Compared field by field, major first.
inline bool operator<(const KernelRelease& a, const KernelRelease& b) {
  return std::tie(a.major, a.minor, a.patch, a.build) <
         std::tie(b.major, b.minor, b.patch, b.build);
}
inline bool operator==(const KernelRelease& a, const KernelRelease& b) {
  return std::tie(a.major, a.minor, a.patch, a.build) ==
         std::tie(b.major, b.minor, b.patch, b.build);
}
inline bool operator>=(const KernelRelease& a, const KernelRelease& b) { return !(a < b); }

// The numbers of a release text such as "5.15.0-91-generic".
KernelRelease ParseKernelRelease(const char* release);
// The running kernel's release by uname; all -1 when uname fails, traced at level 300 to `tracer`
// (may be null).
KernelRelease GetLinuxKernelRelease(orv::ITracer* tracer);

}  // namespace qel::tools

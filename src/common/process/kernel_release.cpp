#include "qel/tools/kernel_release.h"

#include <sys/utsname.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "orv/trace_stream.h"

namespace qel::tools {

KernelRelease ParseKernelRelease(const char* release) {
  KernelRelease parsed;
  // A short release ("5.9") leaves the missing numbers at -1.
  (void)std::sscanf(release, "%d.%d.%d-%d", &parsed.major, &parsed.minor, &parsed.patch,
                    &parsed.build);
  return parsed;
}

KernelRelease GetLinuxKernelRelease(orv::ITracer* tracer) {
  utsname name{};
  if (uname(&name) != 0) {
    const int error = errno;
    char text[256];
    ORV_TRACE(tracer, orv::trace_level::kError)
        << "GetLinuxKernelRelease"
        << ": "
        << "uname error: " << strerror_r(error, text, sizeof(text));
    return KernelRelease{};
  }
  return ParseKernelRelease(name.release);
}

}  // namespace qel::tools

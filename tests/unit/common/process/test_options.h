#pragma once

#include <sys/resource.h>

#include "qel/tools/process_runner.h"

namespace qel::tools {

// Options for `args` (program first). The default descriptor limit raises the hard limit, which
// needs CAP_SYS_RESOURCE; tests may run without it, so they set the limit to the present hard one.
inline ProcessOptions TestOptions(const char* const* args) {
  ProcessOptions options;
  options.path = args[0];
  options.args = args;
  rlimit present{};
  getrlimit(RLIMIT_NOFILE, &present);
  options.limits = {{present.rlim_max, present.rlim_max, RLIMIT_NOFILE}};
  return options;
}

}  // namespace qel::tools

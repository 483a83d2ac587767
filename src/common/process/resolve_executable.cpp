#include <sys/stat.h>
#include <unistd.h>

#include "process_paths.h"
#include "qel/tools/process_runner.h"

namespace qel::tools {

std::string ResolveExecutable(const char* path) {
  if (path == nullptr) {
    return {};
  }
  // An absolute path is not checked: a missing one fails in the child with ENOENT.
  if (path[0] == '/') {
    return path;
  }
  for (const char* directory : process::kSearchDirectories) {
    std::string candidate = std::string(directory) + "/" + path;
    struct stat status {};
    if (stat(candidate.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
        access(candidate.c_str(), X_OK) == 0) {
      return candidate;
    }
  }
  return {};
}

}  // namespace qel::tools

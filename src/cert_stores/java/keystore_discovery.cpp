#include "cert_stores/java/keystore_discovery.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <memory>
#include <set>
#include <string>

#include "cert_stores/java/keystore_paths.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

// The real path of a regular file, following links; empty for anything else.
std::string RealRegularFile(const NativePath& path) {
  struct stat status {};
  char resolved[PATH_MAX + 1];
  if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode) ||
      ::realpath(path.c_str(), resolved) == nullptr) {
    return {};
  }
  return resolved;
}

std::vector<NativePath> JdkKeystores() {
  std::vector<NativePath> found;
  const std::string root(kJdkDirectory);
  const std::unique_ptr<DIR, int (*)(DIR*)> directory(::opendir(root.c_str()), ::closedir);
  if (!directory) {
    return found;
  }
  while (const dirent* entry = ::readdir(directory.get())) {
    const std::string name = entry->d_name;
    if (name == "." || name == "..") {
      continue;
    }
    const NativePath keystore = root + "/" + name + "/" + std::string(kJdkKeystorePath);
    struct stat status {};
    if (::lstat(keystore.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
      found.push_back(keystore);
    }
  }
  std::sort(found.begin(), found.end());
  return found;
}

}  // namespace

std::vector<NativePath> GetKeystoreFiles() {
  std::vector<NativePath> candidates(kFixedKeystoreFiles.begin(), kFixedKeystoreFiles.end());
  const std::vector<NativePath> jdks = JdkKeystores();
  candidates.insert(candidates.end(), jdks.begin(), jdks.end());
  // A JDK folder that is a link to another JDK (java-1.17.0-openjdk-amd64) shows the same file.
  std::set<std::string> seen;
  std::vector<NativePath> keystores;
  for (const NativePath& candidate : candidates) {
    const std::string real = RealRegularFile(candidate);
    if (!real.empty() && seen.insert(real).second) {
      keystores.push_back(candidate);
    }
  }
  return keystores;
}

}  // namespace qel::tcp_traffic_interceptor::cert_stores

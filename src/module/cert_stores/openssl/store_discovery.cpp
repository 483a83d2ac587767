#include "cert_stores/openssl/store_discovery.h"

#include <openssl/x509.h>
#include <sys/stat.h>

#include <cerrno>

#include "cert_stores/openssl/store_paths.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

const std::vector<NativePath>& BundleCandidates() {
  static const std::vector<NativePath> candidates = [] {
    std::vector<NativePath> list{X509_get_default_cert_file()};
    list.insert(list.end(), kFixedBundleFiles.begin(), kFixedBundleFiles.end());
    return list;
  }();
  return candidates;
}

bool IsBundle(const NativePath& path) {
  struct stat status {};
  if (ORV_FAILED(tools::LStatPath(path, &status))) {
    return false;
  }
  if (S_ISREG(status.st_mode)) {
    return true;
  }
  if (!S_ISLNK(status.st_mode)) {
    return false;
  }
  errno = 0;
  if (::stat(path.c_str(), &status) < 0 && errno != 0) {
    return false;
  }
  return S_ISREG(status.st_mode);
}

}  // namespace

std::vector<NativePath> GetBundleFiles() {
  std::vector<NativePath> bundles;
  for (const NativePath& candidate : BundleCandidates()) {
    if (IsBundle(candidate)) {
      bundles.push_back(candidate);
    }
  }
  return bundles;
}

result_t FindAnchorDirectory(NativePath& directory) {
  for (std::string_view candidate : kAnchorDirectories) {
    struct stat status {};
    if (ORV_SUCCEEDED(tools::LStatPath(NativePath(candidate), &status))) {
      directory = candidate;
      return orv::errors::kOk;
    }
  }
  return orv::errors::kFileNotFound;
}

}  // namespace qel::tcp_traffic_interceptor::cert_stores

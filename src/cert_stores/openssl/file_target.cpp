#include "cert_stores/openssl/file_target.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <stdexcept>

#include "orv/report_exception.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

result_t FromErrno() { return orv::ResultFromErrno(static_cast<uint32_t>(errno)); }

}  // namespace

NativePath ParentOf(const NativePath& path) {
  const size_t slash = path.rfind('/');
  if (slash == NativePath::npos) {
    return {};
  }
  return path.substr(0, slash == 0 ? 1 : slash);
}

FileTarget::FileTarget(const NativePath& directory) {
  struct stat status {};
  if (ORV_SUCCEEDED(tools::LStatPath(directory, &status)) && S_ISDIR(status.st_mode)) {
    NativePath pattern = directory;
    if (pattern.back() != '/') {
      pattern += '/';
    }
    pattern += "tolm.XXXXXXXX";
    fd.Reset(::mkostemp(pattern.data(), O_CLOEXEC));
    if (!fd) {
      throw std::runtime_error("Cannot create temp file");
    }
    path = pattern;
    if (::fchmod(fd.Get(), kMode) != 0) {
      ::unlink(path.c_str());  // the destructor does not run for a throwing constructor
      throw std::runtime_error("Cannot change permission of file");
    }
  } else {
    fd.Reset(::open(directory.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kMode));
    if (!fd) {
      throw std::runtime_error("Cannot open temp file");
    }
    path = directory;
  }
}

FileTarget::~FileTarget() {
  if (!path.empty()) {
    ::unlink(path.c_str());
  }
}

void FileTarget::Write(const std::vector<uint8_t>& bytes) {
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t count = ::pwrite(fd.Get(), bytes.data() + done, bytes.size() - done,
                                   static_cast<off_t>(offset + done));
    if (count < 0) {
      if (errno == EINTR || errno == EAGAIN) {
        continue;
      }
      throw std::runtime_error("Cannot write data");
    }
    done += static_cast<size_t>(count);
  }
  offset += bytes.size();
  ::fdatasync(fd.Get());
}

result_t ReplaceWithTarget(FileTarget& target, const NativePath& file) {
  char resolved[PATH_MAX + 1];
  if (::realpath(file.c_str(), resolved) == nullptr) {
    return FromErrno();
  }
  struct stat status {};
  if (::stat(resolved, &status) != 0 || ::fchmod(target.fd.Get(), status.st_mode & 07777) != 0 ||
      ::fchown(target.fd.Get(), status.st_uid, status.st_gid) != 0 ||
      ::rename(target.path.c_str(), resolved) != 0) {
    return FromErrno();
  }
  target.path.clear();
  return orv::errors::kOk;
}

result_t ReplaceResolvedFile(const NativePath& path, const std::vector<uint8_t>& bytes) {
  char resolved[PATH_MAX + 1];
  if (::realpath(path.c_str(), resolved) == nullptr) {
    return FromErrno();
  }
  try {
    FileTarget target(ParentOf(resolved));
    target.Write(bytes);
    return ReplaceWithTarget(target, resolved);
  } catch (const std::runtime_error&) {
    return orv::ReportCurrentException(nullptr, "ReplaceResolvedFile");
  }
}

}  // namespace qel::tcp_traffic_interceptor::cert_stores

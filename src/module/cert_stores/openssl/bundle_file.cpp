// The bundle half of OpenSslStorage: reading a PEM bundle and rewriting it through a temporary.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "cert_stores/conversions/cert_conversions.h"
#include "cert_stores/conversions/openssl_types.h"
#include "cert_stores/openssl/openssl_storage.h"
#include "orv/report_exception.h"
#include "qel/tools/unique_fd.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

constexpr result_t kFailed = orv::errors::kUnspecified;

result_t FromErrno() { return orv::ResultFromErrno(static_cast<uint32_t>(errno)); }

// Text up to the last '/', that '/' kept only when it is the first character.
NativePath ParentOf(const NativePath& path) {
  const size_t slash = path.rfind('/');
  if (slash == NativePath::npos) {
    return {};
  }
  return path.substr(0, slash == 0 ? 1 : slash);
}

// The output file of a rewrite: a temporary beside the bundle. The destructor removes the
// temporary unless it was renamed (path emptied) and closes the descriptor.
struct FileTarget {
  NativePath path;
  tools::UniqueFd fd;
  uint64_t offset = 0;
  static constexpr mode_t kMode = 0644;

  explicit FileTarget(const NativePath& directory) {
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
      // Not a directory we can see: the path itself is opened, which fails for a link to a
      // directory and so leaves such a bundle alone.
      fd.Reset(::open(directory.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kMode));
      if (!fd) {
        throw std::runtime_error("Cannot open temp file");
      }
      path = directory;
    }
  }
  FileTarget(const FileTarget&) = delete;
  FileTarget& operator=(const FileTarget&) = delete;
  ~FileTarget() {
    if (!path.empty()) {
      ::unlink(path.c_str());
    }
  }

  void Write(const std::vector<uint8_t>& bytes) {
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
};

result_t Replace(FileTarget& target, const NativePath& bundle) {
  char resolved[PATH_MAX + 1];
  if (::realpath(bundle.c_str(), resolved) == nullptr) {
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

}  // namespace

result_t OpenSslStorage::ReadBundle(const NativePath& path,
                                    std::vector<RawCert>& certificates) const {
  certificates.clear();
  tools::UniqueFd fd(tools::OpenFile(AT_FDCWD, path, O_RDONLY | O_CLOEXEC));
  if (!fd) {
    return kFailed;
  }
  // A buffered stream: the PEM reader takes lines, which a bare descriptor BIO reads byte by byte.
  std::FILE* stream = ::fdopen(fd.Get(), "r");
  if (stream == nullptr) {
    return kFailed;
  }
  fd.Release();
  BioPtr bio(BIO_new_fp(stream, BIO_CLOSE));
  if (!bio) {
    std::fclose(stream);
    return kFailed;
  }
  X509InfoStackPtr entries(PEM_X509_INFO_read_bio(bio.get(), nullptr, nullptr, nullptr));
  if (!entries) {
    return kFailed;
  }
  for (int index = 0; index < sk_X509_INFO_num(entries.get()); ++index) {
    RawCert raw;
    if (ORV_FAILED(X509ToRaw(sk_X509_INFO_value(entries.get(), index)->x509, raw))) {
      certificates.clear();
      return kFailed;
    }
    certificates.push_back(std::move(raw));
  }
  return orv::errors::kOk;
}

result_t OpenSslStorage::RewriteBundle(const NativePath& bundle,
                                       const std::vector<RawCert>& certificates) const {
  try {
    FileTarget target(ParentOf(bundle));
    std::vector<uint8_t> pem;
    for (const RawCert& raw : certificates) {
      if (ORV_SUCCEEDED(RawToPem(raw, pem))) {
        target.Write(pem);
      }
    }
    return Replace(target, bundle);
  } catch (const std::runtime_error&) {
    return orv::ReportCurrentException(nullptr, "RewriteBundle");
  }
}

result_t OpenSslStorage::AddToBundles(const std::vector<Certificate>& certificates) const {
  result_t result = orv::errors::kOk;
  std::vector<RawCert> entries;
  for (const NativePath& bundle : GetBundleFiles()) {
    if (ORV_FAILED(ReadBundle(bundle, entries))) {
      continue;
    }
    bool appended = false;
    for (const Certificate& certificate : certificates) {
      const bool present = std::any_of(entries.begin(), entries.end(), [&](const RawCert& entry) {
        return RawEqual(entry, certificate.raw);
      });
      if (!present) {
        entries.push_back(certificate.raw);
        appended = true;
      }
    }
    if (!appended) {
      continue;
    }
    const result_t rewritten = RewriteBundle(bundle, entries);
    if (ORV_FAILED(rewritten)) {
      result = rewritten;
    }
  }
  return result;
}

result_t OpenSslStorage::RemoveFromBundles(const std::vector<Certificate>& certificates) const {
  result_t result = kFailed;
  std::vector<RawCert> entries;
  for (const NativePath& bundle : GetBundleFiles()) {
    if (ORV_FAILED(ReadBundle(bundle, entries))) {
      continue;
    }
    const size_t before = entries.size();
    entries.erase(std::remove_if(entries.begin(), entries.end(),
                                 [&](const RawCert& entry) {
                                   return std::any_of(certificates.begin(), certificates.end(),
                                                      [&](const Certificate& certificate) {
                                                        return RawEqual(entry, certificate.raw);
                                                      });
                                 }),
                  entries.end());
    if (entries.size() == before) {
      continue;
    }
    if (ORV_SUCCEEDED(RewriteBundle(bundle, entries))) {
      result = orv::errors::kOk;
    }
  }
  return result;
}

}  // namespace qel::tcp_traffic_interceptor::cert_stores

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
#include "cert_stores/openssl/file_target.h"
#include "cert_stores/openssl/openssl_storage.h"
#include "orv/report_exception.h"
#include "qel/tools/unique_fd.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

constexpr result_t kFailed = orv::errors::kUnspecified;

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
    return ReplaceWithTarget(target, bundle);
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

#include "cert_stores/openssl/openssl_storage.h"

#include <sys/stat.h>
#include <unistd.h>

#include <boost/filesystem.hpp>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <optional>
#include <string>

#include "cert_stores/conversions/cert_conversions.h"
#include "cert_stores/openssl/store_paths.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

namespace fs = boost::filesystem;

constexpr unsigned kHashIndexLimit = 65535;

NativePath Join(std::string_view directory, std::string_view name) {
  NativePath path(directory);
  if (!path.empty() && path.back() != '/') {
    path += '/';
  }
  return path.append(name);
}

std::string Stem(const NativePath& path) { return fs::path(path).stem().string(); }

bool UpdateToolPresent() {
  struct stat status {};
  return ORV_SUCCEEDED(tools::LStatPath(NativePath(kUpdateToolPath), &status));
}

// lstat says nothing is there: the place is free.
bool IsFree(result_t lstatResult) {
  return lstatResult == orv::errors::kFileNotFound || lstatResult == orv::errors::kPathNotFound ||
         lstatResult == orv::errors::kFalse;
}

std::optional<std::string> ReadLinkText(const NativePath& path) {
  std::string text(4096, '\0');
  const ssize_t length = ::readlink(path.c_str(), text.data(), text.size());
  if (length < 0) {
    return std::nullopt;
  }
  text.resize(static_cast<size_t>(length));
  return text;
}

// A link of the certificate names its N.pem, absolutely in the directory or by the bare name.
bool IsLinkOf(const std::string& linkText, const NativePath& directory, const Certificate& cert) {
  const std::string linkName = LinkFileName(cert.name);
  return linkText == Join(directory, linkName) || linkText == linkName;
}

// The first product file of the directory whose bytes are the PEM text. A file that cannot be
// read counts as different and is reported on the standard error stream.
std::optional<NativePath> FindSameFile(const OpenSslStorage& storage, const NativePath& directory,
                                       const std::vector<uint8_t>& pem) {
  std::vector<uint8_t> content;
  for (const NativePath& file : storage.FindProductFiles(directory)) {
    if (ORV_FAILED(tools::ReadFile(file, content))) {
      std::cerr << "Cannot read " << file << " " << std::strerror(errno) << "\n";
      continue;
    }
    if (content == pem) {
      return file;
    }
  }
  return std::nullopt;
}

}  // namespace

result_t OpenSslStorage::AddCertificates(const std::vector<Certificate>& certificates) const {
  if (const result_t checked = CheckOneCertificateEach(certificates); ORV_FAILED(checked)) {
    return checked;
  }
  NativePath anchorDirectory;
  const result_t found = FindAnchorDirectory(anchorDirectory);
  if (ORV_FAILED(found)) {
    return found;
  }
  ScopeMultiGuard guard;
  const std::vector<Certificate> present = AddToSource(certificates, anchorDirectory, guard);
  if (UpdateToolPresent()) {
    const result_t linked = LinkCertificates(anchorDirectory, present, guard);
    if (ORV_FAILED(linked)) {
      return linked;
    }
  }
  const result_t bundled = AddToBundles(present);
  if (ORV_FAILED(bundled)) {
    return bundled;
  }
  guard.Release();
  return orv::errors::kOk;
}

result_t OpenSslStorage::DeleteCertificates(const std::vector<Certificate>& certificates) const {
  if (const result_t checked = CheckOneCertificateEach(certificates); ORV_FAILED(checked)) {
    return checked;
  }
  NativePath anchorDirectory;
  if (ORV_SUCCEEDED(FindAnchorDirectory(anchorDirectory))) {
    const std::vector<Certificate> removed = RemoveFromSource(certificates, anchorDirectory);
    if (UpdateToolPresent()) {
      UnlinkCertificates(removed);
    }
  }
  return RemoveFromBundles(certificates);
}

result_t OpenSslStorage::DeleteAllCertificates() const {
  NativePath anchorDirectory;
  const result_t found = FindAnchorDirectory(anchorDirectory);
  if (ORV_FAILED(found)) {
    return found;
  }
  std::vector<Certificate> certificates;
  std::vector<NativePath> files;
  std::vector<uint8_t> content;
  for (const NativePath& file : FindProductFiles(anchorDirectory)) {
    Certificate certificate{Stem(file), {}};
    if (ORV_FAILED(tools::ReadFile(file, content)) ||
        ORV_FAILED(PemToRaw(
            std::string_view(reinterpret_cast<const char*>(content.data()), content.size()),
            certificate.raw))) {
      continue;
    }
    certificates.push_back(std::move(certificate));
    files.push_back(file);
  }
  for (const NativePath& file : files) {
    tools::RemoveFile(file);
  }
  if (UpdateToolPresent()) {
    UnlinkCertificates(certificates);
  }
  return RemoveFromBundles(certificates);
}

std::vector<Certificate> OpenSslStorage::AddToSource(const std::vector<Certificate>& certificates,
                                                     const NativePath& anchorDirectory,
                                                     ScopeMultiGuard& guard) const {
  std::vector<Certificate> present;
  std::vector<uint8_t> pem;
  for (const Certificate& certificate : certificates) {
    if (ORV_FAILED(RawToPem(certificate.raw, pem))) {
      continue;
    }
    if (const auto same = FindSameFile(*this, anchorDirectory, pem)) {
      // Installed before under another name: that name wins over the fresh one.
      present.push_back(Certificate{Stem(*same), certificate.raw});
      continue;
    }
    const NativePath path = Join(anchorDirectory, AnchorFileName(certificate.name));
    if (ORV_FAILED(tools::WriteFileViaTemporary(
            path, std::string_view(reinterpret_cast<const char*>(pem.data()), pem.size())))) {
      continue;
    }
    guard.Add([path] { tools::RemoveFile(path); });
    ::chmod(path.c_str(), 0444);
    present.push_back(certificate);
  }
  return present;
}

std::vector<Certificate> OpenSslStorage::RemoveFromSource(
    const std::vector<Certificate>& certificates, const NativePath& anchorDirectory) const {
  std::vector<Certificate> removed;
  std::vector<uint8_t> pem;
  for (const Certificate& certificate : certificates) {
    if (ORV_FAILED(RawToPem(certificate.raw, pem))) {
      continue;
    }
    if (const auto same = FindSameFile(*this, anchorDirectory, pem)) {
      tools::RemoveFile(*same);
      removed.push_back(Certificate{Stem(*same), certificate.raw});
    }
  }
  return removed;
}

std::vector<NativePath> OpenSslStorage::FindProductFiles(const NativePath& directory) const {
  std::vector<NativePath> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
    boost::system::error_code error;
    if (fs::is_regular_file(entry.path(), error) &&
        IsProductCertificateFile(entry.path().string())) {
      files.push_back(entry.path().string());
    }
  }
  return files;
}

result_t OpenSslStorage::LinkCertificates(const NativePath& anchorDirectory,
                                          const std::vector<Certificate>& certificates,
                                          ScopeMultiGuard& guard) const {
  for (const Certificate& certificate : certificates) {
    const NativePath link = Join(kLinkDirectory, LinkFileName(certificate.name));
    const NativePath target = Join(anchorDirectory, AnchorFileName(certificate.name));
    NativePath hashLink(kLinkDirectory);
    result_t result = FindFreeHashLink(certificate, hashLink);
    if (ORV_FAILED(result)) {
      return result;
    }
    result = CreateSymlink(target, link, guard);
    if (ORV_FAILED(result)) {
      return result;
    }
    result = CreateSymlink(link, hashLink, guard);
    if (ORV_FAILED(result)) {
      return result;
    }
  }
  return orv::errors::kOk;
}

void OpenSslStorage::UnlinkCertificates(const std::vector<Certificate>& certificates) const {
  for (const Certificate& certificate : certificates) {
    tools::RemoveFile(Join(kLinkDirectory, LinkFileName(certificate.name)));
    NativePath hashLink(kLinkDirectory);
    if (ORV_SUCCEEDED(FindHashLink(certificate, hashLink))) {
      tools::RemoveFile(hashLink);
    }
  }
}

result_t OpenSslStorage::FindFreeHashLink(const Certificate& certificate, NativePath& path) const {
  uint64_t hash = 0;
  const result_t hashed = GetSubjectHash(certificate.raw, hash);
  if (ORV_FAILED(hashed)) {
    return hashed;
  }
  const std::string hashText = GetHashText(hash);
  for (unsigned index = 0; index < kHashIndexLimit; ++index) {
    const NativePath candidate = Join(path, hashText + "." + std::to_string(index));
    struct stat status {};
    const result_t examined = tools::LStatPath(candidate, &status);
    if (IsFree(examined)) {
      path = candidate;
      return orv::errors::kOk;
    }
    if (ORV_FAILED(examined)) {
      return examined;
    }
    if (!S_ISLNK(status.st_mode)) {
      continue;
    }
    const auto text = ReadLinkText(candidate);
    if (text && IsLinkOf(*text, path, certificate)) {
      path = candidate;
      return orv::errors::kOk;
    }
  }
  return orv::errors::kMoreThan;
}

result_t OpenSslStorage::FindHashLink(const Certificate& certificate, NativePath& path) const {
  uint64_t hash = 0;
  const result_t hashed = GetSubjectHash(certificate.raw, hash);
  if (ORV_FAILED(hashed)) {
    return hashed;
  }
  const std::string hashText = GetHashText(hash);
  boost::system::error_code error;
  for (fs::directory_iterator it(path, error), end; !error && it != end; it.increment(error)) {
    const fs::directory_entry& entry = *it;
    if (entry.path().stem().string() != hashText || !fs::is_symlink(entry.symlink_status(error))) {
      continue;
    }
    const auto text = ReadLinkText(entry.path().string());
    if (text && IsLinkOf(*text, path, certificate)) {
      path = Join(path, entry.path().filename().string());
      return orv::errors::kOk;
    }
  }
  return orv::errors::kFileNotFound;
}

result_t OpenSslStorage::CreateSymlink(const NativePath& target, const NativePath& link,
                                       ScopeMultiGuard& guard) const {
  struct stat status {};
  if (!IsFree(tools::LStatPath(link, &status))) {
    // Something is there already, ours or an administrator's: leave it.
    return orv::errors::kOk;
  }
  boost::system::error_code error;
  fs::create_symlink(target, link, error);
  if (error) {
    // A positive errno: callers test for a negative result, so the run goes on.
    return error.value();
  }
  guard.Add([link] { tools::RemoveFile(link); });
  return orv::errors::kOk;
}

}  // namespace qel::tcp_traffic_interceptor::cert_stores

#include "cert_stores/java/java_keystore_storage.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <stdexcept>

#include "cert_stores/conversions/cert_conversions.h"
#include "cert_stores/java/keystore_paths.h"
#include "cert_stores/openssl/file_target.h"
#include "orv/report_exception.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

// Java keeps aliases in lower case (English rules): a mixed-case alias would not be found again.
std::string AliasOf(const std::string& name) {
  std::string alias = name;
  std::transform(alias.begin(), alias.end(), alias.begin(), [](unsigned char character) {
    return static_cast<char>(std::tolower(character));
  });
  return alias;
}

int64_t NowMilliseconds() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

bool HoldsTrusted(const Keystore& keystore, const RawCert& certificate) {
  return std::any_of(
      keystore.entries.begin(), keystore.entries.end(), [&](const KeystoreEntry& entry) {
        return entry.tag == kTrustedCertificateTag && RawEqual(entry.certificate, certificate);
      });
}

}  // namespace

result_t JavaKeystoreStorage::ReadKeystore(const NativePath& path, Keystore& keystore) const {
  std::vector<uint8_t> bytes;
  if (const result_t result = tools::ReadFile(path, bytes); ORV_FAILED(result)) {
    return result;
  }
  return ParseKeystore(bytes, kKeystorePassword, keystore);
}

result_t JavaKeystoreStorage::WriteKeystore(const NativePath& path,
                                            const Keystore& keystore) const {
  std::vector<uint8_t> bytes;
  try {
    bytes = SerializeKeystore(keystore, kKeystorePassword);
  } catch (const std::length_error&) {
    return orv::ReportCurrentException(nullptr, "WriteKeystore");
  } catch (const std::runtime_error&) {
    return orv::ReportCurrentException(nullptr, "WriteKeystore");
  }
  return ReplaceResolvedFile(path, bytes);
}

result_t JavaKeystoreStorage::AddCertificates(const NativePath& path,
                                              const std::vector<Certificate>& certificates) const {
  // Java reads every trusted entry of the file when it loads it: one entry that is no
  // certificate fails every client of the keystore.
  if (const result_t checked = CheckOneCertificateEach(certificates); ORV_FAILED(checked)) {
    return checked;
  }
  Keystore keystore;
  if (const result_t result = ReadKeystore(path, keystore); ORV_FAILED(result)) {
    return result;
  }
  bool added = false;
  for (const Certificate& certificate : certificates) {
    if (!HoldsTrusted(keystore, certificate.raw)) {
      keystore.entries.push_back(MakeTrustedEntry(AliasOf(certificate.name), NowMilliseconds(),
                                                  certificate.raw, keystore.version));
      added = true;
    }
  }
  return added ? WriteKeystore(path, keystore) : orv::errors::kFalse;
}

result_t JavaKeystoreStorage::DeleteCertificates(
    const NativePath& path, const std::vector<Certificate>& certificates) const {
  // Java reads every trusted entry of the file when it loads it: one entry that is no
  // certificate fails every client of the keystore.
  if (const result_t checked = CheckOneCertificateEach(certificates); ORV_FAILED(checked)) {
    return checked;
  }
  Keystore keystore;
  if (const result_t result = ReadKeystore(path, keystore); ORV_FAILED(result)) {
    return result;
  }
  const size_t before = keystore.entries.size();
  keystore.entries.erase(
      std::remove_if(keystore.entries.begin(), keystore.entries.end(),
                     [&](const KeystoreEntry& entry) {
                       return entry.tag == kTrustedCertificateTag &&
                              std::any_of(certificates.begin(), certificates.end(),
                                          [&](const Certificate& certificate) {
                                            return RawEqual(entry.certificate, certificate.raw);
                                          });
                     }),
      keystore.entries.end());
  return keystore.entries.size() == before ? orv::errors::kFalse : WriteKeystore(path, keystore);
}

result_t JavaKeystoreStorage::ReadCertificates(const NativePath& path,
                                               std::vector<RawCert>& certificates) const {
  certificates.clear();
  Keystore keystore;
  if (const result_t result = ReadKeystore(path, keystore); ORV_FAILED(result)) {
    return result;
  }
  for (KeystoreEntry& entry : keystore.entries) {
    if (entry.tag == kTrustedCertificateTag) {
      certificates.push_back(std::move(entry.certificate));
    }
  }
  return orv::errors::kOk;
}

}  // namespace qel::tcp_traffic_interceptor::cert_stores

#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "host/host_object.h"
#include "qel/trusted_certificates_provider.h"

namespace host {

// qel::ITrustedCertificatesProvider over a directory of PEM files, read once when the provider is
// made (and again on Reload): every regular file directly in it (links followed), every
// certificate of each file, keyed by its subject in the RFC 2253 form. Files without a
// certificate, unreadable files and subdirectories are skipped; a certificate found twice (a link
// beside its file) is served once. No directory (an empty path, or one that does not exist) serves
// nothing. A directory that exists but cannot be listed makes every look-up fail (0x8000004b).
// Any thread; m_mutex guards the certificates and the counters, and is held while appending.
class TrustedCertificatesProvider final : public HostObject<qel::ITrustedCertificatesProvider> {
 public:
  explicit TrustedCertificatesProvider(std::string directory = std::string());

  // qel::ITrustedCertificatesProvider
  result_t GetTrustedCertificates(const orv::types::string8_t& issuer,
                                  orv::types::vector_t<qel::RawCert>* certificates) override;

  // Reads the directory again.
  void Reload();
  // For tests and the host: certificates held, look-ups answered, and a result to answer instead
  // (0 to answer again).
  size_t size() const;
  uint64_t lookups() const;
  void FailWith(result_t result);

 private:
  using Der = std::vector<unsigned char>;

  const std::string m_directory;
  mutable std::mutex m_mutex;  // guards everything below
  std::map<std::string, std::vector<Der>> m_bySubject;
  bool m_readable = true;
  uint64_t m_lookups = 0;
  result_t m_failure = 0;
};

}  // namespace host

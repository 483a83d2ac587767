#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "cert_stores/conversions/certificate.h"
#include "cert_stores/parse_cache/certificate_facts.h"
#include "qel/tools/files.h"

namespace qel::tcp_traffic_interceptor {

// The certificates of every known store, kept per store, and the parent cache made of them: a
// store read replaces that store's part only, and the cache is built from a running count of
// every certificate over all parts, so its cost depends on the distinct certificates, not on the
// number of stores. Certificates are parsed through the shared parse cache.
//
// Not thread-safe: CertificateManagerImpl holds its store lock over every call.
class StoreCertificates final {
 public:
  using RawCert = cert_stores::RawCert;
  // Keyed by X509_subject_name_hash; a set per key, so equal bytes are held once.
  using Cache = std::map<uint64_t, std::set<RawCert>>;
  struct Entry {
    RawCert der;
    std::shared_ptr<const cert_stores::CertificateFacts> facts;  // parsed
  };

  StoreCertificates() = default;
  StoreCertificates(const StoreCertificates&) = delete;
  StoreCertificates& operator=(const StoreCertificates&) = delete;

  // The part of `store` becomes `certificates`, those OpenSSL cannot parse left out; the entries
  // kept, in order.
  const std::vector<Entry>& Replace(const tools::NativePath& store,
                                    const std::vector<RawCert>& certificates);
  // Our own write: `der` joins (or leaves) the part of `store`, unless it is there (or not).
  void Add(const tools::NativePath& store, const RawCert& der);
  void Remove(const tools::NativePath& store, const RawCert& der);
  // The store is gone: its part goes.
  void Forget(const tools::NativePath& store);
  // Whether `store` has a part (it was read at least once), and its entries.
  bool Holds(const tools::NativePath& store) const { return m_parts.count(store) != 0; }
  const std::vector<Entry>& Part(const tools::NativePath& store) const;

  // Every certificate of every part, keyed by subject hash.
  std::shared_ptr<Cache> Build() const;

 private:
  void Count(const Entry& entry, int step);

  std::map<tools::NativePath, std::vector<Entry>> m_parts;
  std::map<uint64_t, std::map<RawCert, size_t>> m_counts;  // parts holding each certificate
};

}  // namespace qel::tcp_traffic_interceptor

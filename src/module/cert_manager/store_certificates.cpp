#include "cert_manager/store_certificates.h"

#include <algorithm>

#include "cert_stores/parse_cache/certificate_parse_cache.h"

namespace qel::tcp_traffic_interceptor {

const std::vector<StoreCertificates::Entry>& StoreCertificates::Replace(
    const tools::NativePath& store, const std::vector<RawCert>& certificates) {
  std::vector<Entry> entries;
  entries.reserve(certificates.size());
  for (const RawCert& der : certificates) {
    auto facts = cert_stores::CertificateParseCache::Shared().Get(der.data(), der.size());
    if (facts->parsed) {
      entries.push_back(Entry{der, std::move(facts)});
    }
  }
  std::vector<Entry>& part = m_parts[store];
  for (const Entry& entry : part) {
    Count(entry, -1);
  }
  part.swap(entries);
  for (const Entry& entry : part) {
    Count(entry, +1);
  }
  return part;
}

void StoreCertificates::Add(const tools::NativePath& store, const RawCert& der) {
  std::vector<Entry>& part = m_parts[store];
  if (std::any_of(part.begin(), part.end(), [&](const Entry& entry) { return entry.der == der; })) {
    return;
  }
  auto facts = cert_stores::CertificateParseCache::Shared().Get(der.data(), der.size());
  if (facts->parsed) {
    part.push_back(Entry{der, std::move(facts)});
    Count(part.back(), +1);
  }
}

void StoreCertificates::Remove(const tools::NativePath& store, const RawCert& der) {
  const auto found = m_parts.find(store);
  if (found == m_parts.end()) {
    return;
  }
  std::vector<Entry>& part = found->second;
  const auto kept = std::stable_partition(part.begin(), part.end(),
                                          [&](const Entry& entry) { return entry.der != der; });
  for (auto entry = kept; entry != part.end(); ++entry) {
    Count(*entry, -1);
  }
  part.erase(kept, part.end());
}

void StoreCertificates::Forget(const tools::NativePath& store) {
  const auto found = m_parts.find(store);
  if (found == m_parts.end()) {
    return;
  }
  for (const Entry& entry : found->second) {
    Count(entry, -1);
  }
  m_parts.erase(found);
}

const std::vector<StoreCertificates::Entry>& StoreCertificates::Part(
    const tools::NativePath& store) const {
  static const std::vector<Entry> kNone;
  const auto found = m_parts.find(store);
  return found == m_parts.end() ? kNone : found->second;
}

std::shared_ptr<StoreCertificates::Cache> StoreCertificates::Build() const {
  auto cache = std::make_shared<Cache>();
  for (const auto& [hash, counted] : m_counts) {
    std::set<RawCert>& set = (*cache)[hash];
    for (const auto& entry : counted) {
      set.insert(set.end(), entry.first);
    }
  }
  return cache;
}

void StoreCertificates::Count(const Entry& entry, int step) {
  auto& counted = m_counts[entry.facts->subjectHash];
  size_t& count = counted[entry.der];
  count += step;
  if (count == 0) {
    counted.erase(entry.der);
    if (counted.empty()) {
      m_counts.erase(entry.facts->subjectHash);
    }
  }
}

}  // namespace qel::tcp_traffic_interceptor

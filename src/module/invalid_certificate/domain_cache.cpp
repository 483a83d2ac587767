#include "domain_cache.h"

namespace qel::tcp_traffic_interceptor {

DomainCache::DomainCache() {
  m_map.max_load_factor(1.0f);
  m_map.reserve(kCapacity);
}

void DomainCache::Put(std::string_view domain, const UntrustedCertificate& cert) {
  const std::string key(domain);
  if (auto found = m_map.find(key); found != m_map.end()) {
    found->second.first = cert;
    m_recency.splice(m_recency.end(), m_recency, found->second.second);
    return;
  }
  if (m_map.size() >= kCapacity) {
    m_map.erase(m_recency.front());
    m_recency.pop_front();
  }
  m_recency.push_back(key);
  try {
    m_map.emplace(key, Entry{cert, std::prev(m_recency.end())});
  } catch (...) {
    m_recency.pop_back();
    throw;
  }
}

result_t DomainCache::Get(std::string_view domain, UntrustedCertificate& cert) {
  const auto found = m_map.find(std::string(domain));
  if (found == m_map.end()) {
    return orv::errors::kNotFound;
  }
  m_recency.splice(m_recency.end(), m_recency, found->second.second);
  cert = found->second.first;
  return orv::errors::kOk;
}

}  // namespace qel::tcp_traffic_interceptor

#pragma once

#include <cstddef>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "orv/result.h"
#include "untrusted_certificate.h"

namespace qel::tcp_traffic_interceptor {

// The certificates last seen per domain, at most kCapacity of them, least recently used evicted
// first. Keys are bytes: no case folding, no normalisation. Not thread-safe: the handler's cache
// lock guards every call.
class DomainCache final {
 public:
  static constexpr size_t kCapacity = 1024;

  DomainCache();
  DomainCache(const DomainCache&) = delete;
  DomainCache& operator=(const DomainCache&) = delete;

  // Stores `cert` under `domain` (replacing a known one) and makes the domain the most recent.
  void Put(std::string_view domain, const UntrustedCertificate& cert);
  // 0 with a copy in `cert`, the domain becoming the most recent; 0x8000004c when absent.
  result_t Get(std::string_view domain, UntrustedCertificate& cert);

  size_t Size() const noexcept { return m_map.size(); }

 private:
  using Recency = std::list<std::string>;  // least recent first
  using Entry = std::pair<UntrustedCertificate, Recency::iterator>;

  Recency m_recency;
  std::unordered_map<std::string, Entry> m_map;
};

}  // namespace qel::tcp_traffic_interceptor

#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <shared_mutex>
#include <unordered_map>
#include <utility>

#include "cert_stores/parse_cache/certificate_facts.h"

namespace qel::tcp_traffic_interceptor::cert_stores {

// Remembers, per certificate's bytes, what one parse gave (CertificateFacts), so that a server's
// leaf and intermediates, which come back connection after connection, cost a digest and a map
// search instead of OpenSSL's decoding. Keyed by the SHA-256 of the bytes; bounded, the least
// recently used entry goes first. A refused blob is remembered as refused.
//
// Threads: any engine or host thread. Searches share `m_mutex` (the engine's lookups never wait
// for each other nor for a store read's searches) and mark their entry's last use in the entry
// itself, as the number of inserts so far; an insert holds it alone, and the eviction a full cache
// needs takes an entry with the oldest mark (entries used between the same two inserts are equal).
// Never held across the parse, never together with another lock. The facts handed out are
// immutable and shared, so they outlive their eviction.
class CertificateParseCache final {
 public:
  static constexpr size_t kDefaultCapacity = 4096;  // a busy gateway's distinct certificates

  explicit CertificateParseCache(size_t capacity = kDefaultCapacity);
  CertificateParseCache(const CertificateParseCache&) = delete;
  CertificateParseCache& operator=(const CertificateParseCache&) = delete;

  // The one cache of the process, shared by the parent lookup and the handler.
  static CertificateParseCache& Shared();

  // The facts of the bytes: remembered ones, or those of a parse made now (outside the lock).
  std::shared_ptr<const CertificateFacts> Get(const uint8_t* data, size_t size);
  // Forgets everything.
  void Clear();
  size_t Size() const;

 private:
  using Digest = std::array<uint8_t, 32>;
  struct DigestHash {
    size_t operator()(const Digest& digest) const noexcept;
  };
  struct Entry {
    explicit Entry(std::shared_ptr<const CertificateFacts> remembered, uint64_t use)
        : facts(std::move(remembered)), lastUse(use) {}
    std::shared_ptr<const CertificateFacts> facts;
    std::atomic<uint64_t> lastUse;  // m_inserts at the last use; written under the shared lock
  };

  std::shared_ptr<const CertificateFacts> Find(const Digest& digest);
  void Insert(const Digest& digest, const std::shared_ptr<const CertificateFacts>& facts);

  const size_t m_capacity;
  mutable std::shared_mutex m_mutex;
  std::atomic<uint64_t> m_inserts{0};  // the clock of lastUse; advanced under the lock alone
  std::unordered_map<Digest, Entry, DigestHash> m_entries;  // guarded by m_mutex
};

}  // namespace qel::tcp_traffic_interceptor::cert_stores

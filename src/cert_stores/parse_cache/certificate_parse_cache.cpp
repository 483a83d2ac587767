#include "cert_stores/parse_cache/certificate_parse_cache.h"

#include <openssl/evp.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <tuple>

#include "cert_stores/conversions/openssl_types.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

// Fetched once: an implicit fetch per digest would cost as much as the digest of a certificate.
// Freed when the module is unloaded or the process ends; the static is made after OpenSSL's own
// start-up, which registered its exit handler first, so this destructor runs before that handler.
const EVP_MD* Sha256() {
  static const EvpMdPtr kSha256(EVP_MD_fetch(nullptr, "SHA2-256", nullptr));
  return kSha256.get();
}

}  // namespace

size_t CertificateParseCache::DigestHash::operator()(const Digest& digest) const noexcept {
  size_t value = 0;
  std::memcpy(&value, digest.data(), sizeof(value));
  return value;
}

CertificateParseCache::CertificateParseCache(size_t capacity) : m_capacity(capacity) {
  m_entries.reserve(capacity + 1);
}

CertificateParseCache& CertificateParseCache::Shared() {
  static CertificateParseCache cache;
  return cache;
}

std::shared_ptr<const CertificateFacts> CertificateParseCache::Get(const uint8_t* data,
                                                                   size_t size) {
  Digest digest{};
  unsigned int digestSize = 0;
  const bool digested =
      Sha256() != nullptr &&
      EVP_Digest(data, size, digest.data(), &digestSize, Sha256(), nullptr) == 1 &&
      digestSize == digest.size();
  if (digested) {
    if (auto found = Find(digest)) {
      return found;
    }
  }
  auto facts = std::make_shared<const CertificateFacts>(ReadCertificateFacts(data, size));
  if (digested) {
    Insert(digest, facts);
  }
  return facts;
}

void CertificateParseCache::Clear() {
  std::unique_lock<std::shared_mutex> lock(m_mutex);
  m_entries.clear();
}

size_t CertificateParseCache::Size() const {
  std::shared_lock<std::shared_mutex> lock(m_mutex);
  return m_entries.size();
}

std::shared_ptr<const CertificateFacts> CertificateParseCache::Find(const Digest& digest) {
  std::shared_lock<std::shared_mutex> lock(m_mutex);
  const auto found = m_entries.find(digest);
  if (found == m_entries.end()) {
    return nullptr;
  }
  // Only reads on the hot path: a certificate looked up again before the next insert changes
  // nothing, so engine threads looking up the same certificates do not write a shared line.
  const uint64_t now = m_inserts.load(std::memory_order_relaxed);
  if (found->second.lastUse.load(std::memory_order_relaxed) != now) {
    found->second.lastUse.store(now, std::memory_order_relaxed);
  }
  return found->second.facts;
}

void CertificateParseCache::Insert(const Digest& digest,
                                   const std::shared_ptr<const CertificateFacts>& facts) {
  std::unique_lock<std::shared_mutex> lock(m_mutex);
  if (m_entries.count(digest) != 0) {
    return;  // another thread parsed the same bytes meanwhile: the facts are equal
  }
  if (m_entries.size() >= m_capacity && !m_entries.empty()) {
    // One pass over a few thousand entries, only when new bytes meet a full cache.
    const auto oldest = std::min_element(
        m_entries.begin(), m_entries.end(), [](const auto& left, const auto& right) {
          return left.second.lastUse.load(std::memory_order_relaxed) <
                 right.second.lastUse.load(std::memory_order_relaxed);
        });
    m_entries.erase(oldest);
  }
  m_entries.emplace(
      std::piecewise_construct, std::forward_as_tuple(digest),
      std::forward_as_tuple(facts, m_inserts.fetch_add(1, std::memory_order_relaxed) + 1));
}

}  // namespace qel::tcp_traffic_interceptor::cert_stores

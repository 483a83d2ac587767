#include "cert_stores/parse_cache/certificate_parse_cache.h"

#include <openssl/evp.h>

#include <cstring>

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
  std::lock_guard<std::mutex> lock(m_mutex);
  m_entries.clear();
  m_recency.clear();
}

size_t CertificateParseCache::Size() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_entries.size();
}

std::shared_ptr<const CertificateFacts> CertificateParseCache::Find(const Digest& digest) {
  std::lock_guard<std::mutex> lock(m_mutex);
  const auto found = m_entries.find(digest);
  if (found == m_entries.end()) {
    return nullptr;
  }
  m_recency.splice(m_recency.begin(), m_recency, found->second.second);
  return found->second.first;
}

void CertificateParseCache::Insert(const Digest& digest,
                                   const std::shared_ptr<const CertificateFacts>& facts) {
  std::lock_guard<std::mutex> lock(m_mutex);
  if (m_entries.count(digest) != 0) {
    return;  // another thread parsed the same bytes meanwhile: the facts are equal
  }
  if (m_entries.size() >= m_capacity && !m_recency.empty()) {
    m_entries.erase(m_recency.back());
    m_recency.pop_back();
  }
  m_recency.push_front(digest);
  m_entries.emplace(digest, Entry(facts, m_recency.begin()));
}

}  // namespace qel::tcp_traffic_interceptor::cert_stores

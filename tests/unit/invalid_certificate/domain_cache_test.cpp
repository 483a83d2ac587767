#include "domain_cache.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using qel::tcp_traffic_interceptor::DomainCache;
using qel::tcp_traffic_interceptor::UntrustedCertificate;

constexpr result_t kNotFound = static_cast<result_t>(0x8000004cu);

UntrustedCertificate Cert(uint32_t tag) {
  UntrustedCertificate cert;
  cert.verificationResult = tag;
  cert.subject = orv::types::string8_t(std::to_string(tag));
  return cert;
}

std::string Domain(size_t index) { return "d" + std::to_string(index) + ".example"; }

// Full, the cache evicts nothing; the next new domain evicts the one least recently used, where a
// Get and a Put of a known domain both count as a use.
TEST(DomainCacheTest, Capacity_NextNewDomainEvictsTheLeastRecentlyUsed) {
  DomainCache cache;
  for (size_t i = 0; i < DomainCache::kCapacity; ++i) {
    cache.Put(Domain(i), Cert(static_cast<uint32_t>(i)));
  }
  EXPECT_EQ(cache.Size(), 1024u);
  UntrustedCertificate out;
  ASSERT_EQ(cache.Get(Domain(0), out), 0);  // a copy of the record
  EXPECT_EQ(out.verificationResult, 0u);
  EXPECT_EQ(out.subject.view(), "0");
  cache.Put(Domain(1), Cert(77));  // the oldest now, replaced in place: nothing evicted
  EXPECT_EQ(cache.Size(), 1024u);
  cache.Put(Domain(1024), Cert(1024));
  EXPECT_EQ(cache.Size(), 1024u);
  EXPECT_EQ(cache.Get(Domain(2), out), kNotFound);
  for (const size_t kept : {0, 3, 1024}) {
    EXPECT_EQ(cache.Get(Domain(kept), out), 0) << kept;
  }
  ASSERT_EQ(cache.Get(Domain(1), out), 0);
  EXPECT_EQ(out.verificationResult, 77u);
}

TEST(DomainCacheTest, Keys_AreBytesCaseSensitiveAndUnnormalised) {
  DomainCache cache;
  cache.Put("Example.org", Cert(1));
  cache.Put("example.org", Cert(2));
  cache.Put("example.org.", Cert(3));
  cache.Put(std::string("exa\0mple", 8), Cert(4));
  EXPECT_EQ(cache.Size(), 4u);
  UntrustedCertificate out;
  ASSERT_EQ(cache.Get("Example.org", out), 0);
  EXPECT_EQ(out.verificationResult, 1u);
  ASSERT_EQ(cache.Get(std::string("exa\0mple", 8), out), 0);
  EXPECT_EQ(out.verificationResult, 4u);
  EXPECT_EQ(cache.Get("exa", out), kNotFound);
  EXPECT_EQ(out.verificationResult, 4u);  // a miss leaves the caller's record alone
}

}  // namespace

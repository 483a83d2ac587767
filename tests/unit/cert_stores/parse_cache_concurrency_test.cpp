// The parse cache shared by the engine's threads: lookups, first sights, evictions and the stores'
// reload at once, with more certificates than places. Run under ThreadSanitizer in CI.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "cert_stores/parse_cache/certificate_parse_cache.h"
#include "support/cert_factory.h"

namespace {

namespace stores = qel::tcp_traffic_interceptor::cert_stores;

TEST(CertificateParseCache, ThreadsLookingUpEvictingAndClearing_AlwaysGetTheFactsOfTheirBytes) {
  std::vector<stores::RawCert> chain;
  const auto root = tti::test::MakeRootCertificate("Concurrent Root");
  chain.push_back(root.Der());
  for (int i = 0; i < 11; ++i) {
    chain.push_back(tti::test::MakeServerCertificate(root, "s" + std::to_string(i)).Der());
  }
  chain.push_back({0x30, 0x01, 0x00});  // refused, and remembered as refused
  std::vector<std::string> expected;
  for (const stores::RawCert& der : chain) {
    expected.push_back(stores::ReadCertificateFacts(der.data(), der.size()).subjectLine);
  }

  stores::CertificateParseCache cache(5);
  std::atomic<bool> stop{false};
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (size_t i = t; i < 1200; ++i) {
        const size_t which = (i * 7 + t) % chain.size();
        const auto facts = cache.Get(chain[which].data(), chain[which].size());
        if (facts->subjectLine != expected[which] || cache.Size() > 5) {
          ++wrong;
        }
      }
    });
  }
  std::thread reloads([&] {
    while (!stop) {
      cache.Clear();
      std::this_thread::yield();
    }
  });
  for (std::thread& thread : threads) {
    thread.join();
  }
  stop = true;
  reloads.join();
  EXPECT_EQ(0, wrong.load());
}

}  // namespace

#include "abi/cert_manager/cert_manager_fixture.h"

#include <algorithm>

namespace cert_manager_test {

void CertManagerTest::SetUp() {
  ModuleTest::SetUp();
  inotify = host::MakeObject<RecordingInotifyProvider>();
  trusted = host::MakeObject<TrustedCertificatesDouble>();
  services.locator->Add<qel::IInotifyEventsProvider>(inotify.get());
  services.locator->Add<qel::ITrustedCertificatesProvider>(trusted.get());
}

result_t CertManagerTest::TryCreate(orv::intrusive_ptr<ICertificateManager>& manager) {
  return Factory(qel::tcp_traffic_interceptor::CLSID_CertificateManager)
      ->CreateInstance(services.locator.get(), ICertificateManager::kIid,
                       reinterpret_cast<void**>(manager.Ref()));
}

orv::intrusive_ptr<ICertificateManager> CertManagerTest::CreateManager() {
  orv::intrusive_ptr<ICertificateManager> manager;
  EXPECT_EQ(TryCreate(manager), 0);
  return manager;
}

result_t CertManagerTest::FindParents(ICertificateManager* manager, const Der& certificate,
                                      std::vector<Der>& parents) {
  orv::intrusive_ptr<crypto::ITrustedCertificateProvider> provider;
  EXPECT_EQ(manager->QueryInterface(crypto::ITrustedCertificateProvider::kIid,
                                    reinterpret_cast<void**>(provider.Ref())),
            0);
  orv::types::vector_t<orv::types::vector_t<unsigned char>> found;
  const const_blob_range_t blob{certificate.data(), certificate.data() + certificate.size()};
  const result_t result = provider->FindParentCertificates(nullptr, blob, found);
  parents.clear();
  for (const auto& parent : found) {
    parents.emplace_back(parent.begin(), parent.end());
  }
  return result;
}

size_t CertManagerTest::LineCount(uint32_t level, const std::string& text) const {
  const std::vector<std::string> texts = tracer->Texts(level);
  return static_cast<size_t>(std::count(texts.begin(), texts.end(), text));
}

bool CertManagerTest::HasLineEndingWith(uint32_t level, const std::string& suffix) const {
  for (const std::string& text : tracer->Texts(level)) {
    if (text.size() >= suffix.size() &&
        text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0) {
      return true;
    }
  }
  return false;
}

qel::RawCert ToRaw(const Der& der) {
  qel::RawCert raw;
  for (const uint8_t byte : der) {
    raw.push_back(byte);
  }
  return raw;
}

}  // namespace cert_manager_test

#include "system/certificate_manager/cert_manager_fixture.h"

#include <algorithm>

#include "crypto/trusted_certificate_provider.h"
#include "qel/tcp_traffic_interceptor/class_ids.h"

namespace cert_manager_test {
void CertManagerTest::SetUp() {
  ModuleTest::SetUp();
  services = host::HostServices::Create(tracer.get(), trustedFolder.path());
}

void CertManagerTest::RecordInotify() {
  inotify = host::MakeObject<RecordingInotifyProvider>();
  services.locator->Add<qel::IInotifyEventsProvider>(inotify.get());
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

result_t CertManagerTest::Install(ICertificateManager* manager, const Der& certificate) {
  return manager->Install(tti::test::BytesAs<qel::RawCert>(certificate));
}

result_t CertManagerTest::Uninstall(ICertificateManager* manager, const Der& certificate) {
  return manager->Uninstall(tti::test::BytesAs<qel::RawCert>(certificate));
}

result_t CertManagerTest::FindParents(ICertificateManager* manager, const Der& certificate,
                                      std::vector<Der>& parents) {
  orv::types::vector_t<orv::types::vector_t<unsigned char>> found;
  const const_blob_range_t blob{certificate.data(), certificate.data() + certificate.size()};
  const result_t result = As<crypto::ITrustedCertificateProvider>(manager)->FindParentCertificates(
      nullptr, blob, found);
  parents.clear();
  for (const auto& parent : found) {
    parents.push_back(tti::test::Bytes(parent));
  }
  return result;
}

size_t CertManagerTest::LineCount(uint32_t level, const std::string& text) const {
  const std::vector<std::string> texts = tracer->Texts(level);
  return static_cast<size_t>(std::count(texts.begin(), texts.end(), text));
}

size_t CertManagerTest::CountStartingWith(uint32_t level, const std::string& prefix) const {
  const std::vector<std::string> texts = tracer->Texts(level);
  return static_cast<size_t>(
      std::count_if(texts.begin(), texts.end(),
                    [&](const std::string& text) { return text.rfind(prefix, 0) == 0; }));
}

}  // namespace cert_manager_test

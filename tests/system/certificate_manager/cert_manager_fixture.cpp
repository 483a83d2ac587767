#include "system/certificate_manager/cert_manager_fixture.h"

#include <stdio.h>

#include <filesystem>

#include "crypto/trusted_certificate_provider.h"
#include "sandbox/mount_namespace.h"

namespace tti::test {

Tree Snapshot(const std::vector<std::string>& directories) {
  namespace fs = std::filesystem;
  Tree entries;
  for (const std::string& directory : directories) {
    std::error_code missing;  // a tree that is not there has no entries
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory, missing)) {
      const std::string path = entry.path().string();
      entries[path] = entry.is_symlink()        ? "-> " + fs::read_symlink(path).string()
                      : entry.is_regular_file() ? tti::test::ReadText(path)
                                                : "(directory)";
    }
  }
  return entries;
}

void MoveInNssDatabase(const std::string& directory) {
  const std::string staging = "/home/.staging";
  MakeNssDatabase(staging);
  host::sandbox::MakeDirectories(directory.substr(0, directory.rfind('/')));
  ASSERT_EQ(::rename(staging.c_str(), directory.c_str()), 0) << directory;
}

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

}  // namespace tti::test

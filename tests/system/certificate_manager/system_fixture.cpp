#include "system/certificate_manager/system_fixture.h"

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include "crypto/trusted_certificate_provider.h"
#include "qel/tcp_traffic_interceptor/class_ids.h"
#include "support/namespace_sandbox.h"

namespace certificate_manager_system {
namespace {

qel::RawCert ToRaw(const Der& der) {
  qel::RawCert raw;
  for (const uint8_t byte : der) {
    raw.push_back(byte);
  }
  return raw;
}

}  // namespace

orv::intrusive_ptr<ICertificateManager> CertificateManagerSystemTest::CreateManager() {
  return Create<ICertificateManager>(qel::tcp_traffic_interceptor::CLSID_CertificateManager);
}

result_t CertificateManagerSystemTest::FindParents(ICertificateManager* manager,
                                                   const Der& certificate,
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

result_t CertificateManagerSystemTest::Install(ICertificateManager* manager,
                                               const Der& certificate) {
  return manager->Install(ToRaw(certificate));
}

result_t CertificateManagerSystemTest::Uninstall(ICertificateManager* manager,
                                                 const Der& certificate) {
  return manager->Uninstall(ToRaw(certificate));
}

bool Eventually(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return true;
}

std::map<std::string, std::string> Snapshot(const std::vector<std::string>& directories) {
  namespace fs = std::filesystem;
  std::map<std::string, std::string> entries;
  for (const std::string& directory : directories) {
    if (!fs::exists(directory)) {
      continue;
    }
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory)) {
      const std::string path = entry.path().string();
      if (entry.is_symlink()) {
        entries[path] = "-> " + fs::read_symlink(entry.path()).string();
      } else if (entry.is_regular_file()) {
        entries[path] = tti::test::ReadTextFile(path);
      } else {
        entries[path] = "(directory)";
      }
    }
  }
  return entries;
}

std::vector<std::string> ProductEntries(const std::map<std::string, std::string>& snapshot) {
  std::vector<std::string> names;
  for (const auto& [path, content] : snapshot) {
    if (path.find("Morvane_Shield_Personal_Root_Certificate_") != std::string::npos ||
        content.find("Morvane_Shield_Personal_Root_Certificate_") != std::string::npos) {
      names.push_back(path);
    }
  }
  return names;
}

}  // namespace certificate_manager_system

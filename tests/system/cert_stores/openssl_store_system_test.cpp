// OpenSslStorage on the fixed system paths, each test in its own private mount namespace with a
// Debian-like or Fedora-like layout: the failures that must leave the machine as it was, and
// discovery. The layouts themselves are proven through the module (certificate manager tests).
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "cert_stores/conversions/cert_conversions.h"
#include "cert_stores/openssl/openssl_storage.h"
#include "support/cert_factory.h"
#include "support/namespace_sandbox.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

using tti::test::BuildStoreLayout;
using tti::test::ReadTextFile;
using tti::test::RunInMountNamespace;
using tti::test::StoreLayout;
using tti::test::WriteTextFile;

constexpr char kDebianBundle[] = "/etc/ssl/certs/ca-certificates.crt";
constexpr char kDebianAnchors[] = "/usr/local/share/ca-certificates";
constexpr char kFedoraBundle[] = "/etc/pki/tls/certs/ca-bundle.crt";

std::vector<std::string> List(const std::string& directory) {
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(directory, error)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

class OpenSslStoreSystemTest : public ::testing::Test {
 protected:
  OpenSslStorage m_storage;
  tti::test::TestCertificate m_root = tti::test::MakeRootCertificate("tti system root");
  Certificate m_cert{"Morvane_Shield_Personal_Root_Certificate_5e5e5e5e", m_root.Der()};
};

// Every hash link index taken: the link step fails with its code and takes back the anchor file
// written before it. The bundle step failing is proven through the module (certificate manager
// tests, Install_OpenSslStoresRefuse...).
TEST_F(OpenSslStoreSystemTest, Debian_EveryHashIndexTaken_LeavesTheMachineAsItWas) {
  RunInMountNamespace([&] {
    BuildStoreLayout(StoreLayout::kDebian);
    uint64_t hash = 0;
    ASSERT_EQ(GetSubjectHash(m_cert.raw, hash), 0);
    for (int index = 0; index < 65535; ++index) {
      const std::string path = "/etc/ssl/certs/" + GetHashText(hash) + "." + std::to_string(index);
      ASSERT_EQ(::close(::open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644)), 0);
    }
    const std::string bundleBefore = ReadTextFile(kDebianBundle);
    const auto linksBefore = List("/etc/ssl/certs");

    EXPECT_EQ(m_storage.AddCertificates({m_cert}), orv::MakeResult(0x80000065u));
    EXPECT_EQ(List(kDebianAnchors), std::vector<std::string>{});
    EXPECT_EQ(List("/etc/ssl/certs"), linksBefore);
    EXPECT_EQ(ReadTextFile(kDebianBundle), bundleBefore);
  });
}

TEST_F(OpenSslStoreSystemTest, Debian_AdministratorsFileSecondAddNoAnchorDirectory_ChangeNothing) {
  RunInMountNamespace([&] {
    BuildStoreLayout(StoreLayout::kDebian);
    const std::string link = "/etc/ssl/certs/" + LinkFileName(m_cert.name);
    WriteTextFile(link, "administrator's file\n");

    ASSERT_EQ(m_storage.AddCertificates({m_cert}), 0);
    EXPECT_EQ(ReadTextFile(link), "administrator's file\n");
    const auto links = List("/etc/ssl/certs");
    const std::string bundle = ReadTextFile(kDebianBundle);
    struct stat before {};
    ASSERT_EQ(::stat(kDebianBundle, &before), 0);

    // A fresh name for the same bytes: found by content, nothing written anywhere.
    ASSERT_EQ(m_storage.AddCertificates({MakeCertificate(m_cert.raw)}), 0);
    EXPECT_EQ(List(kDebianAnchors), std::vector<std::string>{AnchorFileName(m_cert.name)});
    EXPECT_EQ(List("/etc/ssl/certs"), links);
    struct stat after {};
    ASSERT_EQ(::stat(kDebianBundle, &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(ReadTextFile(kDebianBundle), bundle);

    // Without the anchor directory another root is refused and nothing is written.
    tti::test::MountTmpfs("/usr/local/share");
    const Certificate other = MakeCertificate(tti::test::MakeRootCertificate("tti other").Der());
    EXPECT_EQ(m_storage.AddCertificates({other}), orv::MakeResult(0x80010102u));
    EXPECT_EQ(ReadTextFile(kDebianBundle), bundle);
    EXPECT_EQ(List("/etc/ssl/certs"), links);
  });
}

TEST(StoreDiscoverySystemTest, KeepsRegularBundlesInOrder_SkipsFilesAsAnchorDirectories) {
  RunInMountNamespace([] {
    BuildStoreLayout(StoreLayout::kDebian);
    std::filesystem::create_directories("/etc/pki/tls/certs");
    std::filesystem::create_directories("/etc/pki/ca-trust/extracted/pem");
    std::filesystem::create_directories("/etc/pki/CA");
    std::filesystem::create_directory("/etc/ssl/ca-bundle.pem");                 // a directory
    std::filesystem::create_directory_symlink("/etc", kFedoraBundle);            // to a directory
    std::filesystem::create_symlink("/nonexistent", "/etc/pki/tls/cacert.pem");  // dangling
    WriteTextFile("/etc/pki/ca-trust/extracted/pem/tls-ca-bundle.pem", "");
    WriteTextFile("/etc/pki/CA/certs", "");  // a file, not an anchor directory

    EXPECT_EQ(GetBundleFiles(),
              (std::vector<NativePath>{"/usr/lib/ssl/cert.pem", kDebianBundle,
                                       "/etc/pki/ca-trust/extracted/pem/tls-ca-bundle.pem"}));
    NativePath anchors;
    ASSERT_EQ(FindAnchorDirectory(anchors), 0);
    EXPECT_EQ(anchors, "/usr/local/share/ca-certificates/");
  });
}

}  // namespace
}  // namespace qel::tcp_traffic_interceptor::cert_stores

// Bytes that are not exactly one certificate, given to Install and then Uninstall of the real
// module on a machine that holds a root already: after each step every store is still read by
// its own tools, each refusal is a warning naming the store, and the stores end byte for byte as
// they were.
#include <openssl/x509.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "sandbox/mount_namespace.h"
#include "support/clean_command.h"
#include "system/certificate_manager/cert_manager_fixture.h"

namespace tti::test {
namespace {

const char kKeystore[] = "/etc/ssl/certs/java/cacerts";
const std::vector<std::string> kDatabases = {"/home/alice/.pki/nssdb", "/etc/pki/nssdb"};
const std::vector<std::string> kBundles = {"/etc/ssl/certs/ca-certificates.crt",
                                           "/usr/lib/ssl/cert.pem"};
const char kServerFile[] = "/root/server.pem";
const char kRefused[] = ": 0x8000005d (Invalid type)";  // the line ends with it

Der Joined(Der first, const Der& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

Der RandomBytes() {
  std::mt19937 generator(20261125);
  Der bytes(4096);
  for (uint8_t& byte : bytes) {
    byte = static_cast<uint8_t>(generator());
  }
  return bytes;
}

Der RequestOf(const TestCertificate& certificate) {
  using RequestPtr = std::unique_ptr<X509_REQ, decltype(&X509_REQ_free)>;
  const RequestPtr request(
      X509_to_X509_REQ(certificate.x509.get(), certificate.key.get(), EVP_sha256()), X509_REQ_free);
  unsigned char* der = nullptr;
  const int length = i2d_X509_REQ(request.get(), &der);
  Der bytes(der, der + std::max(length, 0));
  OPENSSL_free(der);
  return bytes;
}

Der KeyOf(const TestCertificate& certificate) {
  unsigned char* der = nullptr;
  const int length = i2d_PrivateKey(certificate.key.get(), &der);
  Der bytes(der, der + std::max(length, 0));
  OPENSSL_free(der);
  return bytes;
}

struct BadInput {
  const char* name;
  // The bytes, made from the installed root and its server certificate.
  std::function<Der(const TestCertificate& root, const TestCertificate& server)> make;
};

// Each store's own reader accepts what it holds: openssl with each bundle and the hash links,
// certutil with each database, keytool with the keystore (its integrity digest and every entry).
void ExpectStoresReadable(const std::string& step) {
  std::vector<std::vector<std::string>> readers;
  for (const std::string& bundle : kBundles) {
    readers.push_back({"openssl", "verify", "-no-CApath", "-CAfile", bundle, kServerFile});
  }
  readers.push_back({"openssl", "verify", "-no-CAfile", "-CApath", "/etc/ssl/certs", kServerFile});
  for (const std::string& database : kDatabases) {
    readers.push_back({"certutil", "-L", "-d", "sql:" + database});
  }
  readers.push_back({"keytool", "-list", "-keystore", kKeystore, "-storepass", "changeit"});
  for (const std::vector<std::string>& reader : readers) {
    const tti::test::CommandResult result = tti::test::RunClean(reader);
    EXPECT_EQ(result.exitCode, 0) << step << ": " << reader[0] << " " << reader[1] << " "
                                  << reader.back() << "\n"
                                  << result.output;
  }
}

class BadInputTest : public CertManagerTest, public ::testing::WithParamInterface<BadInput> {};

TEST_P(BadInputTest, InstallThenUninstall_EveryStoreRefusesAndStaysAsItWas) {
  const std::string keystore = tti::test::ReadText(kKeystore);  // before /etc is covered
  ASSERT_FALSE(keystore.empty());
  RunInMountNamespace([&] {
    BuildMachine(StoreLayout::kDebian, {{"alice", 1000, "/home/alice"}});
    host::sandbox::MakeDirectories("/etc/ssl/certs/java");
    tti::test::WriteText(kKeystore, keystore);
    std::vector<std::string> trees = {
        "/etc/ssl", "/usr/lib/ssl",   "/usr/local/share/ca-certificates",
        "/etc/pki", "/etc/profile.d", "/etc/environment.d"};
    for (const std::string& database : kDatabases) {
      MakeNssDatabase(database);
      trees.push_back(database);
    }
    const TestCertificate root = tti::test::MakeRootCertificate("Bad Input Root");
    const TestCertificate server = tti::test::MakeServerCertificate(root, "127.0.0.1");
    tti::test::WriteText(kServerFile, server.Pem());
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);
    ASSERT_EQ(manager->Install(Raw(root.Der())), 0);
    const Tree before = Snapshot(trees);
    const Der bad = GetParam().make(root, server);

    for (const bool install : {true, false}) {
      tracer->Clear();
      EXPECT_EQ(install ? manager->Install(Raw(bad)) : manager->Uninstall(Raw(bad)), 0);
      const std::string step = install ? "Install" : "Uninstall";
      ExpectStoresReadable(step);
      EXPECT_TRUE(Snapshot(trees) == before) << step;
      // Every warning is a refusal, and each store is named in one. (The keystore may be named
      // twice: a change event of the file while the bad bytes are the installed ones asks it
      // again.)
      const std::vector<std::string> warnings = tracer->Texts(500);
      for (const std::string& line : warnings) {
        EXPECT_NE(line.find(kRefused), std::string::npos) << step << " " << line;
      }
      for (const char* store : {"openssl storage", kKeystore, "/home/alice/.pki/nssdb/cert9.db",
                                "/etc/pki/nssdb/", "/etc/profile.d/", "/etc/environment.d/"}) {
        EXPECT_TRUE(std::any_of(
            warnings.begin(), warnings.end(),
            [&](const std::string& line) { return line.find(store) != std::string::npos; }))
            << step << " " << store << ::testing::PrintToString(warnings);
      }
    }
  });
}

INSTANTIATE_TEST_SUITE_P(
    Inputs, BadInputTest,
    ::testing::Values(
        BadInput{"Empty", [](const TestCertificate&, const TestCertificate&) { return Der(); }},
        BadInput{"RandomBytes",
                 [](const TestCertificate&, const TestCertificate&) { return RandomBytes(); }},
        BadInput{"TruncatedCertificate",
                 [](const TestCertificate& root, const TestCertificate&) {
                   Der der = root.Der();
                   der.resize(der.size() - 16);
                   return der;
                 }},
        BadInput{"CertificateWithTrailingBytes",
                 [](const TestCertificate& root, const TestCertificate&) {
                   return Joined(root.Der(), {0x00, 0x00, 0x0a});
                 }},
        BadInput{"TwoCertificates",
                 [](const TestCertificate& root, const TestCertificate& server) {
                   return Joined(root.Der(), server.Der());
                 }},
        BadInput{"CertificateRequest", [](const TestCertificate& root,
                                          const TestCertificate&) { return RequestOf(root); }},
        BadInput{"PrivateKey",
                 [](const TestCertificate& root, const TestCertificate&) { return KeyOf(root); }},
        BadInput{"TenMegabytesOfZeros",
                 [](const TestCertificate&, const TestCertificate&) { return Der(10u << 20, 0); }}),
    [](const ::testing::TestParamInfo<BadInput>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace tti::test

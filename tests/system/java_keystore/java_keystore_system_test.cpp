// The Java keystores through the real module (host services, real inotify) on a Debian-like machine
// in a private mount namespace whose /etc/ssl/certs/java/cacerts is a copy of the machine's own.
#include <stdio.h>

#include <functional>
#include <string>

#include "cert_stores/java/java_keystore_storage.h"
#include "qel/tcp_traffic_interceptor/certificate_manager.h"
#include "qel/tcp_traffic_interceptor/class_ids.h"
#include "sandbox/machine.h"
#include "support/cert_factory.h"
#include "support/clean_command.h"
#include "support/local_https_server.h"
#include "support/module_fixture.h"
#include "support/namespace_sandbox.h"
#include "support/scratch.h"

namespace {

namespace stores = qel::tcp_traffic_interceptor::cert_stores;
using host::sandbox::MakeDirectories;
using qel::tcp_traffic_interceptor::ICertificateManager;
using tti::test::ReadTextFile;
using tti::test::RunClean;
using tti::test::WriteTextFile;

constexpr char kKeystore[] = "/etc/ssl/certs/java/cacerts";

bool KeystoreHolds(const stores::RawCert& der) {
  std::vector<stores::RawCert> held;
  stores::JavaKeystoreStorage().ReadCertificates(kKeystore, held);
  return std::find(held.begin(), held.end(), der) != held.end();
}

class JavaKeystoreSystemTest : public tti::test::ModuleTest {
 protected:
  // The Debian-like machine with `keystore` (the machine's real one when empty) in place.
  void BuildMachine(std::string keystore = {}) {
    if (keystore.empty()) {
      keystore = ReadTextFile(kKeystore);  // before /etc is covered
    }
    host::sandbox::BuildMachine(tti::test::StoreLayout::kDebian, {});
    MakeDirectories("/etc/ssl/certs/java");
    WriteTextFile(kKeystore, keystore);
  }
  orv::intrusive_ptr<ICertificateManager> CreateManager() {
    return Create<ICertificateManager>(qel::tcp_traffic_interceptor::CLSID_CertificateManager);
  }
};

// keytool checks the digest with the store password and lists the entries; whether one is the
// root.
bool KeytoolLists(const std::string& commonName) {
  const tti::test::CommandResult listed =
      RunClean({"keytool", "-list", "-v", "-cacerts", "-storepass", "changeit"});
  EXPECT_EQ(listed.exitCode, 0) << listed.output;
  return listed.output.find("CN=" + commonName) != std::string::npos;
}

TEST_F(JavaKeystoreSystemTest, JavaClient_TrustsTheServerOnlyWhileInstalled) {
  tti::test::RunInMountNamespace([&] {
    BuildMachine();
    const std::string original = ReadTextFile(kKeystore);
    const tti::test::TestCertificate root = tti::test::MakeRootCertificate("Java Test Root");
    const tti::test::LocalHttpsServer https(tti::test::MakeServerCertificate(root, "127.0.0.1"));
    const std::string url = "https://127.0.0.1:" + std::to_string(https.Port()) + "/";
    const auto fetch = [&] { return RunClean({"java", TTI_JAVA_CLIENT, url}); };
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);

    tti::test::CommandResult fetched = fetch();
    EXPECT_EQ(fetched.exitCode, 2) << fetched.output;
    EXPECT_FALSE(KeytoolLists("Java Test Root"));

    ASSERT_EQ(manager->Install(tti::test::BytesAs<qel::RawCert>(root.Der())), 0);
    fetched = fetch();
    EXPECT_EQ(fetched.exitCode, 0) << fetched.output;
    EXPECT_EQ(fetched.output, "ok\n");
    EXPECT_TRUE(KeytoolLists("Java Test Root"));

    // A package update of the CA set writes the keystore anew, without the root: it comes back.
    WriteTextFile(std::string(kKeystore) + ".new", original);
    ASSERT_EQ(::rename((std::string(kKeystore) + ".new").c_str(), kKeystore), 0);
    EXPECT_TRUE(tti::test::Eventually([&] { return KeystoreHolds(root.Der()); }));

    ASSERT_EQ(manager->Uninstall(tti::test::BytesAs<qel::RawCert>(root.Der())), 0);
    fetched = fetch();
    EXPECT_EQ(fetched.exitCode, 2) << fetched.output;
    EXPECT_FALSE(KeytoolLists("Java Test Root"));
    EXPECT_EQ(ReadTextFile(kKeystore), original);
  });
}

struct BadKeystore {
  const char* name;
  // The keystore to place, made from the machine's real one.
  std::function<std::string(const std::string& real)> make;
};

class BadKeystoreTest : public JavaKeystoreSystemTest,
                        public ::testing::WithParamInterface<BadKeystore> {};

TEST_P(BadKeystoreTest, Install_LeavesItUntouched_WarnsAndDoesTheOtherStores) {
  tti::test::RunInMountNamespace([&] {
    const std::string bad = GetParam().make(ReadTextFile(kKeystore));
    BuildMachine(bad);
    const tti::test::TestCertificate root = tti::test::MakeRootCertificate("Bad Keystore Root");
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);
    ASSERT_EQ(manager->Install(tti::test::BytesAs<qel::RawCert>(root.Der())), 0);

    EXPECT_EQ(ReadTextFile(kKeystore), bad);
    bool warned = false;
    for (const std::string& line : tracer->Texts(orv::trace_level::kWarning)) {
      warned = warned || (line.find("'/etc/ssl/certs/java/cacerts'") != std::string::npos &&
                          line.find("left untouched") != std::string::npos);
    }
    EXPECT_TRUE(warned);
    EXPECT_EQ(
        host::sandbox::CountOf(
            host::sandbox::BundleCertificates("/etc/ssl/certs/ca-certificates.crt"), root.Der()),
        1u);
  });
}

INSTANTIATE_TEST_SUITE_P(
    Table, BadKeystoreTest,
    ::testing::Values(
        BadKeystore{"OtherPassword",
                    [](const std::string& real) {
                      stores::Keystore keystore;
                      EXPECT_EQ(stores::ParseKeystore(tti::test::Bytes(real), "changeit", keystore),
                                0);
                      const auto bytes = stores::SerializeKeystore(keystore, "secret");
                      return std::string(bytes.begin(), bytes.end());
                    }},
        BadKeystore{"Truncated", [](const std::string& real) { return real.substr(0, 4000); }},
        BadKeystore{"Pkcs12",
                    [](const std::string&) {
                      const tti::test::TempDir dir;
                      WriteTextFile(dir / "ca.pem", tti::test::MakeRootCertificate("P12").Pem());
                      const tti::test::CommandResult made = RunClean(
                          {"openssl", "pkcs12", "-export", "-nokeys", "-in", dir / "ca.pem",
                           "-passout", "pass:changeit", "-out", dir / "ca.p12"});
                      EXPECT_EQ(made.exitCode, 0) << made.output;
                      return ReadTextFile(dir / "ca.p12");
                    }}),
    [](const auto& info) { return std::string(info.param.name); });

// A JDK that ships its own keystore is a store of its own; links to the machine's keystore, also
// through a linked JDK folder, are the same file and count once.
TEST(JavaKeystoreDiscoveryTest, GetKeystoreFiles_EachRealFileOnce) {
  tti::test::RunInMountNamespace([] {
    const std::string real = ReadTextFile(kKeystore);
    host::sandbox::BuildStoreLayout(tti::test::StoreLayout::kDebian);
    tti::test::MountTmpfs("/usr/lib/jvm");
    MakeDirectories("/etc/ssl/certs/java");
    WriteTextFile(kKeystore, real);
    MakeDirectories("/usr/lib/jvm/linked/lib/security");
    ASSERT_EQ(::symlink(kKeystore, "/usr/lib/jvm/linked/lib/security/cacerts"), 0);
    MakeDirectories("/usr/lib/jvm/own/lib/security");
    WriteTextFile("/usr/lib/jvm/own/lib/security/cacerts", real);
    ASSERT_EQ(::symlink("own", "/usr/lib/jvm/alias-of-own"), 0);
    EXPECT_EQ(
        stores::GetKeystoreFiles(),
        (std::vector<std::string>{kKeystore, "/usr/lib/jvm/alias-of-own/lib/security/cacerts"}));
  });
}

}  // namespace

// The JKS reader and writer against keystores Java's own keytool made and reads back, and the
// machine's real keystore, on real files. That the machine's keystore is written back byte for
// byte after an install and an uninstall is shown through the module (java_keystore_system_test);
// here, a keystore with a private key, added to and deleted from.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cert_stores/java/java_keystore_storage.h"
#include "support/cert_factory.h"
#include "support/clean_command.h"
#include "support/killed_writer.h"
#include "support/scratch.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

using tti::test::Bytes;
using tti::test::ReadText;
using tti::test::RunClean;
using tti::test::WriteText;

// Read only: the machine's own keystore is never written by a unit test.
constexpr char kMachineKeystore[] = "/etc/ssl/certs/java/cacerts";

std::vector<uint8_t> ReadBytes(const std::string& path) { return Bytes(ReadText(path)); }

// A keytool keystore with a private key (and its chain) and a trusted certificate.
class KeytoolKeystoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    WriteText(m_dir / "root.pem", m_root.Pem());
    Keytool({"-genkeypair", "-alias", "Server", "-keyalg", "EC", "-dname", "CN=server"});
    Keytool({"-importcert", "-noprompt", "-alias", "Root", "-file", m_dir / "root.pem"});
    m_original = ReadBytes(m_keystore);
  }

  // keytool on the keystore with the store password; its exit code.
  int Keytool(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "keytool");
    for (const char* option : {"-storetype", "JKS", "-storepass", "changeit", "-keystore"}) {
      arguments.push_back(option);
    }
    arguments.push_back(m_keystore);
    const tti::test::CommandResult result = RunClean(arguments);
    EXPECT_TRUE(result.exitCode == 0 || arguments[1] == "-list") << result.output;
    return result.exitCode;
  }

  tti::test::TempDir m_dir;
  std::string m_keystore = m_dir / "keystore.jks";
  std::vector<uint8_t> m_original;
  tti::test::TestCertificate m_root = tti::test::MakeRootCertificate("Keytool Root");
  tti::test::TestCertificate m_product = tti::test::MakeRootCertificate("Product Root");
  JavaKeystoreStorage m_storage;
};

TEST_F(KeytoolKeystoreTest, Parse_KeytoolKeystore_DigestAndEntries) {
  Keystore keystore;
  ASSERT_EQ(ParseKeystore(m_original, "changeit", keystore), 0);
  ASSERT_EQ(keystore.entries.size(), 2u);
  std::vector<RawCert> trusted;
  ASSERT_EQ(m_storage.ReadCertificates(m_keystore, trusted), 0);
  EXPECT_EQ(trusted, std::vector<RawCert>{m_root.Der()});
  EXPECT_EQ(ParseKeystore(m_original, "changeitt", keystore), kKeystoreDigestMismatch);
}

// keytool finds the added entry under the lower-case alias and accepts the digest; the delete
// gives back the file keytool wrote, the private key entry included.
TEST_F(KeytoolKeystoreTest, AddThenDelete_KeytoolAgrees_FileAsBefore) {
  const std::vector<Certificate> product{{"Morvane_Product_AB12", m_product.Der()}};
  ASSERT_EQ(m_storage.AddCertificates(m_keystore, product), 0);
  EXPECT_EQ(m_storage.AddCertificates(m_keystore, product), 1);
  EXPECT_EQ(Keytool({"-list", "-alias", "morvane_product_ab12"}), 0);

  ASSERT_EQ(m_storage.DeleteCertificates(m_keystore, product), 0);
  EXPECT_EQ(m_storage.DeleteCertificates(m_keystore, product), 1);
  EXPECT_EQ(ReadBytes(m_keystore), m_original);
  EXPECT_NE(Keytool({"-list", "-alias", "morvane_product_ab12"}), 0);
}

// Killed between any two system calls, the writer leaves the old or the new keystore, and a
// reader beside it never sees a torn one.
TEST_F(KeytoolKeystoreTest, Rewrite_KilledWriter_LeavesOldOrNew) {
  tti::test::TempDir shm("/dev/shm");  // tmpfs: the writer syncs every round
  const std::string path = shm / "cacerts";
  WriteText(path, ReadText(kMachineKeystore));
  Keystore keystore;
  ASSERT_EQ(m_storage.ReadKeystore(path, keystore), 0);
  const size_t oldCount = keystore.entries.size();
  const std::vector<Certificate> product{{"product", m_product.Der()}};
  tti::test::ExpectWholeAfterKilledWriters(
      [&](bool useNew) {
        useNew ? m_storage.AddCertificates(path, product)
               : m_storage.DeleteCertificates(path, product);
      },
      [&] {
        // A torn file fails the length or the digest check; each date of the entry is new.
        Keystore seen;
        return m_storage.ReadKeystore(path, seen) == 0 &&
               (seen.entries.size() == oldCount || seen.entries.size() == oldCount + 1);
      });
}

}  // namespace
}  // namespace qel::tcp_traffic_interceptor::cert_stores

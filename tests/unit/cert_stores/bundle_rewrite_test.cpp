// Reading and rewriting bundle files on real files in a temporary directory.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "cert_stores/conversions/cert_conversions.h"
#include "cert_stores/openssl/openssl_storage.h"
#include "support/cert_factory.h"
#include "support/killed_writer.h"
#include "support/namespace_sandbox.h"
#include "support/scratch.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

using tti::test::ReadTextFile;
using tti::test::WriteTextFile;

constexpr result_t kFailed = orv::MakeResult(0x8000004bu);

class BundleTest : public ::testing::Test {
 protected:
  std::vector<RawCert> Read(const std::string& path) {
    std::vector<RawCert> entries;
    EXPECT_EQ(m_storage.ReadBundle(path, entries), 0);
    return entries;
  }

  // tmpfs: the rewrite syncs after every certificate, which a disk makes slow.
  tti::test::TempDir m_temp{"/dev/shm"};
  const std::string m_dir = m_temp.path();
  const std::string m_bundle = m_dir + "/bundle.pem";
  OpenSslStorage m_storage;
  tti::test::TestCertificate m_first = tti::test::MakeRootCertificate("first");
  tti::test::TestCertificate m_second = tti::test::MakeRootCertificate("second");
};

struct ReadCase {
  const char* name;
  const char* text;  // "{1}" and "{2}" stand for the two certificates
  result_t result;
  size_t count;
};

class ReadBundleTest : public BundleTest, public ::testing::WithParamInterface<ReadCase> {};

TEST_P(ReadBundleTest, HostileText) {
  std::string text = GetParam().text;
  for (auto [mark, pem] : {std::pair{"{1}", m_first.Pem()}, std::pair{"{2}", m_second.Pem()},
                           std::pair{"{k}", m_second.KeyPem()}}) {
    for (size_t at = text.find(mark); at != std::string::npos; at = text.find(mark)) {
      text.replace(at, 3, pem);
    }
  }
  WriteTextFile(m_bundle, text);
  std::vector<RawCert> entries{{1}};
  EXPECT_EQ(m_storage.ReadBundle(m_bundle, entries), GetParam().result);
  EXPECT_EQ(entries.size(), GetParam().count);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ReadBundleTest,
    ::testing::Values(
        ReadCase{"Empty", "", 0, 0},
        ReadCase{"CommentsBetweenBlocks", "# header\n{1}\nsome text\n{2}# end\n", 0, 2},
        ReadCase{"UnknownBlock", "{1}-----BEGIN SOMETHING-----\nAAAA\n-----END SOMETHING-----\n{2}",
                 0, 2},
        // A key joins the entry of its certificate and is dropped at the next rewrite.
        ReadCase{"KeyAfterCertificate", "{1}{k}{2}", 0, 2},
        ReadCase{"BrokenCertificate",
                 "{1}-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n", kFailed, 0}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(BundleTest, RewriteBundle_KeepsOrderModeOwnerAndLink) {
  size_t count = 0;
  WriteTextFile(m_dir + "/target.pem", "# comment\n" + tti::test::RealCaBundle(&count), 0640);
  ASSERT_GE(count, 100u);
  ASSERT_EQ(::chown((m_dir + "/target.pem").c_str(), 1234, 5678), 0);
  ASSERT_EQ(::symlink((m_dir + "/target.pem").c_str(), m_bundle.c_str()), 0);
  std::vector<RawCert> entries = Read(m_bundle);
  ASSERT_EQ(entries.size(), count);
  entries.push_back(m_first.Der());

  ASSERT_EQ(m_storage.RewriteBundle(m_bundle, entries), 0);

  EXPECT_EQ(Read(m_bundle), entries);
  EXPECT_TRUE(std::filesystem::is_symlink(m_bundle));
  struct stat status {};
  ASSERT_EQ(::stat(m_bundle.c_str(), &status), 0);
  EXPECT_EQ(std::make_tuple(status.st_mode & 07777, status.st_uid, status.st_gid),
            std::make_tuple(0640u, 1234u, 5678u));
  EXPECT_EQ(ReadTextFile(m_dir + "/target.pem").find("# comment"), std::string::npos);
  // Nothing but the link and its target is left in the directory.
  EXPECT_EQ(std::system(("test $(ls -A " + m_dir + " | wc -l) -eq 2").c_str()), 0);
}

TEST_F(BundleTest, RewriteBundle_ParentIsALinkToADirectory_LeavesTheBundle_MissingNotRead) {
  ASSERT_EQ(::mkdir((m_dir + "/real").c_str(), 0755), 0);
  ASSERT_EQ(::symlink((m_dir + "/real").c_str(), (m_dir + "/alias").c_str()), 0);
  WriteTextFile(m_dir + "/real/bundle.pem", m_first.Pem());
  EXPECT_LT(m_storage.RewriteBundle(m_dir + "/alias/bundle.pem", {m_second.Der()}), 0);
  EXPECT_EQ(ReadTextFile(m_dir + "/real/bundle.pem"), m_first.Pem());
  EXPECT_TRUE(std::filesystem::is_symlink(m_dir + "/alias"));
  // A missing bundle cannot be read.
  std::vector<RawCert> entries;
  EXPECT_EQ(m_storage.ReadBundle(m_dir + "/missing", entries), kFailed);
}

// A writer killed at any moment leaves the old or the new bundle, never a part, and a reader
// running beside it sees only whole bundles.
TEST_F(BundleTest, RewriteBundle_KilledWriter_LeavesOldOrNew) {
  WriteTextFile(m_bundle, tti::test::RealCaBundle());
  std::vector<RawCert> oldSet = Read(m_bundle);
  oldSet.resize(std::min<size_t>(oldSet.size(), 40));  // big enough to be caught mid-write
  ASSERT_EQ(m_storage.RewriteBundle(m_bundle, oldSet), 0);
  std::vector<RawCert> newSet = oldSet;
  newSet.push_back(m_first.Der());
  tti::test::ExpectWholeAfterKilledWriters(
      [&](bool useNew) { m_storage.RewriteBundle(m_bundle, useNew ? newSet : oldSet); },
      [&] {
        const auto seen = Read(m_bundle);
        return seen == oldSet || seen == newSet;
      });
}

}  // namespace
}  // namespace qel::tcp_traffic_interceptor::cert_stores

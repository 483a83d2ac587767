// The steps of OpenSslStorage that take a directory or a path, on real files in a temporary
// directory. What works on the fixed system paths is tested in tests/system/cert_stores.
#include "cert_stores/openssl/openssl_storage.h"

#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

#include "cert_stores/conversions/cert_conversions.h"
#include "support/cert_factory.h"
#include "support/namespace_sandbox.h"
#include "support/scratch.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

using tti::test::ReadTextFile;
using tti::test::WriteTextFile;

class StorageStepsTest : public ::testing::Test {
 protected:
  bool Exists(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
  }

  tti::test::TempDir m_temp{"/dev/shm"};
  const std::string m_dir = m_temp.path();
  OpenSslStorage m_storage;
  tti::test::TestCertificate m_root = tti::test::MakeRootCertificate("storage root");
  Certificate m_cert{"Morvane_Shield_Personal_Root_Certificate_00000001", m_root.Der()};
};

// The text and the rollback of a new anchor are checked through the real store; its mode and the
// second add, which must leave nothing to roll back, only here.
TEST_F(StorageStepsTest, AddToSource_WritesOnceKeepsTheEarlierNameRollsBackOnlyItsOwn) {
  std::vector<Certificate> present;
  {
    ScopeMultiGuard guard;
    present = m_storage.AddToSource({m_cert}, m_dir, guard);
    guard.Release();
  }
  const std::string anchor = m_dir + "/" + AnchorFileName(m_cert.name);
  ASSERT_EQ(present.size(), 1u);
  struct stat status {};
  ASSERT_EQ(::stat(anchor.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0444u);

  // The same bytes under a fresh name: found by content, nothing written, the old name wins.
  ScopeMultiGuard guard;
  const auto again = m_storage.AddToSource({MakeCertificate(m_cert.raw)}, m_dir, guard);
  ASSERT_EQ(again.size(), 1u);
  EXPECT_EQ(again[0].name, m_cert.name);
  EXPECT_EQ(guard.Size(), 0u);
  EXPECT_EQ(m_storage.FindProductFiles(m_dir).size(), 1u);

  // Rolled back, a call removes only the files it wrote.
  const auto other = tti::test::MakeRootCertificate("other root");
  const std::string otherName = "Morvane_Shield_Personal_Root_Certificate_00000002";
  {
    ScopeMultiGuard rolledBack;
    EXPECT_EQ(m_storage.AddToSource({m_cert, {otherName, other.Der()}}, m_dir, rolledBack).size(),
              2u);
  }
  EXPECT_TRUE(Exists(anchor));
  EXPECT_FALSE(Exists(m_dir + "/" + AnchorFileName(otherName)));
}

TEST_F(StorageStepsTest, FindProductFiles_KeepsRegularProductFilesOnly) {
  WriteTextFile(m_dir + "/Morvane_Shield_Personal_Root_Certificate_a.crt", "x");
  WriteTextFile(m_dir + "/other.crt", "x");
  ASSERT_EQ(::mkdir((m_dir + "/Morvane_Shield_Personal_Root_Certificate_dir").c_str(), 0755), 0);
  ASSERT_EQ(::symlink((m_dir + "/other.crt").c_str(),
                      (m_dir + "/Morvane_Shield_Personal_Root_Certificate_l.crt").c_str()),
            0);
  ASSERT_EQ(::symlink("/nonexistent",
                      (m_dir + "/Morvane_Shield_Personal_Root_Certificate_d.crt").c_str()),
            0);
  auto files = m_storage.FindProductFiles(m_dir);
  std::sort(files.begin(), files.end());
  EXPECT_EQ(files,
            (std::vector<NativePath>{m_dir + "/Morvane_Shield_Personal_Root_Certificate_a.crt",
                                     m_dir + "/Morvane_Shield_Personal_Root_Certificate_l.crt"}));
}

struct HashCase {
  const char* name;
  // Per index: 'f' a regular file, 'o' a link of another certificate, 'm' this one's link.
  const char* taken;
  result_t result;
  int index;
};

class FindFreeHashLinkTest : public StorageStepsTest,
                             public ::testing::WithParamInterface<HashCase> {};

TEST_P(FindFreeHashLinkTest, SkipsOthersAndFindsItsOwn) {
  uint64_t hash = 0;
  ASSERT_EQ(GetSubjectHash(m_cert.raw, hash), 0);
  const std::string stem = m_dir + "/" + GetHashText(hash) + ".";
  const std::string taken = GetParam().taken;
  for (size_t index = 0; index < taken.size(); ++index) {
    const std::string path = stem + std::to_string(index);
    if (taken[index] == 'f') {
      WriteTextFile(path, "administrator's");
    } else {
      const std::string target =
          taken[index] == 'm' ? m_dir + "/" + LinkFileName(m_cert.name) : m_dir + "/other.pem";
      ASSERT_EQ(::symlink(target.c_str(), path.c_str()), 0);
    }
  }
  NativePath path = m_dir;
  EXPECT_EQ(m_storage.FindFreeHashLink(m_cert, path), GetParam().result);
  if (GetParam().index >= 0) {
    EXPECT_EQ(path, stem + std::to_string(GetParam().index));
  }
}

INSTANTIATE_TEST_SUITE_P(Table, FindFreeHashLinkTest,
                         ::testing::Values(HashCase{"TwoTaken", "fo", 0, 2},
                                           HashCase{"OwnLink", "fmo", 0, 1}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(StorageStepsTest, CreateSymlink_TakenPlaceOrFailure_AddsNoRollback) {
  ScopeMultiGuard guard;
  const std::string admin = m_dir + "/admin.pem";
  WriteTextFile(admin, "administrator's file");
  EXPECT_EQ(m_storage.CreateSymlink("/target", admin, guard), 0);
  EXPECT_EQ(ReadTextFile(admin), "administrator's file");
  // The plain errno comes back, positive, so callers go on.
  EXPECT_EQ(m_storage.CreateSymlink("/target", m_dir + "/missing/link", guard), ENOENT);
  EXPECT_EQ(guard.Size(), 0u);
  EXPECT_EQ(m_storage.CreateSymlink("/target", m_dir + "/link", guard), 0);
  EXPECT_EQ(guard.Size(), 1u);
}

TEST_F(StorageStepsTest, FindHashLink_FindsOnlyTheLinkOfThisCertificate) {
  uint64_t hash = 0;
  ASSERT_EQ(GetSubjectHash(m_cert.raw, hash), 0);
  const std::string stem = m_dir + "/" + GetHashText(hash);
  ASSERT_EQ(::symlink("other.pem", (stem + ".0").c_str()), 0);
  NativePath path = m_dir;
  EXPECT_EQ(m_storage.FindHashLink(m_cert, path), orv::MakeResult(0x80010102u));
  ASSERT_EQ(::symlink(LinkFileName(m_cert.name).c_str(), (stem + ".1").c_str()), 0);
  EXPECT_EQ(m_storage.FindHashLink(m_cert, path), 0);
  EXPECT_EQ(path, stem + ".1");
}

TEST_F(StorageStepsTest, RemoveFromSource_RemovesTheFirstSameFile) {
  WriteTextFile(m_dir + "/Morvane_Shield_Personal_Root_Certificate_old.crt", m_root.Pem());
  WriteTextFile(m_dir + "/Morvane_Shield_Personal_Root_Certificate_bad.crt", "not pem");
  const auto removed = m_storage.RemoveFromSource({m_cert}, m_dir);
  ASSERT_EQ(removed.size(), 1u);
  EXPECT_EQ(removed[0].name, "Morvane_Shield_Personal_Root_Certificate_old");
  EXPECT_FALSE(Exists(m_dir + "/Morvane_Shield_Personal_Root_Certificate_old.crt"));
  EXPECT_TRUE(Exists(m_dir + "/Morvane_Shield_Personal_Root_Certificate_bad.crt"));
}

}  // namespace
}  // namespace qel::tcp_traffic_interceptor::cert_stores

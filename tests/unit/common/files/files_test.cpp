#include "qel/tools/files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "qel/tools/unique_fd.h"
#include "support/scratch.h"

namespace qel::tools {
namespace {

constexpr result_t kFileNotFound = orv::MakeResult(0x80010102u);

class FilesTest : public ::testing::Test {
 protected:
  // A path of exactly `length` bytes below the root; its directories are made here (mkdirat step
  // by step, since mkdir itself cannot take the long path).
  std::string PathOfLength(size_t length) {
    std::string path = m_root;
    UniqueFd directory(::open(m_root.c_str(), O_DIRECTORY | O_CLOEXEC));
    int index = 0;
    while (path.size() + 1 + 200 < length) {
      const std::string name = std::to_string(index++) + std::string(100, 'd');
      EXPECT_EQ(::mkdirat(directory.Get(), name.c_str(), 0755), 0);
      directory.Reset(::openat(directory.Get(), name.c_str(), O_DIRECTORY | O_CLOEXEC));
      path += "/" + name;
    }
    return path + "/" + std::string(length - path.size() - 1, 'f');
  }

  tti::test::TempDir m_dir;
  const std::string m_root = m_dir.path();
};

// Each length sits at an edge of the walk: plain call, first walked length, a piece boundary.
class LongPathTest : public FilesTest, public ::testing::WithParamInterface<size_t> {};

TEST_P(LongPathTest, CreateStatReadRemove_WorkAtAnyLength) {
  const std::string path = PathOfLength(GetParam());
  ASSERT_EQ(path.size(), GetParam());
  {
    UniqueFd fd(OpenFile(AT_FDCWD, path, O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    ASSERT_TRUE(fd) << std::strerror(errno);
    ASSERT_EQ(WriteAll(fd.Get(), "content", 7), 0);
  }
  struct stat status {};
  ASSERT_EQ(LStatPath(path, &status), 0);
  EXPECT_TRUE(S_ISREG(status.st_mode));
  std::vector<uint8_t> content;
  ASSERT_EQ(ReadFile(path, content), 0);
  EXPECT_EQ(std::string(content.begin(), content.end()), "content");
  ASSERT_EQ(ReadFile(path, content, 4), 0);
  EXPECT_EQ(std::string(content.begin(), content.end()), "cont");
  ASSERT_EQ(RemoveFile(path), 0);
  EXPECT_EQ(LStatPath(path, &status), kFileNotFound);
  EXPECT_EQ(RemoveFile(path), kFileNotFound);
}

INSTANTIATE_TEST_SUITE_P(Lengths, LongPathTest, ::testing::Values(300, 4095, 4096, 4097, 12000));

TEST_F(FilesTest, OpenFile_RelativeToDirectory_WalksLongPath_LongFirstComponentFails) {
  const std::string path = PathOfLength(6000);
  UniqueFd root(::open(m_root.c_str(), O_DIRECTORY | O_CLOEXEC));
  const std::string relative = path.substr(m_root.size() + 1);
  UniqueFd fd(OpenFile(root.Get(), relative, O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  ASSERT_TRUE(fd) << std::strerror(errno);
  EXPECT_EQ(RemoveFile(root.Get(), relative), 0);
  // The caller's descriptor stays open.
  EXPECT_EQ(::fcntl(root.Get(), F_GETFD), FD_CLOEXEC);

  // No '/' in the first 4095 bytes: the walk opens that piece, which is no directory.
  const std::string longFirst = m_root + "/" + std::string(5000, 'x');
  struct stat status {};
  EXPECT_LT(LStatPath(longFirst, &status), 0);
  EXPECT_EQ(OpenFile(AT_FDCWD, longFirst, O_RDONLY | O_CLOEXEC), -1);
}

TEST_F(FilesTest, WriteFileViaTemporary_ReplacesWithReadOnlyFile) {
  const std::string path = m_root + "/file";
  tti::test::WriteText(path, "old old old");
  // A stale temporary of an earlier run is reused and truncated.
  tti::test::WriteText(path + ".tmp", "stale stale");
  ASSERT_EQ(::chmod((path + ".tmp").c_str(), 0444), 0);
  ASSERT_EQ(WriteFileViaTemporary(path, "new"), 0);
  EXPECT_EQ(tti::test::ReadText(path), "new");
  struct stat status {};
  ASSERT_EQ(LStatPath(path, &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0444u);
  EXPECT_EQ(LStatPath(path + ".tmp", &status), kFileNotFound);
}

TEST_F(FilesTest, WriteFileViaTemporary_RenameFails_LeavesNoTemporary_ReadMissingFails) {
  const std::string path = m_root + "/directory";
  ASSERT_EQ(::mkdir(path.c_str(), 0755), 0);
  EXPECT_LT(WriteFileViaTemporary(path, "text"), 0);
  struct stat status {};
  ASSERT_EQ(LStatPath(path, &status), 0);
  EXPECT_TRUE(S_ISDIR(status.st_mode));
  EXPECT_EQ(LStatPath(path + ".tmp", &status), kFileNotFound);
  EXPECT_EQ(WriteFileViaTemporary(m_root + "/missing/file", "text"), kFileNotFound);
  std::vector<uint8_t> content{1, 2, 3};
  EXPECT_EQ(ReadFile(m_root + "/missing", content), kFileNotFound);
}

TEST(LastPathComponentTest, TableAndThisBinary) {
  EXPECT_EQ(LastPathComponent("/etc/ssl/certs/a.pem"), "a.pem");
  EXPECT_EQ(LastPathComponent("a.pem"), "a.pem");
  EXPECT_EQ(LastPathComponent("/etc/ssl/"), "");
  EXPECT_EQ(LastPathComponent(""), "");
  EXPECT_EQ(LastPathComponent(GetSelfPath()), "files_test");
}

}  // namespace
}  // namespace qel::tools

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <string>

#include "forked.h"
#include "qel/tools/kernel_release.h"
#include "qel/tools/process_runner.h"
#include "qel/tools/unique_fd.h"
#include "support/scratch.h"
#include "test_options.h"

namespace qel::tools {
namespace {

using tti::test::Eventually;
using tti::test::ReadText;
using tti::test::TempDir;
using tti::test::WriteText;

TEST(RunProcess, DescriptorsWithoutCloseOnExec_DoNotReachChild) {
  const int leaked = open("/dev/null", O_RDONLY);  // deliberately without O_CLOEXEC
  ASSERT_GE(leaked, 3);
  const char* const args[] = {"/bin/ls", "/proc/self/fd", nullptr};
  std::string out;
  ProcessOptions options = TestOptions(args);
  options.stdoutCapture = &out;
  EXPECT_EQ(RunProcess(options), orv::errors::kOk);
  close(leaked);
  // 3 is the listing's own directory.
  EXPECT_EQ(out, "0\n1\n2\n3\n");
}

TEST(CloseOtherDescriptors, Listing_ClosesAllAboveStandardOnes) {
  const int status = RunForked([] {
    for (int i = 0; i < 20; ++i) {
      if (open("/dev/null", O_RDONLY) < 0) {
        return 1;
      }
    }
    CloseOtherDescriptorsByListing();
    for (int fd = 3; fd < 64; ++fd) {
      if (fcntl(fd, F_GETFD) != -1) {
        return 2;
      }
    }
    return fcntl(0, F_GETFD) != -1 && fcntl(2, F_GETFD) != -1 ? 0 : 3;
  });
  EXPECT_EQ(status, 0);
}

TEST(RunProcess, GivenDescriptors_RedirectedWithGivenEnvironment) {
  TempDir dir;
  WriteText(dir / "in", "input\n");
  const UniqueFd in(open((dir / "in").c_str(), O_RDONLY | O_CLOEXEC));
  const UniqueFd out(open((dir / "out").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  const UniqueFd err(open((dir / "err").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  const char* const args[] = {"sh", "-c", "cat; echo \"$EXTRA\" >&2", nullptr};
  const char* const env[] = {"EXTRA=given", nullptr};
  ProcessOptions options = TestOptions(args);
  options.env = env;
  options.stdinFd = in.Get();
  options.stdoutFd = out.Get();
  options.stderrFd = err.Get();
  EXPECT_EQ(RunProcess(options), orv::errors::kOk);
  EXPECT_EQ(ReadText(dir / "out"), "input\n");
  EXPECT_EQ(ReadText(dir / "err"), "given\n");
}

// The output descriptor sits at 0, where the input goes first: it must be moved away, not lost.
TEST(RunProcess, OutputDescriptorAtZero_MovedBeforeInputTakesIt) {
  TempDir dir;
  WriteText(dir / "in", "moved\n");
  const std::string outPath = dir / "out";
  const int status = RunForked([&] {
    const int in = open((dir / "in").c_str(), O_RDONLY | O_CLOEXEC);
    const int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    if (in < 0 || out < 0 || dup2(out, 0) != 0) {
      return 100;
    }
    const char* const args[] = {"/bin/cat", nullptr};
    ProcessOptions options = TestOptions(args);
    options.stdinFd = in;
    options.stdoutFd = 0;
    return ORV_SUCCEEDED(RunProcess(options)) ? 0 : 101;
  });
  EXPECT_EQ(status, 0);
  EXPECT_EQ(ReadText(outPath), "moved\n");
}

TEST(RunProcessDetached, Daemon_RunsInOwnSessionInRootWithClearedUmask) {
  TempDir dir;
  const std::string outPath = dir / "out";
  const UniqueFd out(open(outPath.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  // The daemon's session is a new one, made by the first child.
  const std::string ourSession = std::to_string(getsid(0));
  const char* const args[] = {"sh",
                              "-c",
                              "pwd; umask; [ $(ps -o sid= $$) -ne $1 ] && echo other",
                              "sh",
                              ourSession.c_str(),
                              nullptr};
  ProcessOptions options = TestOptions(args);
  options.stdoutFd = out.Get();
  EXPECT_EQ(RunProcessDetached(options), orv::errors::kOk);
  const std::string expected = "/\n0000\nother\n";
  Eventually([&] { return ReadText(outPath) == expected; }, std::chrono::seconds(20));
  EXPECT_EQ(ReadText(outPath), expected);
}

TEST(RunProcessDetached, PipesOrNonFiles_Rejected) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  const char* const args[] = {"/bin/true", nullptr};
  std::string capture;
  ProcessOptions toPipe = TestOptions(args);
  toPipe.stdoutFd = ends[1];
  ProcessOptions captured = toPipe;
  captured.stdoutFd = -1;
  captured.stdoutCapture = &capture;
  for (ProcessOptions* options : {&toPipe, &captured}) {
    EXPECT_EQ(RunProcessDetached(*options), orv::errors::kInvalidArgument);
    EXPECT_EQ(options->stage, ChildStage::kOptionsRejected);
  }
  close(ends[0]);
  close(ends[1]);
}

TEST(KernelRelease, ParsedThenComparedMajorFirst) {
  // Fields: build, patch, minor, major.
  const std::pair<const char*, KernelRelease> cases[] = {{"5.9.0", {-1, 0, 9, 5}},
                                                         {"5.15.0-91-generic", {91, 0, 15, 5}},
                                                         {"6.1", {-1, -1, 1, 6}},
                                                         {"unknown", {-1, -1, -1, -1}}};
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(ParseKernelRelease(text), expected) << text;
  }
  EXPECT_TRUE((KernelRelease{-1, -1, 9, 5} < KernelRelease{-1, 0, 9, 5}));
  EXPECT_TRUE((KernelRelease{99, 99, 99, 4} < KernelRelease{-1, -1, 0, 5}));
  EXPECT_FALSE((KernelRelease{-1, 0, 10, 5} < KernelRelease{-1, -1, 9, 5}));
}

}  // namespace
}  // namespace qel::tools

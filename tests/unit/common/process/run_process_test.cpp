#include "qel/tools/process_runner.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>

#include <future>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <boost/filesystem.hpp>

#include "test_options.h"

namespace qel::tools {
namespace {

// Set before the first use of the default environment, which keeps the values it saw then.
const bool kEnvironmentSet = setenv("LC_TIME", "C.UTF-8", 1) == 0 &&
                             setenv("LC_PAPER", "C.UTF-8", 1) == 0 &&
                             setenv("PATH", "/nowhere", 1) == 0;

std::vector<const char*> Shell(const char* script, std::vector<const char*> rest = {}) {
  std::vector<const char*> args = {"/bin/sh", "-c", script, "sh"};
  args.insert(args.end(), rest.begin(), rest.end());
  args.push_back(nullptr);
  return args;
}

struct Capture {
  std::string out;
  std::string err;
};

// Runs the shell script with both streams captured.
result_t RunScript(const char* script, Capture& capture, std::vector<const char*> rest = {}) {
  const auto args = Shell(script, rest);
  ProcessOptions options = TestOptions(args.data());
  options.stdoutCapture = &capture.out;
  options.stderrCapture = &capture.err;
  return RunProcess(options);
}

class RejectedOptions : public testing::TestWithParam<void (*)(ProcessOptions&)> {};

TEST_P(RejectedOptions, InvalidArgumentAndNoChild) {
  const boost::filesystem::path marker =
      boost::filesystem::temp_directory_path() / boost::filesystem::unique_path();
  const std::string script = "touch " + marker.string();
  const auto args = Shell(script.c_str());
  static const unsigned char kByte = 'x';
  const const_blob_range_t oneByte{&kByte, &kByte + 1};
  ProcessOptions options = TestOptions(args.data());
  options.stdinData = &oneByte;
  GetParam()(options);
  EXPECT_EQ(RunProcess(options), orv::errors::kInvalidArgument);
  EXPECT_EQ(options.stage, ChildStage::kOptionsRejected);
  EXPECT_FALSE(boost::filesystem::exists(marker));
}

// A real string, in case a contradiction were let through and the run captured into it.
std::string gSink;
std::string* const kSomeString = &gSink;
const const_blob_range_t kEmptyInput{};

INSTANTIATE_TEST_SUITE_P(
    Contradictions, RejectedOptions,
    testing::Values([](ProcessOptions& o) { o.stdoutCapture = kSomeString, o.stdoutFd = 2; },
                    [](ProcessOptions& o) { o.stdoutFd = 2, o.inheritStdout = true; },
                    [](ProcessOptions& o) { o.stderrCapture = kSomeString, o.stderrFd = 1; },
                    [](ProcessOptions& o) {
                      o.stdoutCapture = kSomeString, o.stderrFd = 1, o.mergeStderr = true;
                    },
                    [](ProcessOptions& o) { o.stdinFd = 0; },
                    [](ProcessOptions& o) { o.stdinData = &kEmptyInput; },
                    [](ProcessOptions& o) { o.stdoutCapture = kSomeString, o.stdoutLimit = 0; },
                    [](ProcessOptions& o) { o.stderrCapture = kSomeString, o.stderrLimit = 0; },
                    [](ProcessOptions& o) { o.mergeStderr = true; }));

TEST(RunProcess, ProgramMissing_NotFoundOrChildExit) {
  const char* const relative[] = {"no-such-program-here", nullptr};
  ProcessOptions searched = TestOptions(relative);
  EXPECT_EQ(RunProcess(searched), orv::errors::kNotFound);
  EXPECT_EQ(searched.stage, ChildStage::kProgramNotFound);

  // An absolute path is not checked: execve fails in the child with ENOENT.
  const char* const absolute[] = {"/no/such/program", nullptr};
  ProcessOptions started = TestOptions(absolute);
  EXPECT_EQ(RunProcess(started), orv::errors::kUnspecified);
  EXPECT_EQ(started.exitCode, ENOENT);
  EXPECT_EQ(started.stage, ChildStage::kNone);
}

TEST(RunProcess, Streams_CapturedSeparatelyOrMerged) {
  Capture capture;
  EXPECT_EQ(RunScript("echo out; echo err >&2", capture), orv::errors::kOk);
  EXPECT_EQ(capture.out, "out\n");
  EXPECT_EQ(capture.err, "err\n");

  const auto args = Shell("echo out; echo err >&2");
  std::string merged;
  ProcessOptions options = TestOptions(args.data());
  options.stdoutCapture = &merged;
  options.mergeStderr = true;
  EXPECT_EQ(RunProcess(options), orv::errors::kOk);
  EXPECT_EQ(merged, "out\nerr\n");
}

// The start blocks every signal around the clone: the caller's mask comes back as it was, and the
// child execs with none blocked.
TEST(RunProcess, SignalMask_CallersKeptChildsEmpty) {
  sigset_t usr1;
  sigemptyset(&usr1);
  sigaddset(&usr1, SIGUSR1);
  sigset_t previous;
  pthread_sigmask(SIG_BLOCK, &usr1, &previous);
  Capture capture;
  EXPECT_EQ(RunScript("grep SigBlk /proc/$$/status", capture), orv::errors::kOk);
  sigset_t after;
  pthread_sigmask(SIG_SETMASK, &previous, &after);
  EXPECT_EQ(capture.out, "SigBlk:\t0000000000000000\n");
  EXPECT_TRUE(sigismember(&after, SIGUSR1));
  EXPECT_FALSE(sigismember(&after, SIGUSR2));
}

TEST(RunProcess, InputLargerThanPipe_FedAndEchoed) {
  std::string input(1 << 20, '\0');
  for (size_t i = 0; i < input.size(); ++i) {
    input[i] = static_cast<char>(i * 7);
  }
  const auto* bytes = reinterpret_cast<const unsigned char*>(input.data());
  const const_blob_range_t data{bytes, bytes + input.size()};
  const char* const args[] = {"cat", nullptr};
  std::string output;
  ProcessOptions options = TestOptions(args);
  options.stdinData = &data;
  options.stdoutCapture = &output;
  EXPECT_EQ(RunProcess(options), orv::errors::kOk);
  EXPECT_TRUE(output == input);
}

TEST(RunProcess, CaptureLimit_ClosesPipeAndChildWriteFails) {
  const auto args = Shell("while printf 0123456789; do :; done; exit 7");
  std::string out;
  ProcessOptions options = TestOptions(args.data());
  options.stdoutCapture = &out;
  options.stdoutLimit = 15;
  options.timeoutMs = 60000;  // only against a hang
  EXPECT_EQ(RunProcess(options), orv::errors::kUnspecified);
  EXPECT_EQ(out, "012345678901234");
  // Killed by SIGPIPE, or its write failed with EPIPE when SIGPIPE is ignored.
  EXPECT_TRUE(options.signal == SIGPIPE || options.exitCode == 7);
}

TEST(RunProcess, ArgumentsAndEnvironment_CutAndFiltered) {
  const std::string longArgument(5000, 'a');
  Capture capture;
  EXPECT_EQ(RunScript("printf %s \"$1\" | wc -c", capture, {longArgument.c_str()}),
            orv::errors::kOk);
  EXPECT_EQ(capture.out, "4095\n");

  const std::vector<const char*> manyArgs(60, "x");
  capture = {};
  // /bin/sh, -c, the script and $0 take 4 of the 50 entries that reach the child.
  EXPECT_EQ(RunScript("echo $#", capture, manyArgs), orv::errors::kOk);
  EXPECT_EQ(capture.out, "46\n");

  ASSERT_TRUE(kEnvironmentSet);
  capture = {};
  const char* const env[] = {"env", nullptr};
  ProcessOptions options = TestOptions(env);
  options.stdoutCapture = &capture.out;
  EXPECT_EQ(RunProcess(options), orv::errors::kOk);
  EXPECT_EQ(capture.out.rfind("PATH=/usr/sbin:/usr/bin:/bin:/sbin\n", 0), 0u) << capture.out;
  EXPECT_NE(capture.out.find("\nLC_TIME=C.UTF-8\n"), std::string::npos);
  EXPECT_EQ(capture.out.find("LC_PAPER"), std::string::npos);
  EXPECT_EQ(capture.out.find("/nowhere"), std::string::npos);
}

TEST(RunProcess, UserChange_ChildRunsAsAsked) {
  ASSERT_EQ(geteuid(), 0u) << "the user change needs root";
  // uid, gid, groups, then id -u, id -g, id -G; uid 0 and gid 0 mean "no change", not root.
  const std::tuple<uint32_t, uint32_t, std::vector<uint32_t>, const char*> cases[] = {
      {65534, 65534, {65534, 5}, "65534\n65534\n65534 5\n"}, {0, 0, {0}, "0\n0\n0\n"}};
  for (const auto& [uid, gid, groups, expected] : cases) {
    Capture capture;
    const auto args = Shell("id -u; id -g; id -G");
    ProcessOptions options = TestOptions(args.data());
    options.uid = uid;
    options.gid = gid;
    options.groups = groups;
    options.stdoutCapture = &capture.out;
    options.timeoutMs = 20000;
    // The host runs the module among threads of its own: the child's change of user must not wait
    // for threads that only the parent has.
    std::promise<void> done;
    std::thread bystander([ended = done.get_future()] { ended.wait(); });
    EXPECT_EQ(RunProcess(options), orv::errors::kOk);
    done.set_value();
    bystander.join();
    EXPECT_EQ(capture.out, expected);
  }
}

TEST(RunProcess, WorkingDirectoryAndLimits_AppliedInChild) {
  const boost::filesystem::path directory =
      boost::filesystem::canonical(boost::filesystem::temp_directory_path());
  const auto args = Shell("pwd; ulimit -n");
  std::string out;
  ProcessOptions options = TestOptions(args.data());
  options.cwd = directory.c_str();
  options.limits = {{64, 64, RLIMIT_NOFILE}};
  options.stdoutCapture = &out;
  EXPECT_EQ(RunProcess(options), orv::errors::kOk);
  EXPECT_EQ(out, directory.string() + "\n64\n");

  options.cwd = "/no/such/directory";
  EXPECT_EQ(RunProcess(options), orv::errors::kUnspecified);
  EXPECT_EQ(options.exitCode, ENOENT);
  EXPECT_FALSE(options.signal);

  options.cwd = nullptr;
  options.limits = {{1, 2, RLIMIT_NOFILE}};  // soft above hard
  EXPECT_EQ(RunProcess(options), orv::errors::kUnspecified);
  EXPECT_EQ(options.exitCode, EINVAL);
}

// SIGTERM first; SIGKILL when the child ignores it. A disposition of "ignore" survives clone and
// exec: the child ignores SIGTERM from its start.
TEST(RunProcess, TimeLimit_ChildStoppedByLadder) {
  for (const auto& [ignoreTerm, stoppedBy] :
       {std::pair{false, SIGTERM}, std::pair{true, SIGKILL}}) {
    struct sigaction previous {};
    struct sigaction ignore {};
    ignore.sa_handler = ignoreTerm ? SIG_IGN : SIG_DFL;
    sigaction(SIGTERM, &ignore, &previous);
    const char* const args[] = {"/bin/sleep", "60", nullptr};
    ProcessOptions options = TestOptions(args);
    options.timeoutMs = 50;
    const result_t result = RunProcess(options);
    sigaction(SIGTERM, &previous, nullptr);
    EXPECT_EQ(result, kOperationTimeout);
    EXPECT_EQ(options.result, kOperationTimeout);
    EXPECT_EQ(options.signal, stoppedBy);
    EXPECT_FALSE(options.exitCode);
  }
}

TEST(RunProcess, TimeLimitWhilePumping_Timeout) {
  const auto args = Shell("echo started; exec sleep 60");
  std::string out;
  ProcessOptions options = TestOptions(args.data());
  options.stdoutCapture = &out;
  options.timeoutMs = 100;
  EXPECT_EQ(RunProcess(options), kOperationTimeout);
  EXPECT_TRUE(options.signal);
}

}  // namespace
}  // namespace qel::tools

// Each failure stage of a run, provoked in a forked copy of the test: descriptor limits, a process
// limit, an ignored SIGCHLD and seccomp filters that make kill fail or do nothing.
#include <gtest/gtest.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstddef>

#include "forked.h"
#include "qel/tools/process_runner.h"
#include "test_options.h"

namespace qel::tools {
namespace {

// kill(pid, `sig`) returns `error` without being made (error 0: "succeeds" without a signal).
bool FilterKill(int sig, int error) {
#if defined(__x86_64__)
  constexpr uint32_t kArch = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
  constexpr uint32_t kArch = AUDIT_ARCH_AARCH64;
#endif
  sock_filter program[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, arch)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, kArch, 0, 5),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_kill, 0, 3),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args) + 8),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<uint32_t>(sig), 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<uint32_t>(error)),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  sock_fprog filter{static_cast<unsigned short>(sizeof(program) / sizeof(program[0])), program};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

struct StageCase {
  const char* name;
  int (*provoke)();  // prepares the forked process; 0 on success
  void (*adjust)(ProcessOptions&);
  ChildStage stage;
  int error;  // errno stored with the stage; 0 for none
  result_t result;
};

std::ostream& operator<<(std::ostream& stream, const StageCase& c) { return stream << c.name; }

// Only descriptors 0..2 and `free` more may be opened.
int LeaveDescriptors(int free) {
  CloseOtherDescriptors();
  const rlimit limit{static_cast<rlim_t>(3 + free), static_cast<rlim_t>(3 + free)};
  return setrlimit(RLIMIT_NOFILE, &limit);
}

const unsigned char kByte = 'x';
const const_blob_range_t kInput{&kByte, &kByte + 1};
std::string gOut;
std::string gErr;

class Stage : public testing::TestWithParam<StageCase> {};

TEST_P(Stage, FailureReportedWithStageAndErrno) {
  const StageCase& c = GetParam();
  const int status = RunForked([&c]() {
    if (c.provoke() != 0) {
      return 100;
    }
    const char* const args[] = {"/bin/sleep", "3", nullptr};
    ProcessOptions options = TestOptions(args);
    c.adjust(options);
    const result_t result = RunProcess(options);
    if (result != c.result || options.result != c.result) {
      return 101;
    }
    if (options.errorValue != c.error) {
      return 102;
    }
    if (c.error != 0 && options.errorCategory != &std::generic_category()) {
      return 103;
    }
    return static_cast<int>(options.stage);
  });
  EXPECT_EQ(status, static_cast<int>(c.stage));
}

INSTANTIATE_TEST_SUITE_P(
    AllStages, Stage,
    testing::Values(
        StageCase{"StdinPipe", [] { return LeaveDescriptors(1); },
                  [](ProcessOptions& o) { o.stdinData = &kInput; }, ChildStage::kStdinPipe, EMFILE,
                  orv::ResultFromErrno(EMFILE)},
        StageCase{"StdoutPipe", [] { return LeaveDescriptors(2); },
                  [](ProcessOptions& o) { o.stdinData = &kInput, o.stdoutCapture = &gOut; },
                  ChildStage::kStdoutPipe, EMFILE, orv::ResultFromErrno(EMFILE)},
        StageCase{"StderrPipe", [] { return LeaveDescriptors(2); },
                  [](ProcessOptions& o) { o.stderrCapture = &gErr, o.stdoutCapture = &gOut; },
                  ChildStage::kStderrPipe, EMFILE, orv::ResultFromErrno(EMFILE)},
        StageCase{"Fork",
                  [] {
                    const rlimit none{0, 0};
                    return setresgid(65534, 65534, 65534) | setresuid(65534, 65534, 65534) |
                           setrlimit(RLIMIT_NPROC, &none);
                  },
                  [](ProcessOptions&) {}, ChildStage::kFork, EAGAIN, orv::ResultFromErrno(EAGAIN)},
        // With SIGCHLD ignored the kernel reaps the child itself.
        StageCase{"Wait", [] { return signal(SIGCHLD, SIG_IGN) == SIG_ERR ? 1 : 0; },
                  [](ProcessOptions& o) {
                    static const char* const kArgs[] = {"/bin/true", nullptr};
                    o.path = kArgs[0];
                    o.args = kArgs;
                  },
                  ChildStage::kWait, ECHILD, orv::ResultFromErrno(ECHILD)},
        StageCase{"Sigterm", [] { return FilterKill(SIGTERM, EPERM) ? 0 : 1; },
                  [](ProcessOptions& o) { o.timeoutMs = 1; }, ChildStage::kSigterm, EPERM,
                  orv::ResultFromErrno(EPERM)},
        StageCase{"Sigkill",
                  [] {
                    // SIGTERM is ignored from the child's start, so SIGKILL is needed.
                    return signal(SIGTERM, SIG_IGN) == SIG_ERR || !FilterKill(SIGKILL, EPERM) ? 1
                                                                                              : 0;
                  },
                  [](ProcessOptions& o) { o.timeoutMs = 1, o.graceMs = 1; }, ChildStage::kSigkill,
                  EPERM, orv::ResultFromErrno(EPERM)},
        // SIGKILL "succeeds" without being sent: the child lives on through the 10 s wait.
        StageCase{
            "AliveAfterSigkill",
            [] { return signal(SIGTERM, SIG_IGN) == SIG_ERR || !FilterKill(SIGKILL, 0) ? 1 : 0; },
            [](ProcessOptions& o) {
              static const char* const kArgs[] = {"/bin/sleep", "11", nullptr};
              o.args = kArgs;
              o.timeoutMs = 1;
              o.graceMs = 1;
            },
            ChildStage::kAliveAfterSigkill, 0, kOperationTimeout}),
    [](const testing::TestParamInfo<StageCase>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace qel::tools

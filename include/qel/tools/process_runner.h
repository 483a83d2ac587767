#pragma once

#include <sys/resource.h>

#include <cstdint>
#include <cstdio>
#include <limits>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "orv/blob_range.h"
#include "orv/result.h"

namespace qel::tools {

// "Operation timeout": the run hit its time limit.
constexpr result_t kOperationTimeout = orv::MakeResult(0x80000221u);

// Where a run failed.
enum class ChildStage : int32_t {
  kNone = 0,
  kOptionsRejected = 1,
  kStdinPipe = 2,
  kStdoutPipe = 3,
  kStderrPipe = 4,
  kProgramNotFound = 5,
  kFork = 6,
  kWait = 7,
  kSigterm = 8,
  kSigkill = 9,
  kAliveAfterSigkill = 10,
};

// One setrlimit of the child.
struct ResourceLimit {
  uint64_t hard = 0;
  uint64_t soft = 0;
  int32_t resource = 0;
};

// The environment of every child unless the options say otherwise: PATH of the runner's search
// directories, then the locale, time zone and terminal variables of this process as they were at
// the first call. Built once; null-ended; lives as long as the module.
const char* const* DefaultEnvironment();

// One run. Texts, vectors and strings pointed to belong to the caller for the length of the call.
// Descriptor fields are -1 when not set.
struct ProcessOptions {
  static constexpr uint64_t kNoLimit = std::numeric_limits<uint64_t>::max();

  const char* path = nullptr;                     // program; a name without "/" is searched for
  const char* const* args = nullptr;              // null-ended, the program's name first
  const char* const* env = DefaultEnvironment();  // null-ended
  const char* cwd = nullptr;                      // working directory of the child; null keeps ours
  uint32_t uid = 0;                               // user of the child; 0 means no change
  uint32_t gid = 0;                               // group of the child; 0 means no change
  std::vector<uint32_t> groups;                   // supplementary groups; empty means no change
  const const_blob_range_t* stdinData = nullptr;  // bytes fed through a pipe
  int32_t stdinFd = -1;
  std::string* stdoutCapture = nullptr;
  uint64_t stdoutLimit = kNoLimit;  // reaching it closes the pipe: the child's next write fails
  int32_t stdoutFd = -1;
  bool inheritStdout = false;
  std::string* stderrCapture = nullptr;
  uint64_t stderrLimit = kNoLimit;
  int32_t stderrFd = -1;
  bool mergeStderr = false;  // error stream goes where the captured output goes
  std::vector<ResourceLimit> limits = {{20480, 20480, RLIMIT_NOFILE}};
  uint64_t timeoutMs = 0;  // 0: no time limit
  uint64_t graceMs = 200;  // between SIGTERM and SIGKILL
  // The child leads a process group of its own: the time limit's signals go to the whole group,
  // and whatever of the group outlives the child is killed when it ends (RunProcess only).
  bool ownProcessGroup = false;

  // Outputs.
  std::optional<int32_t> exitCode;
  std::optional<int32_t> signal;
  result_t result = 0;
  ChildStage stage = ChildStage::kNone;
  int32_t errorValue = 0;
  const std::error_category* errorCategory = &std::system_category();
};

// Starts the program, feeds and collects the pipes, waits and fills in the outputs. 0 only for an
// exit status of 0; 0x8000004b for any other end (exitCode or signal tell which); 0x80000221 when
// the time limit was hit, the child then having had SIGTERM and, after graceMs, SIGKILL;
// 0x80000046 for contradicting options, 0x8000004c for a program not found. A failed start in the
// child shows as its exit status: errno, or 132..137 for a user change that did not hold.
// Any thread.
result_t RunProcess(ProcessOptions& options);
// Starts the program as a daemon (own session, parent init) and reports only that the start got
// that far. No pipes; descriptors given must be regular files.
result_t RunProcessDetached(ProcessOptions& options);

// Entry points with the default environment and limits.
result_t RunProcess(const char* path, const char* const* args);
result_t RunProcessWithInput(const char* const* args, const const_blob_range_t* input,
                             bool inheritStdout);
result_t RunProcessAs(const char* path, const char* const* args, uint32_t uid, uint32_t gid);
result_t RunProcessCapture(const char* path, const char* const* args, std::string* output,
                           bool mergeStderr);
result_t RunProcessFeedCapture(const char* path, const char* const* args,
                               const const_blob_range_t* input, std::string* output,
                               bool mergeStderr);
// The environment is the default one followed by `extraEnvironment` ("NAME=value" entries).
result_t RunProcessWithDescriptors(const char* const* args,
                                   const std::vector<std::string>& extraEnvironment, int stdinFd,
                                   int stdoutFd, int stderrFd);

// An absolute path as it is; otherwise the first executable regular file of that name in the
// search directories; empty when there is none.
std::string ResolveExecutable(const char* path);

// Whether the running kernel has close_range (5.9 or newer); decided when the module loads.
bool KernelHasCloseRange();
// Closes every descriptor above 2. Async-signal-safe: for the child between fork and exec.
void CloseOtherDescriptors() noexcept;
// The same through the listing of /proc/self/fd, for kernels without close_range.
void CloseOtherDescriptorsByListing() noexcept;
// The size of this process's descriptor table from /proc/self/status; 0 when not found.
int GetDescriptorTableSize() noexcept;
// The same from a status record open for reading: its "FDSize:" line.
int DescriptorTableSizeFromStatus(FILE* status) noexcept;

}  // namespace qel::tools

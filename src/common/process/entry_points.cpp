#include <string>
#include <vector>

#include "qel/tools/process_runner.h"

namespace qel::tools {

result_t RunProcess(const char* path, const char* const* args) {
  ProcessOptions options;
  options.path = path;
  options.args = args;
  return RunProcess(options);
}

result_t RunProcessWithInput(const char* const* args, const const_blob_range_t* input,
                             bool inheritStdout) {
  ProcessOptions options;
  options.path = args != nullptr ? args[0] : nullptr;
  options.args = args;
  options.stdinData = input;
  options.inheritStdout = inheritStdout;
  return RunProcess(options);
}

result_t RunProcessAs(const char* path, const char* const* args, uint32_t uid, uint32_t gid) {
  ProcessOptions options;
  options.path = path;
  options.args = args;
  options.uid = uid;
  options.gid = gid;
  return RunProcess(options);
}

result_t RunProcessCapture(const char* path, const char* const* args, std::string* output,
                           bool mergeStderr) {
  ProcessOptions options;
  options.path = path;
  options.args = args;
  options.stdoutCapture = output;
  options.mergeStderr = mergeStderr;
  return RunProcess(options);
}

result_t RunProcessFeedCapture(const char* path, const char* const* args,
                               const const_blob_range_t* input, std::string* output,
                               bool mergeStderr) {
  ProcessOptions options;
  options.path = path;
  options.args = args;
  options.stdinData = input;
  options.stdoutCapture = output;
  options.mergeStderr = mergeStderr;
  return RunProcess(options);
}

result_t RunProcessWithDescriptors(const char* const* args,
                                   const std::vector<std::string>& extraEnvironment, int stdinFd,
                                   int stdoutFd, int stderrFd) {
  std::vector<const char*> environment;
  for (const char* const* entry = DefaultEnvironment(); *entry != nullptr; ++entry) {
    environment.push_back(*entry);
  }
  for (const std::string& entry : extraEnvironment) {
    environment.push_back(entry.c_str());
  }
  environment.push_back(nullptr);
  ProcessOptions options;
  options.path = args != nullptr ? args[0] : nullptr;
  options.args = args;
  options.env = environment.data();
  options.stdinFd = stdinFd;
  options.stdoutFd = stdoutFd;
  options.stderrFd = stderrFd;
  return RunProcess(options);
}

}  // namespace qel::tools

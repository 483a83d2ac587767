#include "support/clean_command.h"

#include <cstdlib>

#include "qel/tools/process_runner.h"
#include "support/scratch.h"

namespace tti::test {
namespace {

std::vector<const char*> Pointers(const std::vector<std::string>& words) {
  std::vector<const char*> pointers;
  for (const std::string& word : words) {
    pointers.push_back(word.c_str());
  }
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

CommandResult RunCommand(const std::vector<std::string>& argv,
                         const std::vector<std::string>& environment, uint32_t uid,
                         unsigned seconds) {
  std::vector<std::string> variables = environment;
  variables.push_back("PATH=/usr/bin:/bin");
  const std::vector<const char*> args = Pointers(argv);
  const std::vector<const char*> env = Pointers(variables);
  CommandResult result;
  qel::tools::ProcessOptions options;
  options.path = args[0];
  options.args = args.data();
  options.env = env.data();
  options.uid = uid;
  options.gid = uid;
  if (uid != 0) {
    options.groups = {uid};
  }
  options.limits.clear();  // the descriptor limit stays ours: raising it may not be allowed
  options.stdoutCapture = &result.output;
  options.mergeStderr = true;
  options.timeoutMs = seconds * 1000ull;
  qel::tools::RunProcess(options);
  result.exitCode = options.exitCode.value_or(-1);
  return result;
}

CommandResult RunClean(const std::vector<std::string>& argv) {
  const TempDir home;
  return RunCommand(argv, {"HOME=" + home.path()});
}

CommandResult RunModuleHost(std::vector<std::string> arguments) {
  const std::string binaryDir = std::getenv("TTI_BINARY_DIR");
  arguments.insert(arguments.begin(), binaryDir + "/bin/module-host");
  return RunCommand(arguments, {"TTI_BINARY_DIR=" + binaryDir});
}

}  // namespace tti::test

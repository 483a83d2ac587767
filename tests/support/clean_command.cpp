#include "support/clean_command.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cstdlib>
#include <stdexcept>
#include <utility>

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

UntilResult RunUntil(const std::vector<std::string>& argv,
                     const std::vector<std::string>& environment, const std::string& outputFile,
                     const std::function<bool()>& settled, std::chrono::milliseconds limit) {
  std::vector<std::string> variables = environment;
  variables.push_back("PATH=/usr/bin:/bin");
  std::vector<char*> args;
  for (const std::string& word : argv) {
    args.push_back(const_cast<char*>(word.c_str()));
  }
  args.push_back(nullptr);
  std::vector<char*> env;
  for (std::string& variable : variables) {
    env.push_back(variable.data());
  }
  env.push_back(nullptr);

  posix_spawnattr_t attributes;
  posix_spawn_file_actions_t actions;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  posix_spawnattr_setpgroup(&attributes, 0);
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, outputFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                   0644);
  posix_spawn_file_actions_adddup2(&actions, 1, 2);
  pid_t pid = -1;
  const int spawned = posix_spawnp(&pid, args[0], &actions, &attributes, args.data(), env.data());
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  if (spawned != 0) {
    throw std::runtime_error(argv[0] + " cannot be started");
  }

  UntilResult result;
  result.settled = Eventually(settled, limit);
  ::kill(-pid, SIGTERM);
  int status = 0;
  const bool reaped =
      Eventually([&] { return ::waitpid(pid, &status, WNOHANG) == pid; }, std::chrono::seconds(10));
  ::kill(-pid, SIGKILL);  // what is left of the group too
  if (!reaped) {
    ::waitpid(pid, &status, 0);
  }
  result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

std::vector<std::string> ModuleHostCommand(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(),
                   std::string(std::getenv("TTI_BINARY_DIR")) + "/bin/module-host");
  return arguments;
}

CommandResult RunModuleHost(std::vector<std::string> arguments) {
  return RunCommand(ModuleHostCommand(std::move(arguments)),
                    {"TTI_BINARY_DIR=" + std::string(std::getenv("TTI_BINARY_DIR"))});
}

}  // namespace tti::test

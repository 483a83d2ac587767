#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace tti::test {

struct CommandResult {
  int exitCode = -1;   // -1 when it did not exit normally
  std::string output;  // standard output and error together
};

// Runs a program with only `environment` (PATH=/usr/bin:/bin added), as uid:gid `uid` with no
// other group unless 0, for at most `seconds`.
CommandResult RunCommand(const std::vector<std::string>& argv,
                         const std::vector<std::string>& environment, uint32_t uid = 0,
                         unsigned seconds = 120);

// Runs a program with HOME a fresh empty folder and PATH=/usr/bin:/bin alone: variables such as
// SSL_CERT_FILE or CURL_CA_BUNDLE would make clients bypass the system store.
CommandResult RunClean(const std::vector<std::string>& argv);

// Starts a program in a process group of its own with only `environment` (PATH=/usr/bin:/bin
// added), its standard output and error written to `outputFile`; polls `settled` until it holds
// or `limit` has passed, then sends SIGTERM to the group and reaps the program (SIGKILL to the
// group after ten seconds). Whether `settled` held, and the program's exit status (-1 when it did
// not exit normally).
struct UntilResult {
  bool settled = false;
  int exitCode = -1;
};
UntilResult RunUntil(const std::vector<std::string>& argv,
                     const std::vector<std::string>& environment, const std::string& outputFile,
                     const std::function<bool()>& settled, std::chrono::milliseconds limit);

// The build's module-host and the environment it runs with.
std::vector<std::string> ModuleHostCommand(std::vector<std::string> arguments);

// Runs the build's module-host (under $TTI_BINARY_DIR) with `arguments`.
CommandResult RunModuleHost(std::vector<std::string> arguments);

}  // namespace tti::test

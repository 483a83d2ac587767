#pragma once

#include <cstdint>
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

// Runs the build's module-host (under $TTI_BINARY_DIR) with `arguments`.
CommandResult RunModuleHost(std::vector<std::string> arguments);

}  // namespace tti::test

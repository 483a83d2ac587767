#pragma once

#include <string>
#include <vector>

namespace tti::test {

struct CommandResult {
  int exitCode = -1;   // -1 when it did not exit normally
  std::string output;  // standard output and error together
};

// Runs a program as `env -i HOME=<scratch> PATH=/usr/bin:/bin argv...`: variables such as
// SSL_CERT_FILE or CURL_CA_BUNDLE would make clients bypass the system store.
CommandResult RunClean(const std::vector<std::string>& argv);

}  // namespace tti::test

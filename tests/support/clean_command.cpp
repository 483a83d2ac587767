#include "support/clean_command.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <stdexcept>

#include "qel/tools/unique_fd.h"

namespace tti::test {

CommandResult RunClean(const std::vector<std::string>& argv) {
  char scratch[] = "/tmp/tti-home.XXXXXX";
  if (::mkdtemp(scratch) == nullptr) {
    throw std::runtime_error("mkdtemp");
  }
  std::vector<std::string> words = {"/usr/bin/env", "-i", std::string("HOME=") + scratch,
                                    "PATH=/usr/bin:/bin"};
  words.insert(words.end(), argv.begin(), argv.end());
  // Everything the child needs is built before the fork: nothing allocates after it.
  std::vector<char*> arguments;
  for (std::string& word : words) {
    arguments.push_back(word.data());
  }
  arguments.push_back(nullptr);
  int pipeFds[2];
  if (::pipe2(pipeFds, O_CLOEXEC) != 0) {
    throw std::runtime_error("pipe2");
  }
  qel::tools::UniqueFd readEnd(pipeFds[0]);
  qel::tools::UniqueFd writeEnd(pipeFds[1]);
  const pid_t child = ::fork();
  if (child < 0) {
    throw std::runtime_error("fork");
  }
  if (child == 0) {
    ::dup2(writeEnd.Get(), 1);
    ::dup2(writeEnd.Get(), 2);
    ::execv(arguments[0], arguments.data());
    ::_exit(127);
  }
  writeEnd.Reset();
  CommandResult result;
  char buffer[4096];
  for (;;) {
    const ssize_t count = ::read(readEnd.Get(), buffer, sizeof(buffer));
    if (count > 0) {
      result.output.append(buffer, static_cast<size_t>(count));
    } else if (count == 0 || errno != EINTR) {
      break;
    }
  }
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  ::rmdir(scratch);
  return result;
}

}  // namespace tti::test

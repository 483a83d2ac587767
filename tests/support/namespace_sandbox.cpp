#include "support/namespace_sandbox.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>

#include <gtest/gtest.h>

namespace tti::test {

void RunInMountNamespace(const std::function<void()>& body) {
  std::fflush(stdout);
  std::fflush(stderr);
  const pid_t child = ::fork();
  ASSERT_GE(child, 0) << "fork: " << std::strerror(errno);
  if (child == 0) {
    int code = 0;
    try {
      EnterPrivateMountNamespace();
      body();
      code = ::testing::Test::HasFailure() ? 1 : 0;
    } catch (const std::exception& error) {
      std::cout << "sandbox child: " << error.what() << std::endl;
      code = 2;
    }
    std::fflush(stdout);
    std::fflush(stderr);
    ::_exit(code);
  }
  int status = 0;
  while (::waitpid(child, &status, 0) < 0) {
    ASSERT_EQ(errno, EINTR);
  }
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0)
      << "the sandboxed test body failed (see its lines above), status " << status;
}

}  // namespace tti::test

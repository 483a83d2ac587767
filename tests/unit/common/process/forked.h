#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

// Runs `body` in a forked copy of the test and gives its exit status (or 128 + signal). For cases
// that change process-wide state: limits, signal dispositions, seccomp filters, descriptor 0.
template <class Body>
int RunForked(Body body) {
  std::fflush(nullptr);
  const pid_t pid = fork();
  if (pid == 0) {
    const int code = body();
    std::fflush(nullptr);
    _exit(code);
  }
  int status = 0;
  while (waitpid(pid, &status, 0) < 0) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

#include "account_sandbox.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utmp.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>

namespace accounts_test {
namespace {

constexpr int kSandboxFailed = 2;
constexpr int kBodyFailed = 1;

bool Fail(const char* what) {
  std::fprintf(stderr, "account sandbox: %s: %s\n", what, std::strerror(errno));
  return false;
}

bool Write(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << text;
  return static_cast<bool>(file.flush()) || Fail(path.c_str());
}

bool WriteLogins(const std::vector<Login>& logins) {
  if (!Write("/var/run/utmp", "") || utmpname("/var/run/utmp") != 0) {
    return Fail("utmp");
  }
  setutent();
  int id = 0;
  for (const Login& login : logins) {
    utmp record{};
    record.ut_type = login.type;
    record.ut_pid = 1000 + id;
    std::snprintf(record.ut_id, sizeof(record.ut_id), "t%d", id++);
    std::strncpy(record.ut_line, login.line.c_str(), sizeof(record.ut_line));
    std::strncpy(record.ut_user, login.user.c_str(), sizeof(record.ut_user));
    if (pututline(&record) == nullptr) {
      endutent();
      return Fail("pututline");
    }
  }
  endutent();
  return true;
}

bool MakeSandbox(const EtcFiles& etc, const std::vector<Login>& logins) {
  if (unshare(CLONE_NEWNS) != 0) {
    return Fail("unshare");
  }
  if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
    return Fail("private /");
  }
  if (mount("tmpfs", "/etc", "tmpfs", 0, "mode=0755") != 0) {
    return Fail("tmpfs /etc");
  }
  if (mount("tmpfs", "/var/run", "tmpfs", 0, "mode=0755") != 0) {
    return Fail("tmpfs /var/run");
  }
  if (!Write("/etc/nsswitch.conf", "passwd: files\ngroup: files\n")) {
    return false;
  }
  for (const auto& [name, text] : etc) {
    if (!Write("/etc/" + name, text)) {
      return false;
    }
  }
  return logins.empty() || WriteLogins(logins);
}

}  // namespace

void RunInAccountSandbox(const EtcFiles& etc, const std::vector<Login>& logins, void (*body)()) {
  std::fflush(nullptr);
  const pid_t pid = fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    int code = kSandboxFailed;
    if (MakeSandbox(etc, logins)) {
      body();
      code = testing::Test::HasFailure() ? kBodyFailed : 0;
    }
    std::fflush(nullptr);
    _exit(code);
  }
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  ASSERT_TRUE(WIFEXITED(status)) << "the sandbox ended by a signal";
  EXPECT_NE(WEXITSTATUS(status), kSandboxFailed) << "the mount namespace could not be made";
  EXPECT_EQ(WEXITSTATUS(status), 0) << "the checks in the sandbox failed (see above)";
}

}  // namespace accounts_test

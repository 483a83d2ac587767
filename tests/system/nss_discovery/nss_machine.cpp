#include "nss_machine.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utmp.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include <gtest/gtest.h>

#include "qel/tools/unique_fd.h"
#include "support/clean_command.h"
#include "support/namespace_sandbox.h"

namespace qel::tcp_traffic_interceptor::cert_stores {

std::ostream& operator<<(std::ostream& stream, const Nss3Storage& storage) {
  return stream << "{" << testing::PrintToString(storage.path) << ", " << storage.uid << ", "
                << storage.gid << "}";
}

}  // namespace qel::tcp_traffic_interceptor::cert_stores

namespace nss_discovery_test {
namespace {

using qel::tools::UniqueFd;
using tti::test::MountTmpfs;
using tti::test::WriteTextFile;

[[noreturn]] void Fail(const std::string& what) {
  throw std::runtime_error(what + ": " + std::strerror(errno));
}

void Check(int result, const std::string& what) {
  if (result != 0) {
    Fail(what);
  }
}

void WriteLogin(const std::string& user, int index) {
  utmp record{};
  record.ut_type = USER_PROCESS;
  record.ut_pid = 2000 + index;
  std::snprintf(record.ut_id, sizeof(record.ut_id), "n%u", static_cast<unsigned>(index) % 100u);
  std::snprintf(record.ut_line, sizeof(record.ut_line), "pts/%d", index);
  std::strncpy(record.ut_user, user.c_str(), sizeof(record.ut_user));
  if (pututline(&record) == nullptr) {
    Fail("pututline");
  }
}

}  // namespace

void MountHomes() { MountTmpfs("/home"); }

void MountAccounts(const std::vector<Account>& accounts, const std::vector<std::string>& loggedIn) {
  MountTmpfs("/etc");
  MountTmpfs("/var/run");
  std::string passwd;
  for (const Account& account : accounts) {
    const std::string id = std::to_string(account.uid);
    passwd += account.name + ":x:" + id + ":" + id + "::" + account.home + ":/bin/sh\n";
  }
  WriteTextFile("/etc/passwd", passwd);
  WriteTextFile("/etc/group", "");
  WriteTextFile("/etc/login.defs", "UID_MIN 1000\n");
  WriteTextFile("/etc/nsswitch.conf", "passwd: files\ngroup: files\n");
  WriteTextFile("/var/run/utmp", "");
  Check(utmpname("/var/run/utmp"), "utmpname");
  setutent();
  int index = 0;
  for (const std::string& user : loggedIn) {
    WriteLogin(user, index++);
  }
  endutent();
}

void MakeDirectory(const std::string& path, uint32_t uid, mode_t mode) {
  std::error_code error;
  std::filesystem::create_directories(path, error);
  if (error) {
    throw std::runtime_error("mkdir " + path + ": " + error.message());
  }
  Check(::chown(path.c_str(), uid, uid), "chown " + path);
  Check(::chmod(path.c_str(), mode), "chmod " + path);
}

void MakeFile(const std::string& path, uint32_t uid, uint32_t gid) {
  WriteTextFile(path, "not a database\n");
  Check(::chown(path.c_str(), uid, gid), "chown " + path);
}

void MakeDatabase(const std::string& directory, uint32_t uid) {
  MakeDirectory(directory, uid);
  const auto run =
      tti::test::RunClean({"certutil", "-N", "-d", "sql:" + directory, "--empty-password"});
  if (run.exitCode != 0) {
    throw std::runtime_error("certutil -N in " + directory + ": " + run.output);
  }
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    Check(::chown(entry.path().c_str(), uid, uid), "chown " + entry.path().string());
  }
}

void MakeLink(const std::string& target, const std::string& path) {
  Check(::symlink(target.c_str(), path.c_str()), "symlink " + path);
}

void MakeFifo(const std::string& path) { Check(::mkfifo(path.c_str(), 0666), "mkfifo " + path); }

std::vector<std::string> RunAs(uint32_t uid, uint32_t gid,
                               const std::function<std::vector<std::string>()>& walk) {
  int fds[2];
  Check(::pipe2(fds, O_CLOEXEC), "pipe2");
  UniqueFd readEnd(fds[0]);
  UniqueFd writeEnd(fds[1]);
  std::fflush(nullptr);
  const pid_t child = ::fork();
  if (child < 0) {
    Fail("fork");
  }
  if (child == 0) {
    readEnd.Reset();
    if (::setgroups(0, nullptr) != 0 || ::setresgid(gid, gid, gid) != 0 ||
        ::setresuid(uid, uid, uid) != 0) {
      ::_exit(2);
    }
    // Paths may hold newlines: each is ended by a NUL.
    std::string out;
    for (const std::string& text : walk()) {
      out += text;
      out += '\0';
    }
    const bool written =
        ::write(writeEnd.Get(), out.data(), out.size()) == static_cast<ssize_t>(out.size());
    ::_exit(written ? 0 : 3);
  }
  writeEnd.Reset();
  std::string in;
  char buffer[4096];
  for (;;) {
    const ssize_t count = ::read(readEnd.Get(), buffer, sizeof(buffer));
    if (count > 0) {
      in.append(buffer, static_cast<size_t>(count));
    } else if (count == 0 || errno != EINTR) {
      break;
    }
  }
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0)
      << "the unprivileged walk failed, status " << status;
  std::vector<std::string> texts;
  for (size_t start = 0; start < in.size();) {
    const size_t end = in.find('\0', start);
    texts.push_back(in.substr(start, end - start));
    start = end + 1;
  }
  return texts;
}

size_t OpenDescriptorCount() {
  size_t count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    ++count;
  }
  return count;
}

}  // namespace nss_discovery_test

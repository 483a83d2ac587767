#include "support/machine.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include <gtest/gtest.h>

#include "qel/tools/unique_fd.h"

namespace tti::test {

using host::sandbox::Check;

void MountEtc(const std::map<std::string, std::string>& files) {
  MountTmpfs("/etc");
  MountTmpfs("/var/run");
  WriteTextFile("/etc/nsswitch.conf", "passwd: files\ngroup: files\n");
  for (const auto& [name, text] : files) {
    WriteTextFile("/etc/" + name, text);
  }
  WriteTextFile("/var/run/utmp", "");
}

std::string PasswdLines(const std::vector<Account>& accounts) {
  std::string lines;
  for (const Account& account : accounts) {
    const std::string id = std::to_string(account.uid);
    lines += account.name + ":x:" + id + ":" + id + "::" + account.home + ":/bin/sh\n";
  }
  return lines;
}

void MakeDirectory(const std::string& path, uint32_t uid, mode_t mode) {
  std::filesystem::create_directories(path);
  Check(::chown(path.c_str(), uid, uid), "chown " + path);
  Check(::chmod(path.c_str(), mode), "chmod " + path);
}

void MakeFile(const std::string& path, uint32_t uid, uint32_t gid) {
  WriteTextFile(path, "not a database\n");
  Check(::chown(path.c_str(), uid, gid), "chown " + path);
}

void MakeNssDatabaseOf(const std::string& directory, uint32_t uid) {
  MakeNssDatabase(directory);
  ChangeOwner(directory, uid, uid);
}

void ChangeOwner(const std::string& top, uid_t uid, gid_t gid) {
  Check(::lchown(top.c_str(), uid, gid), "lchown " + top);
  if (std::filesystem::is_directory(std::filesystem::symlink_status(top))) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(top)) {
      Check(::lchown(entry.path().c_str(), uid, gid), "lchown " + entry.path().string());
    }
  }
}

std::vector<std::string> RunAs(uint32_t uid, uint32_t gid,
                               const std::function<std::vector<std::string>()>& work) {
  int fds[2];
  Check(::pipe2(fds, O_CLOEXEC), "pipe2");
  qel::tools::UniqueFd readEnd(fds[0]);
  qel::tools::UniqueFd writeEnd(fds[1]);
  std::fflush(nullptr);
  const pid_t child = ::fork();
  Check(child < 0 ? -1 : 0, "fork");
  if (child == 0) {
    readEnd.Reset();
    if (::setgroups(0, nullptr) != 0 || ::setresgid(gid, gid, gid) != 0 ||
        ::setresuid(uid, uid, uid) != 0) {
      ::_exit(2);
    }
    // Paths may hold newlines: each is ended by a NUL.
    std::string out;
    for (const std::string& text : work()) {
      out += text + '\0';
    }
    const bool written =
        ::write(writeEnd.Get(), out.data(), out.size()) == static_cast<ssize_t>(out.size());
    ::_exit(written ? 0 : 3);
  }
  writeEnd.Reset();
  std::string in;
  char buffer[4096];
  for (ssize_t count; (count = ::read(readEnd.Get(), buffer, sizeof(buffer))) != 0;) {
    if (count > 0) {
      in.append(buffer, static_cast<size_t>(count));
    } else if (errno != EINTR) {
      break;
    }
  }
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0)
      << "the work as uid " << uid << " failed, status " << status;
  std::vector<std::string> texts;
  for (size_t start = 0; start < in.size();) {
    const size_t end = in.find('\0', start);
    texts.push_back(in.substr(start, end - start));
    start = end + 1;
  }
  return texts;
}

}  // namespace tti::test

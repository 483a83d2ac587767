#include "support/machine.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

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

std::vector<std::string> WatchedPlaces(const std::vector<std::string>& homes) {
  std::vector<std::string> places;
  for (const std::string& home : homes) {
    for (const char* name : {".mozilla", ".pki", "snap", "Snap", ".snap", ".local/share/pki",
                             ".config/mozilla", ".thunderbird", ".var/app"}) {
      places.push_back(home.empty() ? name : home + "/" + name);
    }
  }
  return places;
}

void ChangeOwner(const std::string& top, uid_t uid, gid_t gid) {
  Check(::lchown(top.c_str(), uid, gid), "lchown " + top);
  if (std::filesystem::is_directory(std::filesystem::symlink_status(top))) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(top)) {
      Check(::lchown(entry.path().c_str(), uid, gid), "lchown " + entry.path().string());
    }
  }
}

}  // namespace tti::test

#include "sandbox/store_layout.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <set>
#include <vector>

#include "qel/tools/unique_fd.h"
#include "sandbox/mount_namespace.h"

namespace host::sandbox {
namespace {

using qel::tools::UniqueFd;

// tmpfs over /etc with every entry bound back read-only, except the certificate places, which the
// layout builds afresh, and the session settings folders, which start empty and writable. The old
// /etc stays reachable through a descriptor while this runs.
void ShadowEtc() {
  UniqueFd oldEtc(::open("/etc", O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!oldEtc) {
    Fail("open /etc");
  }
  const std::string oldPath = "/proc/self/fd/" + std::to_string(oldEtc.Get());
  const std::set<std::string> rebuilt = {
      ".", "..", "ssl", "pki", "ca-certificates", "profile.d", "environment.d"};
  std::vector<std::string> names;
  {
    DIR* directory = ::opendir(oldPath.c_str());
    if (directory == nullptr) {
      Fail("opendir /etc");
    }
    while (const dirent* entry = ::readdir(directory)) {
      if (rebuilt.count(entry->d_name) == 0) {
        names.emplace_back(entry->d_name);
      }
    }
    ::closedir(directory);
  }
  MountTmpfs("/etc");
  for (const std::string& name : names) {
    const std::string source = oldPath + "/" + name;
    const std::string target = "/etc/" + name;
    struct stat status {};
    Check(::lstat(source.c_str(), &status), "lstat " + source);
    if (S_ISLNK(status.st_mode)) {
      char text[4096];
      const ssize_t length = ::readlink(source.c_str(), text, sizeof(text) - 1);
      if (length < 0) {
        Fail("readlink " + source);
      }
      text[length] = '\0';
      Check(::symlink(text, target.c_str()), "symlink " + target);
      continue;
    }
    if (S_ISDIR(status.st_mode)) {
      Check(::mkdir(target.c_str(), 0755), "mkdir " + target);
    } else {
      UniqueFd made(::open(target.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644));
      if (!made) {
        Fail("create " + target);
      }
    }
    BindReadOnly(source, target);
  }
  // Its hooks write package state: an empty folder masks them.
  MakeDirectories("/etc/ca-certificates/update.d");
  // The runtime trust settings go here: empty and writable, whatever the machine has.
  MakeDirectories("/etc/profile.d");
  MakeDirectories("/etc/environment.d");
}

}  // namespace

std::string RealCaBundle(size_t* count) {
  // The CA set of the distribution's package, read only.
  const std::string root = "/usr/share/ca-certificates/mozilla";
  std::vector<std::string> files;
  DIR* directory = ::opendir(root.c_str());
  if (directory == nullptr) {
    Fail("opendir " + root);
  }
  while (const dirent* entry = ::readdir(directory)) {
    const std::string name = entry->d_name;
    if (name.size() > 4 && name.compare(name.size() - 4, 4, ".crt") == 0) {
      files.push_back(root + "/" + name);
    }
  }
  ::closedir(directory);
  std::sort(files.begin(), files.end());
  std::string bundle;
  for (const std::string& file : files) {
    bundle += ReadTextFile(file);
    if (!bundle.empty() && bundle.back() != '\n') {
      bundle += '\n';
    }
  }
  if (count != nullptr) {
    *count = files.size();
  }
  return bundle;
}

void BuildStoreLayout(StoreLayout layout) {
  const std::string openSslConfig = ReadTextFile("/usr/lib/ssl/openssl.cnf");
  const std::string caBundle = RealCaBundle();
  ShadowEtc();
  MountTmpfs("/usr/lib/ssl");
  MountTmpfs("/usr/local/share/ca-certificates");
  WriteTextFile("/usr/lib/ssl/openssl.cnf", openSslConfig);
  if (layout == StoreLayout::kDebian) {
    // rename() does not cross mounts, and the library's default bundle is renamed over from
    // /usr/lib/ssl: the bundle lives in that tmpfs and /etc/ssl/certs is a bind of its folder.
    MakeDirectories("/usr/lib/ssl/certs");
    MakeDirectories("/etc/ssl/certs");
    Check(::mount("/usr/lib/ssl/certs", "/etc/ssl/certs", nullptr, MS_BIND, nullptr),
          "bind /etc/ssl/certs");
    Check(::symlink("/usr/lib/ssl/openssl.cnf", "/etc/ssl/openssl.cnf"), "link openssl.cnf");
    WriteTextFile("/etc/ssl/certs/ca-certificates.crt", caBundle);
    Check(::symlink("/usr/lib/ssl/certs/ca-certificates.crt", "/usr/lib/ssl/cert.pem"),
          "link cert.pem");
  } else {
    MakeDirectories("/etc/pki/ca-trust/source/anchors");
    MakeDirectories("/etc/pki/tls/certs");
    WriteTextFile("/etc/pki/tls/certs/ca-bundle.crt", caBundle);
    // No update tool: an empty /usr/sbin.
    MountTmpfs("/usr/sbin");
  }
}

}  // namespace host::sandbox

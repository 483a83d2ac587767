#include "sandbox/mount_namespace.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "product/product_paths.h"
#include "qel/tools/unique_fd.h"

namespace host::sandbox {

using qel::tools::UniqueFd;

void Fail(const std::string& what) { throw std::runtime_error(what + ": " + std::strerror(errno)); }

void Check(int result, const std::string& what) {
  if (result != 0) {
    Fail(what);
  }
}

void MakeDirectories(const std::string& path) {
  for (size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1)) {
    const std::string prefix = path.substr(0, slash);
    if (::mkdir(prefix.c_str(), 0755) != 0 && errno != EEXIST) {
      Fail("mkdir " + prefix);
    }
    if (slash == std::string::npos) {
      return;
    }
  }
}

void BindReadOnly(const std::string& source, const std::string& target) {
  Check(::mount(source.c_str(), target.c_str(), nullptr, MS_BIND | MS_REC, nullptr),
        "bind " + source);
  Check(::mount(nullptr, target.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr),
        "read-only " + target);
}

void EnterPrivateMountNamespace() {
  Check(::unshare(CLONE_NEWNS), "unshare(CLONE_NEWNS)");
  Check(::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), "make / private");
}

void MountTmpfs(const std::string& path) {
  Check(::mount("tmpfs", path.c_str(), "tmpfs", 0, "mode=0755"), "tmpfs over " + path);
}

void MountProductTree() {
  const char* binaryDir = std::getenv("TTI_BINARY_DIR");
  if (binaryDir == nullptr) {
    throw std::runtime_error("TTI_BINARY_DIR is not set");
  }
  const std::string staged = std::string(binaryDir) + qel::product::kProductTree;
  MountTmpfs("/opt");
  MakeDirectories(qel::product::kProductTree);
  BindReadOnly(staged, qel::product::kProductTree);
}

void MakeReadOnly(const std::string& path) { BindReadOnly(path, path); }

void WriteTextFile(const std::string& path, const std::string& text, mode_t mode) {
  UniqueFd fd(::open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, mode));
  if (!fd || ::write(fd.Get(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    Fail("write " + path);
  }
}

std::string ReadTextFile(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream) {
    Fail("read " + path);
  }
  std::ostringstream text;
  text << stream.rdbuf();
  return text.str();
}

}  // namespace host::sandbox

#include "product_tree.h"

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

#include "product/product_paths.h"

namespace module_host {
namespace {

using qel::product::kProductTree;

void Require(int status, const std::string& step) {
  if (status != 0) {
    throw std::runtime_error("product tree: " + step + ": " + std::strerror(errno));
  }
}

}  // namespace

std::string ChooseProductTree(const std::string& requested) {
  if (!requested.empty()) {
    return requested;
  }
  std::error_code error;
  // Without root no namespace can be made; the machine's tree (or its absence) then stands, so
  // that commands which never read it keep working for any user.
  if (::geteuid() != 0 || std::filesystem::exists(kProductTree, error)) {
    return {};
  }
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) {
    return {};
  }
  const std::filesystem::path staged =
      self.parent_path().parent_path() / std::filesystem::path(kProductTree).relative_path();
  return std::filesystem::is_directory(staged, error) ? staged.string() : std::string();
}

void EnterProductTree(const std::string& tree) {
  std::error_code error;
  const std::filesystem::path source = std::filesystem::canonical(tree, error);
  if (error || !std::filesystem::is_directory(source)) {
    throw std::runtime_error("product tree: no directory " + tree);
  }
  if (::geteuid() != 0) {
    throw std::runtime_error("product tree: binding " + tree + " at " + kProductTree +
                             " needs root");
  }
  Require(::unshare(CLONE_NEWNS), "unshare(CLONE_NEWNS)");
  // Without this, mounts below would travel back to the machine through shared propagation.
  Require(::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), "make / private");
  Require(::mount("tmpfs", "/opt", "tmpfs", MS_NOSUID | MS_NODEV, "mode=0755"), "tmpfs on /opt");
  std::filesystem::create_directories(kProductTree);
  Require(::mount(source.c_str(), kProductTree, nullptr, MS_BIND | MS_REC, nullptr),
          "bind " + source.string());
  Require(::mount(nullptr, kProductTree, nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr),
          "read-only " + std::string(kProductTree));
}

}  // namespace module_host

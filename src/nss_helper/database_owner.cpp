#include "database_owner.h"

#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <stdexcept>

namespace qel::cert_manager {
namespace {

[[noreturn]] void Fail(const std::string& what) {
  throw std::runtime_error(what + ": " + std::strerror(errno));
}

}  // namespace

Owner FindDatabaseOwner(const std::string& directory) {
  struct stat target {};
  if (::stat(directory.c_str(), &target) != 0) {
    Fail("cannot stat " + directory);
  }
  if (!S_ISDIR(target.st_mode)) {
    errno = ENOTDIR;
    Fail("cannot use " + directory);
  }
  if (target.st_uid != 0) {
    return Owner{target.st_uid, target.st_gid};
  }
  // Root's directory: still the user's work if a user controls any step of the way there.
  std::optional<Owner> deepest;
  for (size_t slash = directory.find('/', 1);; slash = directory.find('/', slash + 1)) {
    const std::string prefix = directory.substr(0, slash);
    struct stat step {};
    if (!prefix.empty() && ::lstat(prefix.c_str(), &step) == 0 && step.st_uid != 0) {
      deepest = Owner{step.st_uid, step.st_gid};
    }
    if (slash == std::string::npos) {
      break;
    }
  }
  return deepest.value_or(Owner{0, 0});
}

void BecomeOwner(const Owner& owner) {
  if (::geteuid() != 0 || owner.uid == 0) {
    return;
  }
  // Group first: once the user is changed, the group can no longer be.
  if (::setgroups(0, nullptr) != 0) {
    Fail("setgroups");
  }
  if (::setresgid(owner.gid, owner.gid, owner.gid) != 0) {
    Fail("setresgid " + std::to_string(owner.gid));
  }
  if (::setresuid(owner.uid, owner.uid, owner.uid) != 0) {
    Fail("setresuid " + std::to_string(owner.uid));
  }
  uid_t real = 0, effective = 0, saved = 0;
  gid_t realGroup = 0, effectiveGroup = 0, savedGroup = 0;
  if (::getresuid(&real, &effective, &saved) != 0 ||
      ::getresgid(&realGroup, &effectiveGroup, &savedGroup) != 0 || real != owner.uid ||
      effective != owner.uid || saved != owner.uid || realGroup != owner.gid ||
      effectiveGroup != owner.gid || savedGroup != owner.gid) {
    errno = EPERM;
    Fail("the change to user " + std::to_string(owner.uid) + " did not hold");
  }
}

}  // namespace qel::cert_manager

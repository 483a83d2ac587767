#pragma once

#include <cerrno>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "host/inotify_instance.h"

namespace host {

// Who needs a kernel watch: one subscription, either as the anchor it waits on for a path that
// does not exist yet, or for the directory (or file) at `relative` below its subscribed path (""
// for the subscribed path itself).
struct WatchUser {
  uint64_t subscription = 0;
  bool anchor = false;
  std::string relative;

  bool operator<(const WatchUser& other) const {
    return std::tie(subscription, anchor, relative) <
           std::tie(other.subscription, other.anchor, other.relative);
  }
};

// The kernel gives one watch per inode and instance, so several subscriptions may share it. The
// registry counts the users of each watch: the kernel mask only grows (IN_MASK_ADD) while a watch
// lives, each user filters the bits it asked for, and the watch is removed with its last user.
// Not thread-safe: the provider calls it under its lock.
class WatchRegistry final {
 public:
  explicit WatchRegistry(const InotifyInstance& instance) : m_instance(instance) {}
  WatchRegistry(const WatchRegistry&) = delete;
  WatchRegistry& operator=(const WatchRegistry&) = delete;

  // Watches `path` with `mask` added to what the watch had; the watch, or -errno.
  int Acquire(const std::string& path, uint32_t mask, const WatchUser& user);
  // The user leaves the watch; the last one removes it from the kernel.
  void Release(int wd, const WatchUser& user);
  // The kernel dropped the watch (IN_IGNORED): forgets it and returns its users.
  std::vector<WatchUser> Forget(int wd);
  // A copy of the watch's users (empty for an unknown watch).
  std::vector<WatchUser> Users(int wd) const;
  size_t size() const noexcept { return m_users.size(); }

 private:
  const InotifyInstance& m_instance;
  std::map<int, std::set<WatchUser>> m_users;
};

// An errno of inotify_add_watch that means a lack of resources rather than a path that is not
// (or no longer) there.
inline bool IsResourceError(int error) { return error == ENOSPC || error == ENOMEM; }

}  // namespace host

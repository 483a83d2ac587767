#include "host/watch_registry.h"

#include <sys/inotify.h>

namespace host {

int WatchRegistry::Acquire(const std::string& path, uint32_t mask, const WatchUser& user) {
  const int wd = m_instance.AddWatch(path, mask | IN_MASK_ADD);
  if (wd >= 0) {
    m_users[wd].insert(user);
  }
  return wd;
}

void WatchRegistry::Release(int wd, const WatchUser& user) {
  const auto found = m_users.find(wd);
  if (found == m_users.end()) {
    return;
  }
  found->second.erase(user);
  if (found->second.empty()) {
    m_users.erase(found);
    m_instance.RemoveWatch(wd);
  }
}

std::vector<WatchUser> WatchRegistry::Forget(int wd) {
  std::vector<WatchUser> users = Users(wd);
  m_users.erase(wd);
  return users;
}

std::vector<WatchUser> WatchRegistry::Users(int wd) const {
  const auto found = m_users.find(wd);
  if (found == m_users.end()) {
    return {};
  }
  return {found->second.begin(), found->second.end()};
}

}  // namespace host

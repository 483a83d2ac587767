#include "host/watched_path.h"

#include <sys/inotify.h>
#include <sys/stat.h>

#include <utility>

#include "host/directory_entries.h"
#include "host/inotify_event_type.h"

namespace host {
namespace {

// Bits a subscriber may ask for and receive.
constexpr uint32_t kReportable = IN_ALL_EVENTS | IN_UNMOUNT;
// The anchor only learns of components that appear, and of its own end.
constexpr uint32_t kAnchorMask = IN_CREATE | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF;
// A watched directory also learns of entries that come and go, to follow subdirectories.
constexpr uint32_t kDirectoryMask = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE;
// The subscribed path itself also learns that it was deleted or moved away.
constexpr uint32_t kSelfMask = IN_DELETE_SELF | IN_MOVE_SELF;
// What happens to the subscribed path's contents and attributes is taken from its parent's watch,
// which is there before the path is made: its own watch, placed once its creation was read, would
// miss what came in between.
constexpr uint32_t kChildBits =
    IN_MODIFY | IN_ATTRIB | IN_OPEN | IN_CLOSE_WRITE | IN_CLOSE_NOWRITE | IN_ACCESS;
// A few tries when a directory vanishes between looking and watching.
constexpr int kResolveAttempts = 8;

std::string Join(const std::string& relative, const std::string& name) {
  return relative.empty() ? name : relative + "/" + name;
}

bool IsBelow(const std::string& relative, const std::string& key) {
  return relative.empty() || key == relative ||
         (key.size() > relative.size() && key.compare(0, relative.size(), relative) == 0 &&
          key[relative.size()] == '/');
}

}  // namespace

WatchedPath::WatchedPath(uint64_t id, std::string path, uint32_t flags)
    : m_id(id), m_path(std::move(path)), m_flags(flags & kReportable) {
  const bool absolute = !m_path.empty() && m_path[0] == '/';
  m_bases.push_back(absolute ? "/" : ".");
  size_t begin = 0;
  while (begin < m_path.size()) {
    size_t end = m_path.find('/', begin);
    if (end == std::string::npos) {
      end = m_path.size();
    }
    if (end > begin) {
      std::string component = m_path.substr(begin, end - begin);
      const std::string& base = m_bases.back();
      if (m_components.empty()) {
        m_bases.push_back(absolute ? "/" + component : component);
      } else {
        m_bases.push_back(base + "/" + component);
      }
      m_components.push_back(std::move(component));
    }
    begin = end + 1;
  }
}

bool WatchedPath::Start(WatchRegistry& registry) {
  std::vector<WatchNotice> none;
  return Resolve(registry, false, nullptr, none);
}

void WatchedPath::Stop(WatchRegistry& registry) {
  ReleaseAnchor(registry);
  DropBelow(registry, "");
}

void WatchedPath::Restart(WatchRegistry& registry, std::vector<WatchNotice>& notices) {
  std::set<std::string> known;
  for (const auto& node : m_nodes) {
    known.insert(node.first);
  }
  Stop(registry);
  Lost(!Resolve(registry, true, &known, notices));
}

bool WatchedPath::Resolve(WatchRegistry& registry, bool report, const std::set<std::string>* known,
                          std::vector<WatchNotice>& notices) {
  const size_t count = m_components.size();
  const bool parentWasAnchor = m_anchorWd >= 0 && m_anchorDepth + 1 == count;
  for (int attempt = 0; count > 0 && attempt < kResolveAttempts; ++attempt) {
    size_t depth = 0;
    while (depth + 1 < count && IsDirectory(m_bases[depth + 1])) {
      ++depth;
    }
    const int error = PlaceAnchor(registry, depth);
    if (IsResourceError(error)) {
      return false;
    }
    if (error != 0) {
      continue;  // the directory went away meanwhile: look again
    }
    // Watch first, look second: a component made before the watch was placed shows here.
    if (depth + 1 == count || !IsDirectory(m_bases[depth + 1])) {
      break;
    }
  }
  const bool parentWatched = count == 0 || (m_anchorWd >= 0 && m_anchorDepth + 1 == count);
  struct stat status;
  if (!parentWatched || stat(m_path.c_str(), &status) != 0) {
    DropBelow(registry, "");
    return true;
  }
  const bool directory = S_ISDIR(status.st_mode);
  // "/" has no parent: its own watch reports everything.
  const uint32_t ownBits = count == 0 ? m_flags : m_flags & ~kChildBits;
  const uint32_t mask = kSelfMask | (directory ? m_flags | kDirectoryMask | IN_ONLYDIR : ownBits);
  const int wd = registry.Acquire(m_path, mask, WatchUser{m_id, false, ""});
  if (wd < 0) {
    DropBelow(registry, "");
    return !IsResourceError(-wd);
  }
  const auto root = m_nodes.find("");
  if (root != m_nodes.end() && root->second == wd) {
    return true;  // the same object as before
  }
  // Another object now: the old one's watches go (the new watch's user is another watch's).
  DropBelow(registry, "");
  m_nodes[""] = wd;
  m_nodeWatches.insert(wd);
  const bool newlyVisible = known ? known->count("") == 0 : !parentWasAnchor;
  if (report && newlyVisible && count > 0) {
    // The path appeared while only an ancestor further up was watched: nobody saw it made.
    Report("", IN_CREATE, notices);
  }
  return !directory || Walk(registry, "", report, known, notices);
}

int WatchedPath::PlaceAnchor(WatchRegistry& registry, size_t depth) {
  if (m_anchorWd >= 0 && depth == m_anchorDepth) {
    return 0;
  }
  ReleaseAnchor(registry);
  // Ancestors are looked up through links ("/var/run" is one on most machines).
  const bool parent = depth + 1 == m_components.size();
  const uint32_t mask = kAnchorMask | IN_ONLYDIR | (parent ? m_flags & kChildBits : 0);
  const int wd = registry.Acquire(m_bases[depth], mask, WatchUser{m_id, true, ""});
  if (wd < 0) {
    return -wd;
  }
  m_anchorWd = wd;
  m_anchorDepth = depth;
  return 0;
}

void WatchedPath::ReleaseAnchor(WatchRegistry& registry) {
  if (m_anchorWd >= 0) {
    registry.Release(m_anchorWd, WatchUser{m_id, true, ""});
    m_anchorWd = -1;
  }
}

int WatchedPath::WatchDirectory(WatchRegistry& registry, const std::string& relative) {
  const WatchUser user{m_id, false, relative};
  const int wd = registry.Acquire(FullName(relative),
                                  m_flags | kDirectoryMask | IN_ONLYDIR | IN_DONT_FOLLOW, user);
  if (wd < 0) {
    return -wd;
  }
  if (m_nodeWatches.count(wd) != 0) {
    registry.Release(wd, user);
    return EEXIST;
  }
  m_nodes[relative] = wd;
  m_nodeWatches.insert(wd);
  return 0;
}

bool WatchedPath::Walk(WatchRegistry& registry, const std::string& start, bool report,
                       const std::set<std::string>* known, std::vector<WatchNotice>& notices) {
  std::vector<std::string> pending{start};
  while (!pending.empty()) {
    const std::string relative = std::move(pending.back());
    pending.pop_back();
    const bool reportHere = report && (known == nullptr || known->count(relative) == 0);
    for (const DirectoryEntry& entry : ListDirectory(FullName(relative), relative.empty())) {
      const std::string child = Join(relative, entry.name);
      if (reportHere) {
        Report(child, IN_CREATE, notices);
      }
      if (!entry.directory || m_nodes.count(child) != 0) {
        continue;
      }
      const int error = WatchDirectory(registry, child);
      if (IsResourceError(error)) {
        return false;
      }
      if (error == 0) {
        pending.push_back(child);
      }
    }
  }
  return true;
}

void WatchedPath::DropBelow(WatchRegistry& registry, const std::string& relative) {
  for (auto node = m_nodes.lower_bound(relative);
       node != m_nodes.end() && node->first.compare(0, relative.size(), relative) == 0;) {
    if (!IsBelow(relative, node->first)) {
      ++node;
      continue;
    }
    registry.Release(node->second, WatchUser{m_id, false, node->first});
    m_nodeWatches.erase(node->second);
    node = m_nodes.erase(node);
  }
}

void WatchedPath::Handle(WatchRegistry& registry, const WatchUser& user, const KernelEvent& event,
                         std::vector<WatchNotice>& notices) {
  const size_t count = m_components.size();
  if (user.anchor) {
    if (event.wd != m_anchorWd) {
      return;
    }
    if (event.name.empty()) {
      if ((event.mask & (IN_DELETE_SELF | IN_MOVE_SELF)) != 0) {
        ReleaseAnchor(registry);
        Lost(!Resolve(registry, true, nullptr, notices));
      }
    } else if (event.name == m_components[m_anchorDepth]) {
      const bool parent = m_anchorDepth + 1 == count;
      if ((event.mask & (IN_CREATE | IN_MOVED_TO)) != 0) {
        if (parent) {
          Report("", event.mask, notices);  // the subscribed path itself was made or moved here
        }
        Lost(!Resolve(registry, true, nullptr, notices));
      } else if (parent) {
        Report("", event.mask & kChildBits, notices);
      }
    }
    return;
  }
  const auto node = m_nodes.find(user.relative);
  if (node == m_nodes.end() || node->second != event.wd) {
    return;  // a watch this subscription has already left
  }
  if (event.name.empty()) {
    // A directory below the path also reports its own events; its parent reported them by name.
    if (user.relative.empty()) {
      Report("", count == 0 ? event.mask : event.mask & ~kChildBits, notices);
      if ((event.mask & IN_MOVE_SELF) != 0) {
        Lost(!Resolve(registry, true, nullptr, notices));
      }
    }
    return;
  }
  const std::string child = Join(user.relative, event.name);
  Report(child, event.mask, notices);
  if ((event.mask & (IN_DELETE | IN_MOVED_FROM)) != 0) {
    DropBelow(registry, child);
  }
  // IN_ISDIR is never set for a link, so links are not entered.
  if ((event.mask & (IN_CREATE | IN_MOVED_TO)) != 0 && (event.mask & IN_ISDIR) != 0 &&
      m_nodes.count(child) == 0) {
    const int error = WatchDirectory(registry, child);
    Lost(IsResourceError(error) || (error == 0 && !Walk(registry, child, true, nullptr, notices)));
  }
}

void WatchedPath::WatchGone(WatchRegistry& registry, const WatchUser& user, int wd,
                            std::vector<WatchNotice>& notices) {
  if (user.anchor) {
    if (wd == m_anchorWd) {
      m_anchorWd = -1;
      Lost(!Resolve(registry, true, nullptr, notices));
    }
    return;
  }
  const auto node = m_nodes.find(user.relative);
  if (node == m_nodes.end() || node->second != wd) {
    return;
  }
  DropBelow(registry, user.relative);
  if (user.relative.empty()) {
    Lost(!Resolve(registry, true, nullptr, notices));
  }
}

void WatchedPath::Report(const std::string& relative, uint32_t mask,
                         std::vector<WatchNotice>& notices) const {
  const uint32_t bits = mask & m_flags;
  if (bits != 0) {
    notices.push_back(WatchNotice{m_id, FullName(relative), InotifyEventType(bits)});
  }
}

std::string WatchedPath::FullName(const std::string& relative) const {
  if (relative.empty()) {
    return m_path;
  }
  return m_path.back() == '/' ? m_path + relative : m_path + "/" + relative;
}

}  // namespace host

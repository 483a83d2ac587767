#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/inotify_instance.h"
#include "host/watch_registry.h"

namespace host {

// An event for the provider to deliver: to which subscription, the full name and the type.
struct WatchNotice {
  uint64_t subscription = 0;
  std::string name;
  uint32_t type = 0;
};

// The watches of one subscription. While the subscribed path is missing, the deepest existing
// directory above it is watched (the anchor) and the watches move down as components appear and
// up as they go. Once the path exists, its parent is the anchor (so its creation, or a file
// renamed over it, shows), the path itself is watched, and a directory's entries are watched
// recursively without entering links. The subscribed path and its ancestors are looked up
// through links; entries below never are.
// Names are the subscribed path byte for byte, "/" unless it ends in one, and the relative path.
// Not thread-safe: the provider calls it under its lock.
class WatchedPath final {
 public:
  WatchedPath(uint64_t id, std::string path, uint32_t flags);
  WatchedPath(const WatchedPath&) = delete;
  WatchedPath& operator=(const WatchedPath&) = delete;

  // Places the first watches and reports nothing; false on a lack of resources (what was placed
  // stays until Stop).
  bool Start(WatchRegistry& registry);
  // One kernel event on a watch that `user` of this subscription holds.
  void Handle(WatchRegistry& registry, const WatchUser& user, const KernelEvent& event,
              std::vector<WatchNotice>& notices);
  // The kernel dropped watch `wd` that `user` held (IN_IGNORED).
  void WatchGone(WatchRegistry& registry, const WatchUser& user, int wd,
                 std::vector<WatchNotice>& notices);
  // After the kernel lost events: every watch is placed anew, and the entries of directories that
  // were not watched before are reported as created.
  void Restart(WatchRegistry& registry, std::vector<WatchNotice>& notices);
  // Removes every watch of the subscription.
  void Stop(WatchRegistry& registry);

  // Watches that could not be placed for lack of resources after Start.
  uint64_t lostWatches() const noexcept { return m_lostWatches; }

 private:
  // Moves the anchor to the deepest existing ancestor and watches the path when it exists.
  // `report`: a path or entries that show up now are reported as created (not at Start), except
  // directories in `known`. False on a lack of resources.
  bool Resolve(WatchRegistry& registry, bool report, const std::set<std::string>* known,
               std::vector<WatchNotice>& notices);
  // Moves the anchor to m_bases[depth]; 0 or the errno.
  int PlaceAnchor(WatchRegistry& registry, size_t depth);
  // Watches every directory below the already watched `start` and reports the entries of each
  // newly walked directory when `report` (and it is not in `known`).
  bool Walk(WatchRegistry& registry, const std::string& start, bool report,
            const std::set<std::string>* known, std::vector<WatchNotice>& notices);
  // Watches the directory `relative` below the path; 0, or the errno (EEXIST for a directory
  // this subscription watches under another name: a bind mount loop).
  int WatchDirectory(WatchRegistry& registry, const std::string& relative);
  // Drops the watch of `relative` and of everything below it.
  void DropBelow(WatchRegistry& registry, const std::string& relative);
  void ReleaseAnchor(WatchRegistry& registry);
  void Report(const std::string& relative, uint32_t mask, std::vector<WatchNotice>& notices) const;
  std::string FullName(const std::string& relative) const;
  void Lost(bool resourceFailure) {
    if (resourceFailure) {
      ++m_lostWatches;
    }
  }

  const uint64_t m_id;
  const std::string m_path;
  const uint32_t m_flags;
  // m_bases[i + 1] is m_bases[i] joined with m_components[i]; m_bases[0] is "/" or ".".
  std::vector<std::string> m_components;
  std::vector<std::string> m_bases;
  int m_anchorWd = -1;       // the anchor's watch, -1 for none
  size_t m_anchorDepth = 0;  // its index in m_bases; the next component is m_components[depth]
  std::map<std::string, int> m_nodes;  // relative path ("" the path itself) -> watch
  std::set<int> m_nodeWatches;         // the watches of m_nodes
  uint64_t m_lostWatches = 0;
};

}  // namespace host

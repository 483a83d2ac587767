#pragma once

#include <sys/inotify.h>

#include <cstdint>

namespace qel::tcp_traffic_interceptor {

// inotify bits asked of the host's provider. The login records (product::kUtmpPath): a change
// means a session began or ended, and maybe a new home appeared.
constexpr uint32_t kUtmpFlags = IN_MODIFY;
// The folders where stores may appear: a new entry.
constexpr uint32_t kWatchDirectoryFlags = IN_CREATE;
// Every known store: a change, a replacement moved or made in its place, its removal.
constexpr uint32_t configFlags = IN_MODIFY | IN_MOVED_TO | IN_CREATE | IN_DELETE | IN_DELETE_SELF;

}  // namespace qel::tcp_traffic_interceptor

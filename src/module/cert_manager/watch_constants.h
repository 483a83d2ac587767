#pragma once

#include <cstdint>

namespace qel::tcp_traffic_interceptor {

// The login records: a change means a session began or ended, and maybe a new home appeared.
constexpr const char* UtmpPath = "/var/run/utmp";

// inotify bits asked of the host's provider.
constexpr uint32_t kUtmpFlags = 0x00000002;            // IN_MODIFY
constexpr uint32_t kWatchDirectoryFlags = 0x00000100;  // IN_CREATE
// IN_MODIFY, IN_MOVED_TO, IN_CREATE, IN_DELETE, IN_DELETE_SELF on every known store.
constexpr uint32_t configFlags = 0x00000782;

// The provider's FileModificationType of a created entry.
constexpr uint32_t kObjectCreated = 7;

}  // namespace qel::tcp_traffic_interceptor

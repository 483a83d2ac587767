#pragma once

#include <cstdint>

namespace host {

// The FileModificationType value of an inotify event: the first bit of `mask` found in the order
// created (7), deleted (8, IN_DELETE and IN_DELETE_SELF), moved to (11), moved from (10), moved
// (9), modified (6), closed after write (4), closed without write (5), attributes (3), opened (12),
// accessed (2); 14 when none is set.
uint32_t InotifyEventType(uint32_t mask);

}  // namespace host

#include <gtest/gtest.h>
#include <sys/inotify.h>

#include "host/inotify_event_type.h"

namespace host {
namespace {

struct TypeCase {
  uint32_t mask;
  uint32_t type;
};

// Each bit alone (those the naming tests do not see), and the order deciding between two bits of
// one event.
TEST(InotifyEventType, MapsEachBitAndTheFirstOfTheTableWins) {
  const TypeCase cases[] = {{IN_DELETE, 8},
                            {IN_DELETE_SELF, 8},
                            {IN_MOVE_SELF, 9},
                            {IN_CLOSE_WRITE, 4},
                            {IN_CLOSE_NOWRITE, 5},
                            {IN_OPEN, 12},
                            {IN_ACCESS, 2},
                            {IN_UNMOUNT, 14},
                            {0, 14},
                            {IN_CREATE | IN_ISDIR, 7},
                            {IN_MODIFY | IN_CREATE, 7},
                            {IN_ACCESS | IN_DELETE_SELF, 8},
                            {IN_MOVED_FROM | IN_MOVED_TO, 11},
                            {IN_OPEN | IN_ATTRIB, 3}};
  for (const TypeCase& item : cases) {
    EXPECT_EQ(InotifyEventType(item.mask), item.type) << std::hex << item.mask;
  }
}

}  // namespace
}  // namespace host

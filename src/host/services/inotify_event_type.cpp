#include "host/inotify_event_type.h"

#include <sys/inotify.h>

#include <iterator>

namespace host {
namespace {

struct TypeOfBits {
  uint32_t bits;
  uint32_t type;
};

// Checked in this order: an event carries one of these bits, but the order decides when it
// carries more.
constexpr TypeOfBits kTypes[] = {
    {IN_CREATE, 7},      {IN_DELETE | IN_DELETE_SELF, 8},
    {IN_MOVED_TO, 11},   {IN_MOVED_FROM, 10},
    {IN_MOVE_SELF, 9},   {IN_MODIFY, 6},
    {IN_CLOSE_WRITE, 4}, {IN_CLOSE_NOWRITE, 5},
    {IN_ATTRIB, 3},      {IN_OPEN, 12},
    {IN_ACCESS, 2},
};
constexpr uint32_t kUnknown = 14;

}  // namespace

uint32_t InotifyEventType(uint32_t mask) {
  for (const TypeOfBits& entry : kTypes) {
    if ((mask & entry.bits) != 0) {
      return entry.type;
    }
  }
  return kUnknown;
}

}  // namespace host

#include "host/inotify_event_type.h"

#include <sys/inotify.h>

#include <iterator>

#include "qel/enums/file_modification_type.h"

namespace host {
namespace {

namespace type = qel::FileModificationType;

struct TypeOfBits {
  uint32_t bits;
  uint32_t type;
};

// Checked in this order: an event carries one of these bits, but the order decides when it
// carries more.
constexpr TypeOfBits kTypes[] = {
    {IN_CREATE, type::ObjectCreated},
    {IN_DELETE | IN_DELETE_SELF, type::ObjectDeleted},
    {IN_MOVED_TO, type::ObjectMovedTo},
    {IN_MOVED_FROM, type::ObjectMovedFrom},
    {IN_MOVE_SELF, type::ObjectMoved},
    {IN_MODIFY, type::ObjectContentChanged},
    {IN_CLOSE_WRITE, type::ObjectClosedAfterWrite},
    {IN_CLOSE_NOWRITE, type::ObjectClosedWithoutWrite},
    {IN_ATTRIB, type::ObjectAttributesChanged},
    {IN_OPEN, type::ObjectOpened},
    {IN_ACCESS, type::ObjectAccessed},
};

}  // namespace

uint32_t InotifyEventType(uint32_t mask) {
  for (const TypeOfBits& entry : kTypes) {
    if ((mask & entry.bits) != 0) {
      return entry.type;
    }
  }
  return type::Unknown;
}

}  // namespace host

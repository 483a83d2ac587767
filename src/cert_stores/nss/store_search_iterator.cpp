#include "cert_stores/nss/store_search_iterator.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "qel/tools/unique_fd.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

bool IsDotOrDotDot(const char* name) {
  return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

// The place whose first component is `name`, or null; it is entered from the home.
const std::string_view* FindPlace(std::string_view name) {
  for (const std::string_view& place : kStorePlaces) {
    if (place.substr(0, place.find('/')) == name) {
      return &place;
    }
  }
  return nullptr;
}

// Opens `name` below `parent` when lstat calls it a directory. O_NOFOLLOW refuses a link put
// there after the lstat, O_DIRECTORY anything else, so nothing can block. -1 otherwise.
int OpenDirectoryAt(int parent, const char* name) {
  struct stat status {};
  if (::fstatat(parent, name, &status, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISDIR(status.st_mode)) {
    // A link, to a profile or anywhere else, is never entered, so a walk cannot loop.
    return -1;
  }
  return ::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

}  // namespace

StoreSearchIterator::StoreSearchIterator(const NativePath& home) {
  // The home itself may be a link (an administrator's choice in the account file); below it,
  // nothing is followed.
  const NativePath start = home.empty() ? NativePath(".") : home;
  const int fd = tools::OpenFile(AT_FDCWD, start, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) {
    return;
  }
  m_path = start;
  if (m_path.back() != '/') {
    m_path += '/';
  }
  if (Push(fd)) {
    while (Advance()) {
    }
  }
}

StoreSearchIterator::~StoreSearchIterator() { CloseAll(); }

bool StoreSearchIterator::LStat(struct stat& status) const noexcept {
  return ::fstatat(::dirfd(m_stack.back().directory.get()), Name(), &status, AT_SYMLINK_NOFOLLOW) ==
         0;
}

void StoreSearchIterator::Next() {
  for (;;) {
    const int read = ReadTop();
    if (read > 0) {
      while (Advance()) {
      }
      return;
    }
    if (read < 0) {
      // A directory that fails to read mid-way ends the walk; what was visited stands.
      CloseAll();
      return;
    }
    m_stack.pop_back();
    if (m_stack.empty()) {
      return;
    }
  }
}

void StoreSearchIterator::CloseAll() noexcept {
  while (!m_stack.empty()) {
    m_stack.pop_back();
  }
}

bool StoreSearchIterator::Push(int fd) {
  tools::UniqueFd owned(fd);
  ScopedDir directory(::fdopendir(owned.Get()));
  if (!directory) {
    return false;
  }
  owned.Release();
  // m_path holds the level's path with its final '/'.
  m_stack.push_back(Level{std::move(directory), nullptr, m_path.size()});
  if (ReadTop() != 1) {
    m_stack.pop_back();
    return false;
  }
  return true;
}

int StoreSearchIterator::ReadTop() {
  Level& top = m_stack.back();
  errno = 0;
  top.entry = ::readdir(top.directory.get());
  if (top.entry == nullptr) {
    return errno == 0 ? 0 : -1;
  }
  m_path.resize(top.pathLength);
  m_path += top.entry->d_name;
  return 1;
}

bool StoreSearchIterator::Advance() {
  const char* name = Name();
  if (IsDotOrDotDot(name)) {
    return false;
  }
  // Only names that may be entered are looked at: in the home, the first component of a place.
  std::string_view below;
  if (m_stack.size() == 1) {
    const std::string_view* place = FindPlace(name);
    if (place == nullptr) {
      return false;
    }
    const size_t slash = place->find('/');
    below = slash == std::string_view::npos ? std::string_view() : place->substr(slash + 1);
  }
  int fd = OpenDirectoryAt(::dirfd(m_stack.back().directory.get()), name);
  const size_t entryLength = m_path.size();
  // The folders on the way to a deeper place are opened one after the other by the same rule,
  // each closed as soon as the next is open.
  while (fd >= 0 && !below.empty()) {
    const size_t slash = below.find('/');
    const std::string component(below.substr(0, slash));
    below = slash == std::string_view::npos ? std::string_view() : below.substr(slash + 1);
    const tools::UniqueFd parent(fd);
    fd = OpenDirectoryAt(parent.Get(), component.c_str());
    m_path += '/';
    m_path += component;
  }
  if (fd < 0) {
    m_path.resize(entryLength);
    return false;
  }
  m_path += '/';
  if (!Push(fd)) {
    m_path.resize(entryLength);
    return false;
  }
  return true;
}

}  // namespace qel::tcp_traffic_interceptor::cert_stores

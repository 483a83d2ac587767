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

bool IsStoreRootName(const char* name) {
  return std::find(kStoreRootNames.begin(), kStoreRootNames.end(), std::string_view(name)) !=
         kStoreRootNames.end();
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
  // Only names that may be entered are looked at: in the home, just the five root names.
  if (IsDotOrDotDot(name) || (m_stack.size() == 1 && !IsStoreRootName(name))) {
    return false;
  }
  struct stat status {};
  if (!LStat(status) || !S_ISDIR(status.st_mode)) {
    // A link, to a profile or anywhere else, is never entered, so a walk cannot loop.
    return false;
  }
  const int fd = ::openat(::dirfd(m_stack.back().directory.get()), name,
                          O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (fd < 0) {
    return false;
  }
  const size_t entryLength = m_path.size();
  m_path += '/';
  if (!Push(fd)) {
    m_path.resize(entryLength);
    return false;
  }
  return true;
}

}  // namespace qel::tcp_traffic_interceptor::cert_stores

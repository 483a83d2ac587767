#pragma once

#include <dirent.h>
#include <sys/stat.h>

#include <array>
#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include "qel/tools/files.h"

namespace qel::tcp_traffic_interceptor::cert_stores {

using tools::NativePath;

// The places of a home where NSS programs keep their databases, in watch order. The first five
// are the root names the walk has always entered; the others are where today's browsers and mail
// clients make a fresh user's database (Chromium's XDG data folder, Firefox's XDG profiles,
// Thunderbird, Flatpak apps). A place of several components is entered only along its exact
// path: `~/.config` holds other programs' trees, and only its `mozilla` is walked.
constexpr std::array<std::string_view, 9> kStorePlaces = {
    ".mozilla",        ".pki",         "snap",    "Snap", ".snap", ".local/share/pki",
    ".config/mozilla", ".thunderbird", ".var/app"};

// The walk of one home, depth first in readdir order: every entry of the home, and every entry
// below the places, however deep; the folders on the way to a deeper place are passed through,
// not listed. No link is ever followed: types come from lstat
// (fstatat with AT_SYMLINK_NOFOLLOW), and a directory is opened relative to its level's open
// directory with O_NOFOLLOW | O_DIRECTORY, so one replaced by a link or a FIFO after its lstat is
// not entered and nothing can block. Working relative to the open levels also keeps every step
// short, whatever the length of the full path.
//
// One open directory per level; a directory that cannot be opened or is empty is not entered; a
// failed readdir ends the whole walk, keeping what was visited. Lives on the caller's stack, one
// thread; closes its directories deepest first.
class StoreSearchIterator final {
 public:
  // Opens `home` (long paths are walked) and moves to its first entry, entering it when allowed.
  // Without entries when the home cannot be opened or reads empty.
  explicit StoreSearchIterator(const NativePath& home);
  StoreSearchIterator(const StoreSearchIterator&) = delete;
  StoreSearchIterator& operator=(const StoreSearchIterator&) = delete;
  ~StoreSearchIterator();

  // True while there is a current entry.
  bool Valid() const noexcept { return !m_stack.empty(); }
  // The full path of the current entry: its level's path, which ends in '/', and its name.
  const NativePath& Path() const noexcept { return m_path; }
  // The name of the current entry.
  const char* Name() const noexcept { return m_stack.back().entry->d_name; }
  // lstat of the current entry; false (errno set) when it fails.
  bool LStat(struct stat& status) const noexcept;
  // The next entry: the current one's first when it is entered, else its next sibling, going up
  // as levels run out.
  void Next();

 private:
  struct DirCloser {
    void operator()(DIR* directory) const noexcept { ::closedir(directory); }
  };
  using ScopedDir = std::unique_ptr<DIR, DirCloser>;

  struct Level {
    ScopedDir directory;
    dirent* entry = nullptr;  // the current entry, valid until the level's next readdir
    size_t pathLength = 0;    // length of the level's path in m_path, its final '/' included
  };

  // Pushes a level for `fd` (taking it) when it reads at least one entry; false otherwise.
  bool Push(int fd);
  // Reads the top level's next entry. 1: an entry; 0: none left; -1: readdir failed.
  int ReadTop();
  // Goes down into the current entry when it is a directory (not a link) that the walk enters
  // and that opens with at least one entry; in the home, down to the end of the entry's place.
  bool Advance();
  // Closes every level, deepest first.
  void CloseAll() noexcept;

  std::vector<Level> m_stack;
  NativePath m_path;  // the current entry's full path
};

}  // namespace qel::tcp_traffic_interceptor::cert_stores

#include "host/directory_entries.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <memory>

namespace host {
namespace {

struct DirCloser {
  void operator()(DIR* directory) const noexcept { closedir(directory); }
};
using DirPtr = std::unique_ptr<DIR, DirCloser>;

}  // namespace

std::vector<DirectoryEntry> ListDirectory(const std::string& path, bool followLink) {
  std::vector<DirectoryEntry> entries;
  const int fd =
      open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | (followLink ? 0 : O_NOFOLLOW));
  if (fd < 0) {
    return entries;
  }
  DirPtr directory(fdopendir(fd));
  if (!directory) {
    close(fd);
    return entries;
  }
  while (const dirent* entry = readdir(directory.get())) {
    if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0) {
      continue;
    }
    bool isDirectory = entry->d_type == DT_DIR;
    if (entry->d_type == DT_UNKNOWN) {
      // Some file systems do not fill d_type.
      struct stat status;
      isDirectory =
          fstatat(dirfd(directory.get()), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
          S_ISDIR(status.st_mode);
    }
    entries.push_back(DirectoryEntry{entry->d_name, isDirectory});
  }
  return entries;
}

bool IsDirectory(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace host

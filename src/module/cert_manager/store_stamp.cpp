#include "cert_manager/store_stamp.h"

#include <sys/stat.h>

namespace qel::tcp_traffic_interceptor {

std::optional<FileStamp> ReadFileStamp(const tools::NativePath& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    return std::nullopt;
  }
  return FileStamp{static_cast<uint64_t>(status.st_dev), static_cast<uint64_t>(status.st_ino),
                   static_cast<int64_t>(status.st_size),
                   static_cast<int64_t>(status.st_mtim.tv_sec),
                   static_cast<int64_t>(status.st_mtim.tv_nsec)};
}

}  // namespace qel::tcp_traffic_interceptor

#include "cert_stores/nss/database_files.h"

#include <sys/stat.h>

#include "cert_stores/nss/nss_context.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

enum class FileState { kMissing, kEmpty, kFilled };

FileState StateOf(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    return FileState::kMissing;
  }
  return status.st_size > 0 ? FileState::kFilled : FileState::kEmpty;
}

}  // namespace

DatabaseFiles FindDatabaseFiles(const std::string& storePath) {
  std::string directory = DatabaseDirectory(storePath);
  directory = directory.empty() ? "." : directory;
  // NSS makes both files when a program first opens the directory for writing, each an empty file
  // until SQLite has written its tables: seen between those steps, the database is still its
  // maker's.
  const FileState certificates = StateOf(directory + "/cert9.db");
  const FileState keys = StateOf(directory + "/key4.db");
  if (certificates == FileState::kMissing && keys == FileState::kMissing) {
    return DatabaseFiles::kNone;
  }
  if (certificates == FileState::kFilled && keys == FileState::kFilled) {
    return DatabaseFiles::kComplete;
  }
  return DatabaseFiles::kPartial;
}

}  // namespace qel::tcp_traffic_interceptor::cert_stores

#pragma once

#include <sys/types.h>

#include <string>

#include "qel/tools/unique_fd.h"

namespace tti::test {

// Another process holds a write lock over the whole of a file, as a writer of an SQLite database
// does; locks of the same process would not conflict with our own opening. Released and reaped
// by the destructor.
class DatabaseLock final {
 public:
  explicit DatabaseLock(const std::string& path);
  DatabaseLock(const DatabaseLock&) = delete;
  DatabaseLock& operator=(const DatabaseLock&) = delete;
  ~DatabaseLock();

 private:
  pid_t m_child = -1;
  qel::tools::UniqueFd m_release;  // closing it lets the child end
};

}  // namespace tti::test

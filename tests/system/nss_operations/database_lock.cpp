#include "database_lock.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

namespace tti::test {

DatabaseLock::DatabaseLock(const std::string& path) {
  int ready[2];
  int release[2];
  if (::pipe2(ready, O_CLOEXEC) != 0) {
    throw std::runtime_error("pipe2");
  }
  qel::tools::UniqueFd readyRead(ready[0]);
  qel::tools::UniqueFd readyWrite(ready[1]);
  if (::pipe2(release, O_CLOEXEC) != 0) {
    throw std::runtime_error("pipe2");
  }
  qel::tools::UniqueFd releaseRead(release[0]);
  m_release.Reset(release[1]);
  m_child = ::fork();
  if (m_child < 0) {
    throw std::runtime_error("fork");
  }
  if (m_child == 0) {
    // Only system calls from here on.
    const int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;  // l_start 0, l_len 0: the whole file and beyond its end
    if (fd < 0 || ::fcntl(fd, F_SETLKW, &lock) != 0) {
      ::_exit(1);
    }
    ::close(release[1]);
    const char byte = 1;
    (void)!::write(ready[1], &byte, 1);
    char ignored;
    while (::read(release[0], &ignored, 1) < 0 && errno == EINTR) {
    }
    ::_exit(0);
  }
  readyWrite.Reset();
  char byte = 0;
  if (::read(readyRead.Get(), &byte, 1) != 1) {
    ::waitpid(m_child, nullptr, 0);
    throw std::runtime_error("the lock was not taken on " + path);
  }
}

DatabaseLock::~DatabaseLock() {
  m_release.Reset();
  int status = 0;
  while (::waitpid(m_child, &status, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace tti::test

#pragma once

#include <unistd.h>

#include <utility>

namespace qel::tools {

// Owns one descriptor and closes it once; -1 means none.
class UniqueFd final {
 public:
  UniqueFd() noexcept = default;
  explicit UniqueFd(int fd) noexcept : m_fd(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : m_fd(other.Release()) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    Reset(other.Release());
    return *this;
  }
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;
  ~UniqueFd() { Reset(); }

  int Get() const noexcept { return m_fd; }
  explicit operator bool() const noexcept { return m_fd >= 0; }
  int Release() noexcept { return std::exchange(m_fd, -1); }
  void Reset(int fd = -1) noexcept {
    if (m_fd >= 0) {
      ::close(m_fd);
    }
    m_fd = fd;
  }

 private:
  int m_fd = -1;
};

}  // namespace qel::tools

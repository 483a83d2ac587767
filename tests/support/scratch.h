#pragma once

// Small things every kind of test needs once: a temporary folder that goes away, whole-file reads
// and writes, waiting for something another thread or process does, and a byte copy of a range.
#include <stdlib.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace tti::test {

// A fresh folder under `parent` (/dev/shm where a test syncs a lot), removed with all it holds.
class TempDir {
 public:
  explicit TempDir(const std::string& parent = "/tmp") {
    std::string pattern = parent + "/tti-test.XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) {
      throw std::runtime_error("mkdtemp in " + parent);
    }
    m_path = pattern;
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }

  const std::string& path() const { return m_path; }
  std::string operator/(const std::string& name) const { return m_path + "/" + name; }

 private:
  std::string m_path;
};

inline std::string ReadText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

inline void WriteText(const std::string& path, const std::string& text,
                      std::ios::openmode mode = std::ios::trunc) {
  std::ofstream out(path, std::ios::binary | mode);
  out << text;
  if (!out.flush()) {
    throw std::runtime_error("cannot write " + path);
  }
}

inline void AppendText(const std::string& path, const std::string& text) {
  WriteText(path, text, std::ios::app);
}

// Polls `condition` until it holds or `limit` has passed.
inline bool Eventually(const std::function<bool()>& condition,
                       std::chrono::milliseconds limit = std::chrono::seconds(30)) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

// Whether every process whose id the file lists ends within the usual limit: gone, or a zombie its
// new parent has not reaped yet.
inline bool ListedProcessesEnd(const std::string& pidFile) {
  std::ifstream list(pidFile);
  for (std::string pid; list >> pid;) {
    if (!Eventually([&pid] {
          std::ifstream stat("/proc/" + pid + "/stat");
          const std::string text{std::istreambuf_iterator<char>(stat), {}};
          return text.empty() || text.find(") Z ") != std::string::npos;
        })) {
      return false;
    }
  }
  return true;
}

// The bytes of any range of byte-sized values (a DER vector, a blob, an ABI vector).
template <typename Range>
std::vector<uint8_t> Bytes(const Range& range) {
  return std::vector<uint8_t>(std::begin(range), std::end(range));
}

// The same bytes in a container without a range constructor (the ABI's vector of a RawCert).
template <typename Container, typename Range>
Container BytesAs(const Range& range) {
  Container bytes;
  for (const auto byte : range) {
    bytes.push_back(byte);
  }
  return bytes;
}

}  // namespace tti::test

#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "host/host_object.h"
#include "orv/tracer.h"

namespace host {

// A tracer for tests: keeps every line, can refuse levels or the growth of open records, and
// counts what it was asked. Thread-safe.
class CapturingTracer final : public HostObject<orv::ITracer> {
 public:
  struct Line {
    uint32_t level;
    std::string text;
  };

  CapturingTracer() = default;

  // orv::ITracer
  result_t GetRecord(uint32_t level, orv::TraceRecord* record, size_t size) override;
  result_t PutRecord(char* data, size_t length) override;

  void RefuseLevel(uint32_t level);
  void RefuseGrowth(bool refuse);
  // Lines holding `fragment` are counted from now on; with `keep` false no line is kept (a
  // benchmark's long run).
  void CountFragment(const std::string& fragment);
  void KeepLines(bool keep);
  uint64_t Counted(const std::string& fragment) const;

  std::vector<Line> Lines() const;
  // Texts of the lines at `level`.
  std::vector<std::string> Texts(uint32_t level) const;
  // Whether any line contains `fragment`.
  bool Contains(std::string_view fragment) const;
  void Clear();

  uint64_t opens() const;               // GetRecord calls at a message level, granted or not
  uint64_t grants() const;              // records granted
  std::vector<size_t> growths() const;  // sizes asked with level 1000, granted or not
  uint64_t openRecords() const;         // granted but not yet put

 private:
  mutable std::mutex m_mutex;  // guards everything below
  std::set<uint32_t> m_refusedLevels;
  bool m_refuseGrowth = false;
  std::vector<Line> m_lines;
  bool m_keep = true;
  std::map<std::string, uint64_t, std::less<>> m_counted;
  uint64_t m_opens = 0;
  uint64_t m_grants = 0;
  uint64_t m_puts = 0;
  std::vector<size_t> m_growths;
};

}  // namespace host

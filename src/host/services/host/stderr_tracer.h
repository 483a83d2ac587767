#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "host/host_object.h"
#include "orv/tracer.h"

namespace host {

// Writes one line per record to a descriptor (standard error by default):
// "2026-11-23 07:29:03.123456 T12345 DETAIL text". Levels above the threshold are refused
// (0x8000007a) with record->data null. Each buffer carries a header with its level and capacity;
// a growth copies the old bytes, a refused growth leaves the old buffer open. Any thread, no lock:
// each line is written with one write call, so lines of concurrent records do not interleave.
class StderrTracer final : public HostObject<orv::ITracer> {
 public:
  explicit StderrTracer(uint32_t threshold = 800, int descriptor = 2) noexcept
      : m_threshold(threshold), m_descriptor(descriptor) {}

  // orv::ITracer
  result_t GetRecord(uint32_t level, orv::TraceRecord* record, size_t size) override;
  result_t PutRecord(char* data, size_t length) override;

  void SetThreshold(uint32_t threshold) noexcept { m_threshold = threshold; }
  // Lines above the threshold (up to 800) that start with `prefix` are written as well: the
  // module's lines an operator reads without the rest of its details. Set before the first record.
  void PassAboveThreshold(std::string prefix) { m_passedPrefix = std::move(prefix); }

 private:
  std::atomic<uint32_t> m_threshold;
  std::string m_passedPrefix;  // empty: none
  int m_descriptor;            // not owned
};

// "ERROR", "WARNING", "DETAIL" or the number.
const char* LevelName(uint32_t level) noexcept;

}  // namespace host

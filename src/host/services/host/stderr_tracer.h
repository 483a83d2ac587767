#pragma once

#include <cstddef>
#include <cstdint>

#include "host/host_object.h"
#include "orv/tracer.h"

namespace host {

// Writes one line per record to a descriptor (standard error by default):
// "2026-11-23 07:29:03.123456 T12345 DETAIL text". Levels above the threshold are refused
// (0x8000007a). Any thread; each line is written with one write call.
class StderrTracer final : public HostObject<orv::ITracer> {
 public:
  explicit StderrTracer(uint32_t threshold = 800, int descriptor = 2) noexcept
      : m_threshold(threshold), m_descriptor(descriptor) {}

  // orv::ITracer
  result_t GetRecord(uint32_t level, orv::TraceRecord* record, size_t size) override;
  result_t PutRecord(char* data, size_t length) override;

  void SetThreshold(uint32_t threshold) noexcept { m_threshold = threshold; }

 private:
  uint32_t m_threshold;
  int m_descriptor;
};

// "ERROR", "WARNING", "DETAIL" or the number.
const char* LevelName(uint32_t level) noexcept;

}  // namespace host

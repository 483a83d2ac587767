#include "host/capturing_tracer.h"

#include <algorithm>

#include "trace_buffer.h"

namespace host {

result_t CapturingTracer::GetRecord(uint32_t level, orv::TraceRecord* record, size_t size) {
  if (!record) {
    return orv::errors::kInvalidArgument;
  }
  const std::lock_guard lock(m_mutex);
  if (level == orv::trace_level::kGrow) {
    m_growths.push_back(size);
    if (m_refuseGrowth) {
      return orv::errors::kOutOfMemory;
    }
    return trace_buffer::GrowRecord(record, size);
  }
  ++m_opens;
  record->data = nullptr;
  if (m_refusedLevels.count(level) != 0) {
    return orv::errors::kTraceLevelProhibited;
  }
  record->data = trace_buffer::Open(level, size);
  if (!record->data) {
    return orv::errors::kOutOfMemory;
  }
  ++m_grants;
  return orv::errors::kOk;
}

result_t CapturingTracer::PutRecord(char* data, size_t length) {
  if (!data) {
    return orv::errors::kInvalidArgument;
  }
  const uint32_t level = trace_buffer::Level(data);
  length = std::min(length, trace_buffer::Capacity(data));
  result_t result = orv::errors::kOk;
  Line line{level, {}};
  try {
    line.text.assign(data, length);
  } catch (const std::bad_alloc&) {
    result = orv::errors::kOutOfMemory;
  }
  trace_buffer::Free(data);
  const std::lock_guard lock(m_mutex);
  ++m_puts;
  for (auto& [fragment, count] : m_counted) {
    count += line.text.find(fragment) != std::string::npos ? 1 : 0;
  }
  if (result == orv::errors::kOk && m_keep) {
    try {
      m_lines.push_back(std::move(line));
    } catch (const std::bad_alloc&) {
      result = orv::errors::kOutOfMemory;
    }
  }
  return result;
}

void CapturingTracer::RefuseLevel(uint32_t level) {
  const std::lock_guard lock(m_mutex);
  m_refusedLevels.insert(level);
}

void CapturingTracer::CountFragment(const std::string& fragment) {
  const std::lock_guard lock(m_mutex);
  m_counted.emplace(fragment, 0);
}

void CapturingTracer::KeepLines(bool keep) {
  const std::lock_guard lock(m_mutex);
  m_keep = keep;
}

uint64_t CapturingTracer::Counted(const std::string& fragment) const {
  const std::lock_guard lock(m_mutex);
  const auto found = m_counted.find(fragment);
  return found == m_counted.end() ? 0 : found->second;
}

void CapturingTracer::RefuseGrowth(bool refuse) {
  const std::lock_guard lock(m_mutex);
  m_refuseGrowth = refuse;
}

std::vector<CapturingTracer::Line> CapturingTracer::Lines() const {
  const std::lock_guard lock(m_mutex);
  return m_lines;
}

std::vector<std::string> CapturingTracer::Texts(uint32_t level) const {
  const std::lock_guard lock(m_mutex);
  std::vector<std::string> texts;
  for (const Line& line : m_lines) {
    if (line.level == level) {
      texts.push_back(line.text);
    }
  }
  return texts;
}

bool CapturingTracer::Contains(std::string_view fragment) const {
  const std::lock_guard lock(m_mutex);
  return std::any_of(m_lines.begin(), m_lines.end(), [fragment](const Line& line) {
    return line.text.find(fragment) != std::string::npos;
  });
}

void CapturingTracer::Clear() {
  const std::lock_guard lock(m_mutex);
  m_lines.clear();
}

uint64_t CapturingTracer::opens() const {
  const std::lock_guard lock(m_mutex);
  return m_opens;
}

uint64_t CapturingTracer::grants() const {
  const std::lock_guard lock(m_mutex);
  return m_grants;
}

std::vector<size_t> CapturingTracer::growths() const {
  const std::lock_guard lock(m_mutex);
  return m_growths;
}

uint64_t CapturingTracer::openRecords() const {
  const std::lock_guard lock(m_mutex);
  return m_grants - m_puts;
}

}  // namespace host

#include "host/stderr_tracer.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string_view>

#include "trace_buffer.h"

namespace host {
namespace {

// "2026-11-23 07:29:03.123456 T12345 DETAIL "; returns its length.
size_t FormatPrefix(char* buffer, size_t size, uint32_t level) noexcept {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  std::tm local{};
  localtime_r(&now.tv_sec, &local);
  const size_t date = std::strftime(buffer, size, "%Y-%m-%d %H:%M:%S", &local);
  const int rest = std::snprintf(buffer + date, size - date, ".%06ld T%ld %s ",
                                 static_cast<long>(now.tv_nsec / 1000),
                                 static_cast<long>(syscall(SYS_gettid)), LevelName(level));
  return rest > 0 ? std::min(size - 1, date + static_cast<size_t>(rest)) : date;
}

void WriteAll(int descriptor, const char* data, size_t length) noexcept {
  // One call in practice; the loop only finishes a line a signal or a full pipe cut short.
  while (length != 0) {
    const ssize_t written = ::write(descriptor, data, length);
    if (written < 0) {
      if (errno == EINTR) {
        continue;
      }
      return;
    }
    data += written;
    length -= static_cast<size_t>(written);
  }
}

}  // namespace

result_t StderrTracer::GetRecord(uint32_t level, orv::TraceRecord* record, size_t size) {
  if (!record) {
    return orv::errors::kInvalidArgument;
  }
  if (level == orv::trace_level::kGrow) {
    return trace_buffer::GrowRecord(record, size);
  }
  record->data = nullptr;
  // A line that may pass is made and looked at when it is put.
  const bool mayPass = !m_passedPrefix.empty() && level <= orv::trace_level::kDetail;
  if (level > m_threshold.load(std::memory_order_relaxed) && !mayPass) {
    return orv::errors::kTraceLevelProhibited;
  }
  record->data = trace_buffer::Open(level, size);
  return record->data ? orv::errors::kOk : orv::errors::kOutOfMemory;
}

result_t StderrTracer::PutRecord(char* data, size_t length) {
  if (!data) {
    return orv::errors::kInvalidArgument;
  }
  length = std::min(length, trace_buffer::Capacity(data));
  if (trace_buffer::Level(data) > m_threshold.load(std::memory_order_relaxed) &&
      std::string_view(data, length).substr(0, m_passedPrefix.size()) != m_passedPrefix) {
    trace_buffer::Free(data);
    return orv::errors::kOk;
  }
  char prefix[96];
  const size_t prefixLength = FormatPrefix(prefix, sizeof(prefix), trace_buffer::Level(data));
  const size_t lineLength = prefixLength + length + 1;
  auto* line = static_cast<char*>(std::malloc(lineLength));
  if (!line) {
    trace_buffer::Free(data);
    return orv::errors::kOutOfMemory;
  }
  std::memcpy(line, prefix, prefixLength);
  std::memcpy(line + prefixLength, data, length);
  line[lineLength - 1] = '\n';
  trace_buffer::Free(data);
  WriteAll(m_descriptor, line, lineLength);
  std::free(line);
  return orv::errors::kOk;
}

const char* LevelName(uint32_t level) noexcept {
  switch (level) {
    case orv::trace_level::kError:
      return "ERROR";
    case orv::trace_level::kWarning:
      return "WARNING";
    case orv::trace_level::kDetail:
      return "DETAIL";
    default: {
      thread_local char number[16];
      std::snprintf(number, sizeof(number), "%u", level);
      return number;
    }
  }
}

}  // namespace host

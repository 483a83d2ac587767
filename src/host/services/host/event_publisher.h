#pragma once

#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>

#include "host/host_object.h"
#include "qel/event_publisher.h"

namespace host {

// Writes every published event as one JSON line (the event text's JSON shape) to a file, appended
// to, or to standard output. Any thread; m_mutex guards the output and the counters, so lines of
// two callers never mix.
class EventPublisher final : public HostObject<qel::INonRemoteEventPublisher> {
 public:
  // `path` empty: standard output.
  explicit EventPublisher(std::string path = std::string());

  // qel::INonRemoteEventPublisher
  result_t PublishEvent(const qel::Event& event) override;

  // For tests: events written, and a result to answer instead of writing (0 to write again).
  uint64_t published() const;
  void FailWith(result_t result);

 private:
  const std::string m_path;
  mutable std::mutex m_mutex;  // guards the output and everything below
  uint64_t m_published = 0;
  result_t m_failure = 0;
};

}  // namespace host

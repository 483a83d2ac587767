#include "host/event_publisher.h"

#include <fstream>
#include <iostream>
#include <sstream>
#include <utility>

#include "qel/event_text.h"

namespace host {

EventPublisher::EventPublisher(std::string path) : m_path(std::move(path)) {}

result_t EventPublisher::PublishEvent(const qel::Event& event) {
  std::ostringstream line;
  try {
    qel::tools::EventToText(event, qel::tools::kEventTextJson, line);
  } catch (...) {
    return orv::errors::kInvalidArgument;  // a record date that local time cannot show
  }
  line << '\n';
  std::lock_guard<std::mutex> lock(m_mutex);
  if (ORV_FAILED(m_failure)) {
    return m_failure;
  }
  if (m_path.empty()) {
    std::cout << line.str() << std::flush;
  } else {
    std::ofstream file(m_path, std::ios::app | std::ios::binary);
    file << line.str();
    if (!file.flush()) {
      return orv::errors::kUnspecified;
    }
  }
  ++m_published;
  return orv::errors::kOk;
}

uint64_t EventPublisher::published() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_published;
}

void EventPublisher::FailWith(result_t result) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_failure = result;
}

}  // namespace host

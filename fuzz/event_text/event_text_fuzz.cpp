// Random records through all three shapes of the event text; the JSON shape must always parse.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>
#include <sstream>

#include "qel/event_text.h"

namespace {

// Reads the input front to back; past the end everything is zero.
class Input {
 public:
  Input(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}
  bool empty() const { return m_offset >= m_size; }
  uint8_t Byte() { return empty() ? 0 : m_data[m_offset++]; }
  std::string Bytes(size_t count) {
    count = std::min(count, m_size - std::min(m_offset, m_size));
    std::string text(reinterpret_cast<const char*>(m_data + m_offset), count);
    m_offset += count;
    return text;
  }
  template <class T>
  T Number() {
    T value{};
    const std::string bytes = Bytes(sizeof(T));
    std::memcpy(&value, bytes.data(), bytes.size());
    return value;
  }

 private:
  const uint8_t* m_data;
  size_t m_size;
  size_t m_offset = 0;
};

// The field names worth most: those with their own treatment in the text.
constexpr uint32_t kNames[] = {0, 5, 23, 30, 50, 66, 105, 107, 9, 3, 200};
constexpr uint32_t kTags[] = {0, 2, 5, 6, 9, 10, 12, 14, 15, 77, 0x4009};

qel::Variant MakeValue(Input& input) {
  const uint32_t tag = kTags[input.Byte() % (sizeof(kTags) / sizeof(kTags[0]))];
  switch (tag) {
    case 14: {
      const std::string text = input.Bytes(input.Number<uint16_t>() % 4096);
      return qel::Variant::String8(orv::types::string8_t(text.data(), text.size()));
    }
    case 15: {
      const std::string bytes = input.Bytes((input.Number<uint16_t>() % 2048) * 2);
      std::u16string text(bytes.size() / 2, u'\0');
      std::memcpy(text.data(), bytes.data(), text.size() * 2);
      return qel::Variant::String16(orv::types::string16_t(text));
    }
    case 0x4009:
      return qel::Variant::Array(9, orv::types::vector_t<uint32_t>({input.Number<uint32_t>()}));
    default: {
      const uint64_t payload[6] = {input.Number<uint64_t>()};
      return qel::Variant::Raw(tag, payload, sizeof(payload));
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  qel::Event record;
  record.eventType = static_cast<qel::EventName::Type>(input.Number<uint16_t>() % 300);
  record.initiator = static_cast<qel::Initiator::Type>(input.Byte() % 4);
  record.dangerLevel = static_cast<qel::DangerLevel::Type>(input.Byte() % 8);
  record.date = input.Number<int32_t>();
  if (input.Byte() & 1) {
    qel::UserInfo user;
    user.uid = input.Number<uint32_t>();
    const std::string name = input.Bytes(input.Byte());
    user.name = orv::types::string16_t(std::u16string(name.begin(), name.end()));
    record.user = user;
  }
  while (!input.empty() && record.additionalFields.size() < 64) {
    const uint8_t selector = input.Byte();
    const uint32_t name = selector & 0x80 ? selector & 0x7f : kNames[selector % 11];
    qel::Variant value = MakeValue(input);
    qel::AppendField(static_cast<qel::AdditionalName::Type>(name), value, record.additionalFields);
  }
  for (uint32_t format = 0; format < 3; ++format) {
    std::ostringstream text;
    qel::tools::EventToText(record, format, text);
    if (format == qel::tools::kEventTextJson && !nlohmann::json::accept(text.str())) {
      std::abort();
    }
  }
  return 0;
}

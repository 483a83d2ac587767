// Random JSON documents through the three settings readers: a reader either refuses the document
// with an exception or gives a record whose JSON reads back to the same JSON.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>

#include "settings_json.h"

namespace {

template <class Record>
void RoundTrip(const nlohmann::json& document, Record (*fromJson)(const nlohmann::json&)) {
  Record record;
  try {
    record = fromJson(document);
  } catch (const nlohmann::json::exception&) {
    return;
  } catch (const std::invalid_argument&) {
    return;  // a value of the wrong type or out of its field's range, refused by name
  } catch (const std::runtime_error&) {
    return;  // a cut UTF-8 sequence
  }
  const nlohmann::json written = module_host::ToJson(record);
  if (module_host::ToJson(fromJson(written)) != written) {
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const nlohmann::json document = nlohmann::json::parse(data, data + size, nullptr, false);
  if (document.is_discarded()) {
    return 0;
  }
  RoundTrip(document, module_host::NetworkPortsFromJson);
  RoundTrip(document, module_host::NetSettingsFromJson);
  RoundTrip(document, module_host::TrustedAddressesFromJson);
  return 0;
}

// Random date texts: a text read as a date is shown as a text that reads back to the same ticks, in
// a zone with an offset and no summer time (a text is read as standard time, so a summer date
// would come back an hour off by design).
#include <time.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "qel/event.h"
#include "qel/tools/date_strings.h"

namespace {

namespace tools = qel::tools;
constexpr auto kField = qel::AdditionalName::ExpirationDate;

// Five and a half hours east of UTC, without the zone files.
[[maybe_unused]] const bool kZoneSet = [] {
  setenv("TZ", "IST-5:30", 1);
  tzset();
  return true;
}();

// The ticks of the date field that `text` appends, or false.
bool Ticks(std::string_view text, uint64_t& ticks) {
  qel::Event event;
  if (tools::ParseDateField(event, kField, text) != 0) {
    return false;
  }
  if (event.additionalFields.size() != 1 ||
      event.additionalFields[0].data.tag() != qel::Variant::kDate) {
    std::abort();
  }
  ticks = event.additionalFields[0].data.As<uint64_t>();
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  uint64_t ticks = 0;
  if (!Ticks(std::string_view(reinterpret_cast<const char*>(data), size), ticks)) {
    return 0;
  }
  std::string shown;
  try {
    shown = tools::TicksToString(static_cast<int64_t>(ticks));
  } catch (const std::exception&) {
    return 0;  // tick counts are taken as they are, shown only within range
  }
  // The text shows the whole seconds of ToTime; years past 9999 take five digits, which the
  // reader's format does not read.
  const uint64_t seconds =
      static_cast<uint64_t>(tools::ToTime(static_cast<int64_t>(ticks)) * tools::kTicksPerSecond +
                            tools::kTicksFrom1601ToUnixEpoch);
  uint64_t again = 0;
  if (shown.size() == 19 && (!Ticks(shown, again) || again != seconds)) {
    std::abort();
  }
  return 0;
}

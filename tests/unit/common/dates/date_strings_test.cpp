#include "qel/tools/date_strings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <string>

#include "orv/exception.h"
#include "qel/event.h"

namespace qel::tools {
namespace {

constexpr int64_t kEpoch = kTicksFrom1601ToUnixEpoch;
// 2024-07-01 12:00:00 UTC, in summer time where the zone has one.
constexpr int64_t kSummer = kEpoch + 1719835200LL * kTicksPerSecond;

// Runs each case under a POSIX TZ rule, which needs no zone files.
class ZoneTest {
 public:
  explicit ZoneTest(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }
  ~ZoneTest() {
    unsetenv("TZ");
    tzset();
  }
};

struct ZoneCase {
  const char* zone;
  int64_t ticks;
  const char* text;
  int64_t readBack;  // what the text reads back as; 0: the same ticks, -1: not readable
};

class DatesInZones : public testing::TestWithParam<ZoneCase> {};

TEST_P(DatesInZones, TicksShowAsLocalTimeAndReadBack) {
  const ZoneTest zone(GetParam().zone);
  EXPECT_EQ(TicksToString(GetParam().ticks), GetParam().text);
  Event record;
  const result_t result = ParseDateField(record, AdditionalName::ExpirationDate, GetParam().text);
  if (GetParam().readBack < 0) {
    EXPECT_EQ(result, orv::errors::kInvalidArgument);
    return;
  }
  ASSERT_EQ(result, 0);
  ASSERT_EQ(record.additionalFields.size(), 1u);
  EXPECT_EQ(record.additionalFields[0].name, AdditionalName::ExpirationDate);
  EXPECT_EQ(record.additionalFields[0].data.tag(), Variant::kDate);
  const int64_t expected = GetParam().readBack ? GetParam().readBack : GetParam().ticks;
  EXPECT_EQ(record.additionalFields[0].data.As<uint64_t>(), static_cast<uint64_t>(expected));
}

INSTANTIATE_TEST_SUITE_P(
    Zones, DatesInZones,
    testing::Values(
        ZoneCase{"UTC0", 0, "1601-01-01 00:00:00", 0},
        ZoneCase{"JST-9", 0, "1601-01-01 09:00:00", 0},
        ZoneCase{"EST5EDT,M3.2.0,M11.1.0", 0, "1600-12-31 19:00:00", 0},
        ZoneCase{"UTC0", kEpoch, "1970-01-01 00:00:00", 0},
        // mktime's -1 with errno 0: a real date one second before the epoch
        ZoneCase{"UTC0", kEpoch - kTicksPerSecond, "1969-12-31 23:59:59", 0},
        // The text is read as standard time (tm_isdst 0): summer texts come back an hour later.
        ZoneCase{"EST5EDT,M3.2.0,M11.1.0", kSummer, "2024-07-01 08:00:00",
                 kSummer + 3600 * kTicksPerSecond},
        ZoneCase{"JST-9", kSummer, "2024-07-01 21:00:00", 0},
        // the largest tick count; five-digit years do not read back
        ZoneCase{"UTC0", INT64_MAX, "30828-09-14 02:48:05", -1}));

// The message of a TimeSystemError, which always carries 0x80000046.
template <class F>
std::u16string TimeErrorMessage(F call) {
  try {
    call();
  } catch (const orv::datetime::TimeSystemError& error) {
    EXPECT_EQ(error.ExtractResult(), orv::errors::kInvalidArgument);
    return std::u16string(error.message().view());
  }
  return u"no exception";
}

TEST(Dates, FromUnixTimeAndToTimeLimits) {
  EXPECT_EQ(FromUnixTime(922337203685, 0), 9223372036850000000);
  EXPECT_EQ(FromUnixTime(-11644473600, 0), -kEpoch);
  EXPECT_EQ(FromUnixTime(-1, 922337203685477580), 9223372036854775800 - 10000000);
  EXPECT_EQ(TimeErrorMessage([] { FromUnixTime(1, 922337203685477580); }),
            u"Invalid timestamp: usec 922337203685477580");
  EXPECT_EQ(TimeErrorMessage([] { FromUnixTime(922337203686, 0); }),
            u"Invalid timestamp: epoch 922337203686");
  EXPECT_EQ(TimeErrorMessage([] { FromUnixTime(-922337203686, 0); }),
            u"Invalid timestamp: epoch -922337203686");
  EXPECT_EQ(TimeErrorMessage([] { FromUnixTime(0, -922337203685477581); }),
            u"Invalid timestamp: usec -922337203685477581");
  EXPECT_EQ(TimeErrorMessage([] { FromUnixTime(-11644473600, -1); }),
            u"Invalid utc timestamp for posix platform -116444736000000010");
  // ToTime accepts one tick more.
  EXPECT_EQ(ToTime(0), -11644473600);
  EXPECT_EQ(ToTime(-1), -11644473600);  // truncated toward zero
  EXPECT_EQ(ToTime(kEpoch + 19999999), 1);
  EXPECT_EQ(TimeErrorMessage([] { ToTime(-2); }),
            u"Invalid utc timestamp for posix platform -116444736000000002");
}

TEST(Dates, FormatDateLimits) {
  const ZoneTest zone("UTC0");
  const std::tm time = ToBrokenDownTime(0);
  EXPECT_EQ(FormatDate(time, ""), "");
  EXPECT_EQ(FormatDate(time, std::string(2047, 'x').c_str()), std::string(2047, 'x'));
  EXPECT_THROW(FormatDate(time, std::string(2048, 'x').c_str()), std::out_of_range);
  std::string wide;
  for (int i = 0; i < 200; ++i) {
    wide += "%c";  // some 4800 bytes of output: more than the buffer
  }
  EXPECT_THAT([&] { FormatDate(time, wide.c_str()); },
              testing::ThrowsMessage<std::out_of_range>("Format specification is too long"));
}

// A failure leaves the record as it was; digits are ticks as they are, in any zone.
TEST(Dates, ParseDateField_TextsAndDigits) {
  const ZoneTest zone("JST-9");
  const std::pair<std::string, result_t> cases[] = {
      {"", orv::errors::kInvalidArgument},
      {"2024-13-01 00:00:00", orv::errors::kInvalidArgument},
      {"yesterday", orv::errors::kInvalidArgument},
      {"99999999999999999999", orv::errors::kInvalidArgument},
      // 2047 bytes still reach strptime, which stops after the date
      {"2024-01-01 00:00:00" + std::string(2028, ' '), 0},
      {"2024-01-01 00:00:00" + std::string(2029, ' '), orv::errors::kInvalidArgument}};
  for (const auto& [text, expected] : cases) {
    Event record;
    EXPECT_EQ(ParseDateField(record, AdditionalName::IssuingDate, text), expected) << text;
    EXPECT_EQ(record.additionalFields.size(), expected == 0 ? 1u : 0u) << text;
  }
  Event record;
  ASSERT_EQ(ParseDateField(record, AdditionalName::IssuingDate, "131000000000000000"), 0);
  EXPECT_EQ(record.additionalFields[0].data.As<uint64_t>(), 131000000000000000u);
}

TEST(Dates, SetProcessLocale) {
  EXPECT_EQ(SetProcessLocale("C.UTF-8"), 0);
  EXPECT_STREQ(getenv("LC_ALL"), "C.UTF-8");
  EXPECT_EQ(SetProcessLocale("xx_XX.no-such-locale"), orv::errors::kUnspecified);
  EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C.UTF-8");
  EXPECT_STREQ(getenv("LC_ALL"), "C.UTF-8");
  EXPECT_EQ(SetProcessLocale(nullptr), 0);
  EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
  EXPECT_STREQ(getenv("LC_ALL"), "C");
}

}  // namespace
}  // namespace qel::tools

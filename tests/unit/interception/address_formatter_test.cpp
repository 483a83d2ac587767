#include "address_formatter.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

namespace tm = ::traffic_processing::traffic_monitor;
using qel::tcp_traffic_interceptor::interception::FormatAddress;

struct Row {
  uint64_t high;
  uint64_t low;
  std::string text;
};

tm::IpEndpoint V6(uint64_t high, uint64_t low) {
  tm::IpEndpoint endpoint;
  endpoint.family = 6;
  endpoint.v6.address[1] = high;
  endpoint.v6.address[0] = low;
  return endpoint;
}

class FormatV6 : public ::testing::TestWithParam<Row> {};

TEST_P(FormatV6, Format_Address_WritesModuleForm) {
  EXPECT_EQ(FormatAddress(V6(GetParam().high, GetParam().low)), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Table, FormatV6,
    ::testing::Values(Row{0, 0, "::"}, Row{0, 1, "::1"}, Row{0, 0xffff, "::ffff"},
                      // The first run of zero groups is "::", even when a later one is longer.
                      Row{0x0001000000000002, 0x0000000000000003, "1::2:0:0:0:3"},
                      Row{0x0001000000000002, 0x0003000000000000, "1::2:3:0:0:0"},
                      // A single zero group ahead of the run stays "0".
                      Row{0x0001000000020000, 0x0000000000000003, "1:0:2::3"},
                      Row{0x0001000200030004, 0x0005000600070008, "1:2:3:4:5:6:7:8"},
                      Row{0x1000000000000000, 0, "1000::"},
                      Row{0xfe80000000000000, 0x0000000000000001, "fe80::1"},
                      Row{0xABCD000000000000, 0x000000000000EF01, "abcd::ef01"},
                      // Dotted tails: compatible, mapped, translated and ISATAP forms.
                      Row{0, 0x00000000c0000201, "::192.0.2.1"},
                      Row{0, 0x0000ffffc0000201, "::ffff:192.0.2.1"},
                      Row{0, 0xffff0000c0000201, "::ffff:0:192.0.2.1"},
                      Row{0xfe80000000000000, 0x00005efec0000201, "fe80::5efe:192.0.2.1"},
                      Row{0x2001000100020003, 0x00045efe0a000001, "2001:1:2:3:4:5efe:10.0.0.1"},
                      // A mapped address whose high half is not zero has no tail.
                      Row{1, 0x0000ffffc0000201, "::1:0:ffff:c000:201"}));

TEST(AddressFormatterTest, Format_V4AndNoFamily) {
  tm::IpEndpoint v4;
  v4.family = 4;
  v4.v4.address = 3221225985u;
  EXPECT_EQ(FormatAddress(v4), "192.0.2.1");
  v4.v4.address = 0;
  EXPECT_EQ(FormatAddress(v4), "0.0.0.0");
  EXPECT_EQ(FormatAddress(tm::IpEndpoint()), "");
}

}  // namespace

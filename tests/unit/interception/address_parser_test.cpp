#include "address_parser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>

#include "address_formatter.h"

namespace {

namespace tm = ::traffic_processing::traffic_monitor;
using qel::tcp_traffic_interceptor::interception::FormatAddress;
using qel::tcp_traffic_interceptor::interception::ParseEndpointAddress;

struct Accepted {
  std::string text;
  uint32_t family;
  std::string address;  // as the module's formatter writes it
  uint16_t port;
  uint32_t scopeId;
};

class ParseAccepted : public ::testing::TestWithParam<Accepted> {};

TEST_P(ParseAccepted, Parse_ValidText_GivesAddressPortAndScope) {
  const Accepted& row = GetParam();
  const tm::IpEndpoint endpoint = ParseEndpointAddress(row.text);
  EXPECT_EQ(endpoint.family, row.family);
  EXPECT_EQ(FormatAddress(endpoint), row.address);
  EXPECT_EQ(row.family == 4 ? endpoint.v4.port : endpoint.v6.port, row.port);
  if (row.family == 6) {
    EXPECT_EQ(endpoint.v6.scopeId, row.scopeId);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Table, ParseAccepted,
    ::testing::Values(
        Accepted{"192.0.2.1", 4, "192.0.2.1", 0, 0},
        Accepted{"192.0.2.1:80", 4, "192.0.2.1", 80, 0},
        Accepted{"10.0.0.1:65535", 4, "10.0.0.1", 65535, 0},
        Accepted{"0x7f.0.0.01", 4, "127.0.0.1", 0, 0},      // hexadecimal and octal parts
        Accepted{"0X7F.0.0.0377", 4, "127.0.0.255", 0, 0},  // octal 377 is 255
        Accepted{"010.0.0.0", 4, "8.0.0.0", 0, 0},          // a leading 0 means octal
        Accepted{std::string("1.2.3.4\0junk", 12), 4, "1.2.3.4", 0, 0},  // NUL ends the text
        Accepted{"::", 6, "::", 0, 0}, Accepted{"::1", 6, "::1", 0, 0},
        // No "[": the port is a group, read back as a dotted tail.
        Accepted{"::1:8080", 6, "::0.1.128.128", 0, 0}, Accepted{"[::1]:8080", 6, "::1", 8080, 0},
        Accepted{"[::1]", 6, "::1", 0, 0}, Accepted{"fe80::1%3", 6, "fe80::1", 0, 3},
        Accepted{"[fe80::1%4294967295]:1", 6, "fe80::1", 1, 4294967295u},
        Accepted{"1:2:3:4:5:6:7:8", 6, "1:2:3:4:5:6:7:8", 0, 0}, Accepted{"1::", 6, "1::", 0, 0},
        Accepted{"1:2:3:4:5:6::", 6, "1:2:3:4:5:6::", 0, 0},
        Accepted{"ABCD::EF01", 6, "abcd::ef01", 0, 0},
        Accepted{"::ffff:192.0.2.1", 6, "::ffff:192.0.2.1", 0, 0},
        Accepted{"1:2:3:4:5:6:1.2.3.4", 6, "1:2:3:4:5:6:102:304", 0, 0},
        Accepted{"::1.2.3.4", 6, "::1.2.3.4", 0, 0}));

class ParseRejected : public ::testing::TestWithParam<std::string> {};

TEST_P(ParseRejected, Parse_InvalidText_ThrowsInvalidFormat) {
  EXPECT_THAT([this] { ParseEndpointAddress(GetParam()); },
              ::testing::ThrowsMessage<std::runtime_error>("Invalid format of ip address"));
}

INSTANTIATE_TEST_SUITE_P(
    Table, ParseRejected,
    ::testing::Values("256.0.0.1", "1.2.3", "1.2.3.4.5", "1.2.3.4:", "1.2.3.4:65536",
                      "1.2.3.4:123456", "08.0.0.1", "0x.0.0.1", "a.b.c.d", "1.2.3.4 ", "-1.2.3.4",
                      "host.example.com", "1:2:3:4:5:6:7:8:9", "1:2:3:4:5:6:7",
                      // eight colons are too many, even with "::"
                      "1:2:3:4:5:6:7::", "::1:2:3:4:5:6:7", "1::2::3", ":1", "12345::", "::g",
                      "[::1", "::1]", "[::1]:", "fe80::1%", "fe80::1%4294967296",
                      "1:2:3:4:5:6:7:1.2.3.4", "::1.2.3", "[1.2.3.4]", "abcdef:1::"));

}  // namespace

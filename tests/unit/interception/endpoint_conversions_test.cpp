#include "endpoint_conversions.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace tm = ::traffic_processing::traffic_monitor;
namespace interception = qel::tcp_traffic_interceptor::interception;
using interception::EndpointExcludes;

EndpointExcludes Excludes(std::vector<std::pair<std::string, uint16_t>> rows) {
  EndpointExcludes excludes;
  for (const auto& [address, port] : rows) {
    excludes.push_back(
        qel::settings::EndpointExclude{orv::types::string8_t(std::string_view(address)), port});
  }
  return excludes;
}

std::vector<std::pair<std::string, uint16_t>> Rows(const EndpointExcludes& excludes) {
  std::vector<std::pair<std::string, uint16_t>> rows;
  for (const qel::settings::EndpointExclude& exclude : excludes) {
    rows.emplace_back(std::string(exclude.address.view()), exclude.port);
  }
  return rows;
}

// The scope and the embedded port of a v6 address, and the empty address in both lists, are read
// back through the module's configurator (ApplyTest.Set_OneListChanges_BothListsRewritten).
TEST(EndpointConversionsTest,
     Endpoint_PortFromSecondEndpoint_EmbeddedPortLost_LeadingNulEmptiesTheList) {
  const interception::EndpointRules rules =
      interception::EndpointExcludesToRules(Excludes({{"192.0.2.1:80", 443}}));
  ASSERT_EQ(rules.size(), 1u);
  EXPECT_EQ(rules[0].firstEndpoint.v4.port, 80);
  EXPECT_EQ(rules[0].secondEndpoint.family, 4u);
  EXPECT_EQ(rules[0].secondEndpoint.v4.address, 0u);
  EXPECT_EQ(rules[0].secondEndpoint.v4.port, 443);
  EXPECT_EQ(Rows(interception::RulesToExcludes(rules)),
            (std::vector<std::pair<std::string, uint16_t>>{{"192.0.2.1", 443}}));
  // A leading NUL empties the whole list.
  EXPECT_TRUE(interception::EndpointExcludesToRules(Excludes({{"", 1}, {std::string("\0x", 2), 2}}))
                  .empty());
}

struct Refused {
  std::string address;
  bool outgoingEmpty;  // inet_pton refuses it: the outgoing list comes out empty
  bool endpointThrows;
};

class ConvertRefused : public ::testing::TestWithParam<Refused> {};

// The two lists read addresses differently on purpose.
TEST_P(ConvertRefused, Convert_Address_ListsDisagreeAsDesigned) {
  const Refused& row = GetParam();
  const EndpointExcludes excludes = Excludes({{"", 1}, {row.address, 2}});
  EXPECT_EQ(interception::OutgoingExcludesToRules(excludes).empty(), row.outgoingEmpty);
  if (row.endpointThrows) {
    EXPECT_THROW(interception::EndpointExcludesToRules(excludes), std::runtime_error);
  } else {
    EXPECT_EQ(interception::EndpointExcludesToRules(excludes).size(), 3u);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Table, ConvertRefused,
    ::testing::Values(Refused{"192.0.2.1:80", true, false}, Refused{"0x7f.0.0.01", true, false},
                      Refused{"[::1]:8080", true, false}, Refused{"256.0.0.1", true, true},
                      Refused{"1.2.3", true, true},
                      // No ':' in the first six characters: AF_INET, which refuses it.
                      Refused{"hostname:1", true, true}, Refused{"192.0.2.1", false, false}));

TEST(EndpointConversionsTest, Compare_DisabledRulesSkippedAndEqualityByFamily) {
  interception::EndpointRules rules =
      interception::OutgoingExcludesToRules(Excludes({{"192.0.2.1", 1}, {"192.0.2.2", 2}}));
  rules[0].enabled = false;
  EXPECT_EQ(Rows(interception::RulesToExcludes(rules)),
            (std::vector<std::pair<std::string, uint16_t>>{{"192.0.2.2", 2}}));

  // Family 0 endpoints are equal whatever their other bytes hold.
  interception::EndpointRules a = rules;
  interception::EndpointRules b = rules;
  b[1].secondEndpoint.raw[3] = 7;
  EXPECT_TRUE(interception::SameRules(a, b));
  b[1].firstEndpoint.v4.port = 3;
  EXPECT_FALSE(interception::SameRules(a, b));
}

}  // namespace

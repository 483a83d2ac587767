#include "qel/enums/enum_names.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "qel/enums/boolean.h"
#include "qel/enums/content_category.h"
#include "qel/enums/danger_level.h"
#include "qel/enums/event_name.h"
#include "qel/enums/web_av_action.h"

namespace qel::enums {
namespace {

struct Row {
  uint32_t index;
  std::string enumeration;
  int64_t value;
  std::string name;
};

// The rows of the family as written down by hand in the test data, independent of the headers.
std::vector<Row> ReadRows() {
  std::ifstream file(std::string(TEST_DATA_DIR) + "/enum_tables.txt");
  std::vector<Row> rows;
  std::string line;
  while (std::getline(file, line)) {
    if (line.empty() || line[0] == '#') {
      continue;
    }
    std::istringstream fields(line);
    Row row;
    fields >> row.index >> row.enumeration >> row.value >> row.name;
    rows.push_back(row);
  }
  return rows;
}

std::string FailureText(const std::function<void()>& call) {
  try {
    call();
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "no exception";
}

TEST(EnumFamily, EveryRowOfTheDataConvertsBothWays) {
  const std::vector<Row> rows = ReadRows();
  ASSERT_EQ(rows.size(), 722u);
  std::map<uint32_t, std::vector<const Row*>> byIndex;
  for (const Row& row : rows) {
    byIndex[row.index].push_back(&row);
    const uint32_t value = static_cast<uint32_t>(row.value);
    SCOPED_TRACE(row.enumeration + " " + row.name);
    EXPECT_EQ(ValueToName(row.index, value), row.name);
    EXPECT_EQ(NameToValue(row.index, row.name), value);
  }
  for (uint32_t index = 0; index < FamilySize() + 10; ++index) {
    const EnumLookup* lookup = FindEnumeration(index);
    const auto expected = byIndex.find(index);
    if (expected == byIndex.end()) {
      EXPECT_EQ(lookup, nullptr) << "index " << index;
      continue;
    }
    ASSERT_NE(lookup, nullptr) << "index " << index;
    EXPECT_EQ(lookup->name(), expected->second.front()->enumeration);
    // Same rows in the same order: an extra row in the code shows here.
    ASSERT_EQ(lookup->size(), expected->second.size()) << lookup->name();
    for (size_t i = 0; i < lookup->size(); ++i) {
      EXPECT_EQ(lookup->rows()[i].name, expected->second[i]->name);
    }
  }
}

// Past the last value, a gap, a number past INT32_MAX; a name that differs in case, a prefix.
TEST(EnumFamily, FailuresThrowWithTheFamilyText) {
  EXPECT_EQ(FailureText([] { ValueToName(50, 8); }),
            "EnumToString, invalid 'DeviceClass' enum value: 8");
  EXPECT_EQ(FailureText([] { ValueToName(11, 7); }),
            "EnumToString, invalid 'EventName' enum value: 7");
  EXPECT_EQ(FailureText([] { ValueToName(12, 4000000000u); }),
            "EnumToString, invalid 'AdditionalName' enum value: 4000000000");
  EXPECT_EQ(FailureText([] { NameToValue(47, "block"); }),
            "There is no such 'WebAvAction::Type' value: block");
  EXPECT_EQ(FailureText([] { NameToValue(59, "SelfSigned "); }),
            "There is no such 'CertificateStatus::Type' value: SelfSigned ");
}

TEST(EnumFamily, TypedConversionsAndBooleansUseTheirOwnTables) {
  EXPECT_EQ(EnumToString<EventName::Type>(EventName::DomainAutoExcluded), "DomainAutoExcluded");
  EXPECT_EQ(StringToEnum<EventName::Type>("DomainAutoExcluded"), 112u);
  EXPECT_EQ(EnumToString<DangerLevel::Type>(1), "_deprecatedHigh");
  EXPECT_EQ(StringToEnum<ContentCategory::Type>("Any"), -1);
  EXPECT_EQ(EnumToString<ContentCategory::Type>(ContentCategory::Any), "Any");
  // Same rows, separate enumerations: the name in the text is the one asked for.
  EXPECT_EQ(FailureText([] { EnumToString<WebAvAction::Type>(2); }),
            "EnumToString, invalid 'WebAvAction' enum value: 2");
  // Booleans have texts of their own.
  EXPECT_TRUE(StringToBoolean("Yes"));
  EXPECT_FALSE(StringToBoolean("No"));
  EXPECT_EQ(BooleanToString(true), "Yes");
  EXPECT_EQ(BooleanToString(false), "No");
  EXPECT_EQ(FailureText([] { StringToBoolean("yes"); }), "There is no such 'bool' value: yes");
}

}  // namespace
}  // namespace qel::enums

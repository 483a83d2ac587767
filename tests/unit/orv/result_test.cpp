#include "orv/result.h"

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

struct TextRow {
  uint32_t value;
  std::string text;
};

// data/result_texts.tsv: every row of the general and platform tables, then values next to them
// that must print "Unknown result code".
std::vector<TextRow> LoadTextRows() {
  std::ifstream file(std::string(TTI_ORV_TEST_DATA) + "/result_texts.tsv");
  std::vector<TextRow> rows;
  std::string line;
  while (std::getline(file, line)) {
    if (line.empty() || line[0] == '#') {
      continue;
    }
    const size_t tab = line.find('\t');
    rows.push_back({static_cast<uint32_t>(std::stoul(line.substr(0, tab), nullptr, 16)),
                    line.substr(tab + 1)});
  }
  return rows;
}

TEST(ResultText, GetResultText_EveryTableRowAndItsNeighbours) {
  const std::vector<TextRow> rows = LoadTextRows();
  ASSERT_EQ(rows.size(), 64u + 19u + 13u) << "data file incomplete";
  for (const TextRow& row : rows) {
    EXPECT_EQ(orv::GetResultText(orv::MakeResult(row.value)), row.text)
        << std::hex << "0x" << row.value;
  }
}

struct ErrnoRow {
  uint32_t error;
  uint32_t result;
};

class ResultFromErrnoTest : public testing::TestWithParam<ErrnoRow> {};

TEST_P(ResultFromErrnoTest, ResultFromErrno_MapsRow) {
  EXPECT_EQ(static_cast<uint32_t>(orv::ResultFromErrno(GetParam().error)), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(Table, ResultFromErrnoTest,
                         testing::Values(ErrnoRow{0, 0}, ErrnoRow{1, 0x80000045},
                                         ErrnoRow{2, 0x80010102}, ErrnoRow{22, 0x80000046},
                                         ErrnoRow{65535, 0x80010107}));

// Numbers outside the table: raw facility 6 up to 65535, the unspecified platform error above.
INSTANTIATE_TEST_SUITE_P(Other, ResultFromErrnoTest,
                         testing::Values(ErrnoRow{4, 0x80060004}, ErrnoRow{3, 0x80060003},
                                         ErrnoRow{65534, 0x8006fffe}, ErrnoRow{65536, 0x80010100},
                                         ErrnoRow{70000, 0x80010100},
                                         ErrnoRow{0xffffffff, 0x80010100}));

}  // namespace

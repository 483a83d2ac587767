#include "template_marks.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace {

struct MarksCase {
  const char* page;
  const char* expected;
  size_t unknown;
};

void PrintTo(const MarksCase& value, std::ostream* out) { *out << '"' << value.page << '"'; }

class TemplateMarks : public ::testing::TestWithParam<MarksCase> {};

TEST_P(TemplateMarks, ReplacesKnownKeysOnly) {
  static const std::map<std::string, std::string, std::less<>> texts = {
      {"A", "alpha"}, {"Dollar", "$A$"}, {"Empty", ""}};
  const auto lookup = [](std::string_view key) -> const std::string* {
    const auto found = texts.find(key);
    return found == texts.end() ? nullptr : &found->second;
  };
  size_t unknown = 99;
  EXPECT_EQ(localization::ReplaceMarks(GetParam().page, lookup, unknown), GetParam().expected);
  EXPECT_EQ(unknown, GetParam().unknown);
}

INSTANTIATE_TEST_SUITE_P(
    Pages, TemplateMarks,
    ::testing::Values(MarksCase{"", "", 0}, MarksCase{"no marks", "no marks", 0},
                      MarksCase{"$A$ and $A$", "alpha and alpha", 0},
                      MarksCase{"$A$$A$", "alphaalpha", 0},
                      // An inserted text is not looked into again.
                      MarksCase{"[$Dollar$]", "[$A$]", 0}, MarksCase{"<$Empty$>", "<>", 0},
                      MarksCase{"$Unknown$ $A$", "$Unknown$ alpha", 1},
                      // The closing '$' of something that is no mark opens the next one.
                      MarksCase{"costs 5$ or $A$", "costs 5$ or alpha", 0},
                      MarksCase{"x$y$A$", "x$yalpha", 1}, MarksCase{"$$A$", "$alpha", 0},
                      MarksCase{"open $A", "open $A", 0}, MarksCase{"$", "$", 0},
                      MarksCase{"$ A $", "$ A $", 0}));

}  // namespace

#include "text_conversions.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>
#include <typeinfo>

namespace {

namespace interception = qel::tcp_traffic_interceptor::interception;

class TextConversionsTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr); }
  void TearDown() override { std::setlocale(LC_ALL, "C"); }
};

TEST_F(TextConversionsTest,
       Widen_Utf8_SurrogatePairsAndNulKept_InvalidThrows_TrimClassicWhiteSpace) {
  const std::string text("a\xC3\xA9\0\xF0\x9F\x98\x80", 8);  // a, e acute, NUL, U+1F600
  const orv::types::string16_t wide = interception::Widen(text);
  EXPECT_EQ(wide.view(), std::u16string_view(u"a\u00e9\0\xD83D\xDE00", 5));
  EXPECT_EQ(interception::Narrow(wide.view()).view(), text);
  // Invalid sequences throw.
  EXPECT_THROW(interception::Widen("ok\xFF"), std::bad_cast);
  EXPECT_THROW(interception::Widen("\xE2\x82"), std::bad_cast);  // cut short

  // Trimmed: classic white space only.
  EXPECT_EQ(interception::WidenTrimmed(" \t*.example.com\r\n").view(), u"*.example.com");
  EXPECT_EQ(interception::WidenTrimmed("  \t").view(), u"");
  // A no-break space is not white space in the classic locale.
  EXPECT_EQ(interception::WidenTrimmed("\xC2\xA0x").view(), u"\u00a0x");
}

}  // namespace

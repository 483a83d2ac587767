#include "orv/exception.h"

#include <cstdint>
#include <string>
#include <typeinfo>

#include <gtest/gtest.h>

#include "orv/check.h"

namespace {

using orv::TypedValue;

// Every property type prints in its own form, in insertion order; a key set again keeps its place.
TEST(ExceptionWhat, What_PropertiesOfEveryType_PrintedInInsertionOrder) {
  orv::CheckResultFailedException error("f.cpp", 7, "Expression failed", orv::MakeResult(1));
  error.SetProperty("os.result", TypedValue::Uint32(2));
  error.SetProperty("i64", TypedValue::Int64(-2));
  error.SetProperty("u64", TypedValue::Uint64(0x1234));
  error.SetProperty("text", TypedValue::Narrow("abc"));
  error.SetProperty("wide", TypedValue::Wide(u"gr\u00fc\u00dfe"));
  error.SetProperty("opaque", TypedValue::Opaque(99));
  error.SetProperty("orv.result", TypedValue::Result(orv::MakeResult(0x80000042)));

  EXPECT_STREQ(error.what(),
               "f.cpp(7): Expression failed. Properties:\n"
               "orv.result=0x80000042\n"
               "os.result=0x00000002\n"
               "i64=0xfffffffffffffffe\n"
               "u64=0x0000000000001234\n"
               "text=abc\n"
               "wide=gr\xc3\xbc\xc3\x9f"
               "e\n"
               "opaque=<typeid=99>\n"
               "Call stack:\n");
  EXPECT_EQ(error.record()->properties.size(), 7u);
  EXPECT_STREQ(orv::exception("f.cpp", 1).what(), "Unknown exception");  // no record
}

TEST(ExceptionRecord, Copy_SharesRecordAndItsProperties) {
  orv::ResultCodeException original("f.cpp", 1, orv::MakeResult(0x80000046));
  {
    orv::ResultCodeException copy = original;
    ASSERT_EQ(copy.record(), original.record());
    EXPECT_EQ(original.record()->references.load(), 2u);
    copy.SetProperty("orv.result", TypedValue::Result(orv::MakeResult(0x8000004c)));
    orv::ResultCodeException assigned("g.cpp", 2, 0);
    assigned = copy;
    EXPECT_EQ(assigned.record(), original.record());
    EXPECT_STREQ(assigned.file(), "f.cpp");
    EXPECT_EQ(original.record()->references.load(), 3u);
  }
  EXPECT_EQ(original.record()->references.load(), 1u);
  EXPECT_EQ(original.ExtractResult(), orv::MakeResult(0x8000004c));
}

// Properties set on a fresh exception; null or -1 leaves one out.
struct ExtractRow {
  const char* name;
  const char* moduleText;
  int64_t osResult;
  int64_t orvResult;
  uint32_t expected;
};

class ExtractResultTest : public testing::TestWithParam<ExtractRow> {};

TEST_P(ExtractResultTest, ExtractResult_PropertiesInOrder) {
  const ExtractRow& row = GetParam();
  orv::exception error("f.cpp", 1, "m");
  error.SetProperty("other", TypedValue::Uint32(5));
  if (row.moduleText) {
    error.SetProperty("os.module_result", TypedValue::Narrow(row.moduleText));
  }
  if (row.osResult >= 0) {
    error.SetProperty("os.result", TypedValue::Uint32(static_cast<uint32_t>(row.osResult)));
  }
  if (row.orvResult >= 0) {
    error.SetProperty("orv.result", TypedValue::Result(orv::MakeResult(row.orvResult)));
  }
  EXPECT_EQ(static_cast<uint32_t>(error.ExtractResult()), row.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ExtractResultTest,
    testing::Values(ExtractRow{"OrvResultFirst", "undefined symbol: f", 2, 0x80000042, 0x80000042},
                    ExtractRow{"OsResultThroughErrnoMap", "undefined symbol: f", 2, -1, 0x80010102},
                    ExtractRow{"ModuleUndefinedSymbol", "undefined symbol: foo", -1, -1,
                               0x80010107},
                    ExtractRow{"ModuleNoColon", "undefined symbol", -1, -1, 0x80010100},
                    ExtractRow{"ModuleEmpty", "", -1, -1, 0},
                    ExtractRow{"NoCodeProperty", nullptr, -1, -1, 0x80000151}),
    [](const testing::TestParamInfo<ExtractRow>& info) { return std::string(info.param.name); });

TEST(ExceptionDescription, GetDescription_MessageThenCode) {
  const orv::ResultCodeException withMessage("f.cpp", 1, orv::MakeResult(0x8000004c),
                                             u"Cannot get IServiceManager interface");
  EXPECT_EQ(withMessage.GetDescription(),
            std::u16string_view(u"Cannot get IServiceManager interface: 0x8000004c (Not found)"));
  const orv::datetime::TimeSystemError noMessage("f.cpp", 1, orv::MakeResult(0x80000048));
  EXPECT_EQ(noMessage.GetDescription(), std::u16string_view(u"0x80000048 (Unknown result code)"));
  // The record's narrow message stays empty for this constructor.
  EXPECT_STREQ(noMessage.what(), "f.cpp(1): . Properties:\norv.result=0x80000048\nCall stack:\n");

  const orv::CheckFailedException check = orv::CheckFailedException("f.cpp", 1) << u"\u00fc";
  EXPECT_EQ(check.GetDescription(), std::u16string_view(u"\u00fc"));
}

TEST(ExceptionStreaming, Streaming_WidensAndAppends_BadCastLeavesTheMessage) {
  orv::CheckFailedException error("f.cpp", 1);
  error << "count " << 42 << u" \u00e9\U0001F600" << std::string(" end");
  EXPECT_EQ(error.message(), std::u16string_view(u"count 42 \u00e9\U0001F600 end"));

  // Wide characters above U+FFFF become surrogate pairs; beyond U+10FFFF there is no UTF-16 form.
  const wchar_t astral[] = {static_cast<wchar_t>(0x1F600), 0};
  error << astral;
  EXPECT_EQ(error.message().view().substr(error.message().size() - 2), u"\U0001F600");
  const wchar_t tooLarge[] = {static_cast<wchar_t>(0x110000), 0};
  EXPECT_THROW(error << tooLarge, std::bad_cast);

  // Counted text is widened byte by byte; the classic locale has no wide form for a byte above
  // 0x7f, which therefore widens to a value beyond U+10FFFF. The message stays as it was.
  const std::u16string before(error.message().view());
  EXPECT_THROW(error << std::string("/home/caf\xc3\xa9"), std::bad_cast);
  EXPECT_EQ(error.message().view(), before);
}

TEST(CheckMacros, CheckResult_Failing_ThrowsWithCodeAndMessage) {
  const uint32_t line = __LINE__ + 2;
  try {
    ORV_CHECK_RESULT(orv::MakeResult(0x80000042), "Cannot get "
                                                      << "IInotifyEventsProvider"
                                                      << " interface");
    FAIL() << "no exception";
  } catch (const orv::CheckResultFailedException& error) {
    EXPECT_EQ(error.ExtractResult(), orv::MakeResult(0x80000042));
    EXPECT_EQ(error.GetDescription(),
              std::u16string_view(
                  u"Cannot get IInotifyEventsProvider interface: 0x80000042 (Not supported)"));
    EXPECT_STREQ(error.file(), __FILE__);
    EXPECT_EQ(error.line(), line);
    EXPECT_EQ(error.record()->message, "Expression failed");
  }
  int evaluations = 0;
  EXPECT_NO_THROW(ORV_CHECK_RESULT((++evaluations, orv::MakeResult(1))));
  EXPECT_EQ(evaluations, 1);
}

}  // namespace

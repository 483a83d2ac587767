#include "orv/exception.h"

#include <cstdint>
#include <string>
#include <tuple>
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

// Properties set on a fresh exception, the code read from the first that gives one.
TEST(ExceptionRecord, ExtractResult_PropertiesInOrder) {
  // os.module_result (null: not set), os.result and orv.result (-1: not set), the code
  const std::tuple<const char*, int64_t, int64_t, uint32_t> rows[] = {
      {"undefined symbol: f", 2, 0x80000042, 0x80000042},  // orv.result first
      {"undefined symbol: f", 2, -1, 0x80010102},          // os.result through the errno map
      {"undefined symbol: foo", -1, -1, 0x80010107},
      {"undefined symbol", -1, -1, 0x80010100},  // no colon
      {"", -1, -1, 0},
      {nullptr, -1, -1, 0x80000151}};  // no code property
  for (const auto& [moduleText, osResult, orvResult, expected] : rows) {
    orv::exception error("f.cpp", 1, "m");
    error.SetProperty("other", TypedValue::Uint32(5));
    if (moduleText) {
      error.SetProperty("os.module_result", TypedValue::Narrow(moduleText));
    }
    if (osResult >= 0) {
      error.SetProperty("os.result", TypedValue::Uint32(static_cast<uint32_t>(osResult)));
    }
    if (orvResult >= 0) {
      error.SetProperty("orv.result", TypedValue::Result(orv::MakeResult(orvResult)));
    }
    EXPECT_EQ(static_cast<uint32_t>(error.ExtractResult()), expected) << error.what();
  }
}

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

#include "orv/trace_stream.h"

#include <cstdint>
#include <ios>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "host/capturing_tracer.h"
#include "host/host_object.h"
#include "orv/check.h"

namespace {

using orv::TraceStream;
using orv::trace::Fill;
using orv::trace::Width;

struct FormRow {
  const char* name;
  void (*write)(TraceStream&);
  std::string_view expected;
};

class TraceFormTest : public testing::TestWithParam<FormRow> {};

TEST_P(TraceFormTest, Stream_WritesForm) {
  auto tracer = host::MakeObject<host::CapturingTracer>();
  {
    orv::TraceScope scope(tracer.get(), 800);
    ASSERT_TRUE(scope);
    GetParam().write(scope.stream());
  }
  EXPECT_EQ(tracer->Texts(800), std::vector<std::string>{std::string(GetParam().expected)});
}

INSTANTIATE_TEST_SUITE_P(
    Values, TraceFormTest,
    testing::Values(
        FormRow{"NullText", [](TraceStream& s) { s << static_cast<const char*>(nullptr); },
                "(null)"},
        FormRow{"CountedText", [](TraceStream& s) { s << orv::types::string8_t("a\0b", 3) << '|'; },
                std::string_view("a\0b|", 4)},
        FormRow{"Decimal",
                [](TraceStream& s) {
                  s << 42u << ' ' << -42 << ' ' << std::numeric_limits<long long>::min() << ' '
                    << std::numeric_limits<unsigned long long>::max();
                },
                "42 -42 -9223372036854775808 18446744073709551615"},
        FormRow{"HexAndOctWithShowBase",
                [](TraceStream& s) {
                  s << std::hex << 255u << ' ' << std::showbase << 255ul << ' ' << std::oct << 8u
                    << ' ' << 0u << std::noshowbase << ' ' << 8u;
                },
                "ff 0xff 010 0 10"},
        FormRow{"NegativeTwosComplementOfWidth",
                [](TraceStream& s) {
                  s << std::hex << -1 << ' ' << -2L << ' ' << std::oct << -1 << std::dec << ' '
                    << -1;
                },
                "ffffffff fffffffffffffffe 37777777777 -1"},
        FormRow{"WidthRightIsDefaultAndResets",
                [](TraceStream& s) { s << Width{5} << 42 << '|' << Width{4} << "ab"; },
                "   42|  ab"},
        FormRow{"LeftWithFill",
                [](TraceStream& s) { s << std::left << Fill{'*'} << Width{5} << -4 << '|'; },
                "-4***|"},
        FormRow{"InternalBetweenPrefixAndDigits",
                [](TraceStream& s) {
                  s << std::internal << Fill{'0'} << Width{10} << std::showbase << std::hex << 255u
                    << ' ' << std::dec << Fill{' '} << Width{6} << -42;
                },
                "0x000000ff -   42"},
        FormRow{"Result",
                [](TraceStream& s) {
                  s << orv::trace::Result{0} << ' '
                    << orv::trace::Result{orv::MakeResult(0x80000048)};
                },
                "0x00000000 (No error) 0x80000048 (Unknown result code)"},
        FormRow{"CheckSiteLineInCurrentBase",
                [](TraceStream& s) {
                  s << std::hex << orv::trace::CheckSite{"f.cpp", 255, "Call()", "ok(r)"};
                },
                "f.cpp:ff(Call()),(ok(r)) failed: "}),
    [](const testing::TestParamInfo<FormRow>& info) { return std::string(info.param.name); });

const char* Evaluated(int* count) {
  ++*count;
  return "evaluated";
}

TEST(Trace, Trace_RefusedLevelOrNoTracer_NothingEvaluated) {
  auto tracer = host::MakeObject<host::CapturingTracer>();
  tracer->RefuseLevel(800);
  int evaluations = 0;
  ORV_TRACE(tracer.get(), 800) << Evaluated(&evaluations);
  ORV_TRACE(nullptr, 800) << Evaluated(&evaluations);
  EXPECT_EQ(evaluations, 0);
  EXPECT_EQ(tracer->opens(), 1u);
  EXPECT_EQ(tracer->grants(), 0u);
  EXPECT_TRUE(tracer->Lines().empty());
}

TEST(Trace, Trace_LongLine_GrowsOnceTo1024_RefusedGrowthStillPutsTheRecord) {
  auto tracer = host::MakeObject<host::CapturingTracer>();
  const std::string chunk(100, 'x');
  ORV_TRACE(tracer.get(), 500) << chunk << chunk << chunk << chunk << chunk << chunk;
  EXPECT_EQ(tracer->growths(), std::vector<size_t>{1024});
  EXPECT_EQ(tracer->Texts(500), std::vector<std::string>{std::string(600, 'x')});

  // Growth refused: the line so far and what did not fit are dropped; the record is still handed
  // back and the call goes on.
  auto refusing = host::MakeObject<host::CapturingTracer>();
  refusing->RefuseGrowth(true);
  ORV_TRACE(refusing.get(), 500) << "start " << std::string(600, 'x') << "tail";
  ASSERT_FALSE(refusing->growths().empty());
  EXPECT_EQ(refusing->growths().front(), 1024u);
  EXPECT_EQ(refusing->Texts(500), std::vector<std::string>{""});
  EXPECT_EQ(refusing->openRecords(), 0u);
}

result_t NotSupported() { return orv::MakeResult(0x80000042); }

TEST(Trace, TraceIfFailed_FailingCall_OneLevel300LineAndResultPassedOn) {
  auto tracer = host::MakeObject<host::CapturingTracer>();
  const uint32_t line = __LINE__ + 1;
  const result_t result = ORV_TRACE_IF_FAILED(tracer.get(), NotSupported()) << "Cannot load";
  EXPECT_EQ(result, orv::MakeResult(0x80000042));
  EXPECT_EQ(tracer->Texts(300),
            std::vector<std::string>{std::string(__FILE__) + ":" + std::to_string(line) +
                                     "(NotSupported()),(ORV_SUCCEEDED(_result)) failed: result = "
                                     "0x80000042 (Not supported) Cannot load"});

  const uint64_t opens = tracer->opens();
  EXPECT_EQ(static_cast<result_t>(ORV_TRACE_IF_FAILED(tracer.get(), 1) << "unused"), 1);
  EXPECT_EQ(tracer->opens(), opens);  // a success asks for no record
  EXPECT_EQ(tracer->Lines().size(), 1u);
}

}  // namespace

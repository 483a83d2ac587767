#include "orv/report_exception.h"

#include <cstdint>
#include <exception>
#include <stdexcept>
#include <string>
#include <typeinfo>

#include <gtest/gtest.h>

#include "host/capturing_tracer.h"
#include "host/host_object.h"
#include "orv/exception.h"

namespace {

struct ClassifyRow {
  const char* name;
  void (*raise)();
  uint32_t result;
  const char* text;  // what follows "P " on the level 300 line
};

class ReportCurrentExceptionTest : public testing::TestWithParam<ClassifyRow> {
 protected:
  result_t Report(orv::ITracer* tracer) {
    try {
      GetParam().raise();
    } catch (...) {
      return orv::ReportCurrentException(tracer, "P");
    }
    ADD_FAILURE() << "nothing thrown";
    return 0;
  }
};

TEST_P(ReportCurrentExceptionTest, Report_ClassifiesAndWritesText_SameResultWithoutTracer) {
  auto tracer = host::MakeObject<host::CapturingTracer>();
  EXPECT_EQ(static_cast<uint32_t>(Report(tracer.get())), GetParam().result);
  const auto lines = tracer->Lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].level, 300u);
  EXPECT_EQ(lines[0].text, std::string("P ") + GetParam().text);
  // Without a tracer: the same result.
  EXPECT_EQ(static_cast<uint32_t>(Report(nullptr)), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ReportCurrentExceptionTest,
    testing::Values(
        ClassifyRow{"ResultCode",
                    [] {
                      throw orv::ResultCodeException("f.cpp", 5, orv::MakeResult(0x80000042),
                                                     u"Cannot load");
                    },
                    0x80000042, "Cannot load: 0x80000042 (Not supported). At f.cpp(5) "},
        ClassifyRow{"ResultCodeZero", [] { throw orv::ResultCodeException("f.cpp", 6, 0); },
                    0x80000152, "0x00000000 (No error). At f.cpp(6) "},
        ClassifyRow{"Exception",
                    [] { throw orv::CheckFailedException("f.cpp", 8) << "BIO_s_mem() failed"; },
                    0x80000151, "BIO_s_mem() failed. At f.cpp(8) "},
        ClassifyRow{"OrvExceptionWithoutCode", [] { throw orv::exception("f.cpp", 3, "Bare"); },
                    0x80000151, "f.cpp(3): Bare. Call stack:\n"},
        ClassifyRow{"BadCast", [] { throw std::bad_cast(); }, 0x80000047, "std::bad_cast"},
        ClassifyRow{"LengthError", [] { throw std::length_error("len"); }, 0x8000005c, "len"},
        ClassifyRow{"OutOfRange", [] { throw std::out_of_range("oor"); }, 0x8000005e, "oor"},
        ClassifyRow{"InvalidArgument", [] { throw std::invalid_argument("arg"); }, 0x80000046,
                    "arg"},
        ClassifyRow{"StdException", [] { throw std::runtime_error("rt"); }, 0x80000151, "rt"},
        ClassifyRow{"Unknown", [] { throw 42; }, 0x80000072, "unknown exception"}),
    [](const testing::TestParamInfo<ClassifyRow>& info) { return std::string(info.param.name); });

void ThrowNested() {
  try {
    throw std::length_error("inner");
  } catch (...) {
    std::throw_with_nested(orv::ResultCodeException("f.cpp", 4, orv::MakeResult(0x80000046)));
  }
}

TEST(ReportCurrentException, Nested_WrittenOutermostFirstResultOfOutermost_NoneIs0x80000150) {
  auto tracer = host::MakeObject<host::CapturingTracer>();
  try {
    ThrowNested();
  } catch (...) {
    EXPECT_EQ(orv::ReportCurrentException(tracer.get(), "P"), orv::MakeResult(0x80000046));
  }
  EXPECT_EQ(tracer->Texts(300),
            std::vector<std::string>{"P 0x80000046 (Invalid argument). At f.cpp(4) inner"});

  tracer->RefuseLevel(300);
  try {
    ThrowNested();
  } catch (...) {
    EXPECT_EQ(orv::ReportCurrentException(tracer.get(), nullptr), orv::MakeResult(0x80000046));
  }
  EXPECT_EQ(tracer->grants(), 1u);

  // No exception being handled: 0x80000150, and no record left open.
  EXPECT_EQ(orv::ReportCurrentException(tracer.get(), nullptr), orv::MakeResult(0x80000150));
  EXPECT_EQ(orv::ReportCurrentException(nullptr, "P"), orv::MakeResult(0x80000150));
  EXPECT_EQ(tracer->openRecords(), 0u);
}

}  // namespace

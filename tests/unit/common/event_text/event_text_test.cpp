#include "qel/event_text.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <ctime>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>

#include "orv/exception.h"

namespace qel::tools {
namespace {

using orv::types::string16_t;
using orv::types::string8_t;

class EventText : public testing::Test {
 protected:
  void SetUp() override {
    setenv("TZ", "UTC0", 1);
    tzset();
    std::setlocale(LC_ALL, "C");
  }
  void TearDown() override {
    unsetenv("TZ");
    tzset();
    std::setlocale(LC_ALL, "C");
  }

  static Event Record() {
    Event record;
    record.eventId = 7;
    record.eventType = EventName::UntrustedCertificateDetected;
    record.dangerLevel = DangerLevel::Warning;
    record.date = 86400;
    return record;
  }
  static void Add(Event& record, AdditionalName::Type name, Variant value) {
    AppendField(name, value, record.additionalFields);
  }
  static std::string Text(const Event& record, uint32_t format) {
    std::ostringstream stream;
    EventToText(record, format, stream);
    return stream.str();
  }
  // A text that is no JSON gives a discarded value, which no assertion below accepts.
  static nlohmann::json Json(const Event& record) {
    return nlohmann::json::parse(Text(record, kEventTextJson), nullptr, false);
  }
};

TEST_F(EventText, ThreeShapesOfOneRecord) {
  Event record = Record();
  Add(record, AdditionalName::Domain, Variant::String8(string8_t("example.com")));
  Add(record, AdditionalName::CertificateStatus, Variant::UInt32(5));
  Add(record, AdditionalName::TaskName, Variant::String16(string16_t(u"Web a=b")));
  Add(record, AdditionalName::FileName, Variant::String8(string8_t("a\tb\"c")));
  Add(record, AdditionalName::ProcessId, Variant::Int64(-4));
  EXPECT_EQ(Text(record, kEventTextLines),
            "EventType=UntrustedCertificateDetected\nEventId=7\nInitiator=Product\n"
            "Date=1970-01-02 00:00:00\nDangerLevel=Warning\nDomain=example.com\n"
            "CertificateStatus=UntrustedRoot\nTaskName=Web a=b\nFileName=a\\tb\"c\nProcessId=-4\n");
  EXPECT_EQ(Text(record, kEventTextJson),
            "{\"EventType\": \"UntrustedCertificateDetected\",\"EventId\": \"7\","
            "\"Initiator\": \"Product\",\"Date\": \"1970-01-02 00:00:00\","
            "\"DangerLevel\": \"Warning\",\"Domain\": \"example.com\","
            "\"CertificateStatus\": \"UntrustedRoot\",\"TaskName\": \"Web a=b\","
            "\"FileName\": \"a\\tb\\\"c\",\"ProcessId\": \"-4\"}");
  EXPECT_EQ(Text(record, kEventTextOneLine),
            "EventType=UntrustedCertificateDetected EventId=7 Initiator=Product "
            "Date=1970-01-02 00:00:00 DangerLevel=Warning Domain=example.com "
            "CertificateStatus=UntrustedRoot TaskName=Web a\\=b FileName=a\tb\"c ProcessId=-4");
  EXPECT_EQ(Text(record, 9), std::string(4 + 5, '\0'));  // separators only
}

TEST_F(EventText, UserOnlyWhenTheUserInitiated) {
  Event record = Record();
  UserInfo user;
  user.uid = 1000;
  user.name = string16_t(u"al\"ice");
  record.user = user;
  EXPECT_FALSE(Json(record).contains("UserName"));
  record.initiator = Initiator::User;
  const nlohmann::json json = Json(record);
  EXPECT_EQ(json.value("UserName", ""), "al\"ice");
  EXPECT_EQ(json.value("UserId", ""), "1000");
  record.user.reset();
  EXPECT_FALSE(Json(record).contains("UserId"));
}

TEST_F(EventText, OnlyALongFileNameIsCut) {
  Event record = Record();
  Add(record, AdditionalName::FileName,
      Variant::String8(string8_t(std::string(2006, 'a').c_str())));
  Add(record, AdditionalName::FileName,
      Variant::String8(string8_t((std::string(1004, 'h') + "m" + std::string(1002, 't')).c_str())));
  Add(record, AdditionalName::TaskName,
      Variant::String8(string8_t(std::string(3000, 'n').c_str())));
  const std::string text = Text(record, kEventTextJson);
  EXPECT_NE(text.find("\"FileName\": \"" + std::string(2006, 'a') + "\""), std::string::npos);
  // The count is one more than the bytes left out.
  EXPECT_NE(text.find("\"FileName\": \"" + std::string(1004, 'h') + "...<Cut out 1 bytes>..." +
                      "m" + std::string(1002, 't') + "\""),
            std::string::npos);
  EXPECT_NE(text.find(std::string(3000, 'n')), std::string::npos);
}

TEST_F(EventText, ACutThroughAnEscapeOrACharacterKeepsTheJsonWhole) {
  std::setlocale(LC_ALL, "C.UTF-8");
  for (const std::string& unit : {std::string("\""), std::string("\x01"), std::string("\xc3\xa9"),
                                  std::string("\xf0\x9f\x98\x80")}) {
    for (size_t shift = 0; shift < 6; ++shift) {
      Event record = Record();
      std::string value(shift, 'x');
      while (value.size() < 3000) {
        value += unit;
      }
      Add(record, AdditionalName::FileName, Variant::String8(string8_t(value.c_str())));
      const std::string cut = Json(record).value("FileName", "");
      EXPECT_NE(cut.find("...<Cut out "), std::string::npos);
    }
  }
}

TEST_F(EventText, SettingsAreSpreadInJsonAndBareElsewhere) {
  Event record = Record();
  Add(record, AdditionalName::Settings,
      Variant::String8(string8_t("[General]\nA=1\nB = x\"y\r\nnot a pair\n\n[Net]\nPort=80")));
  const nlohmann::json json = Json(record);
  EXPECT_EQ(json.value("General.A", ""), "1");
  EXPECT_EQ(json.value("General.B", ""), "x\"y");
  EXPECT_EQ(json.value("Net.Port", ""), "80");
  EXPECT_FALSE(json.contains("Settings"));
  EXPECT_NE(Text(record, kEventTextLines).find("Warning\n[General]\nA=1"), std::string::npos);

  Event empty = Record();
  Add(empty, AdditionalName::Settings, Variant::String8(string8_t("no pairs here")));
  EXPECT_EQ(Json(empty).value("Settings", "missing"), "");
}

TEST_F(EventText, ABadValueIsCorruptedAndTheTextGoesOn) {
  Event record = Record();
  Add(record, AdditionalName::CertificateStatus, Variant::UInt32(99));         // a gap of its table
  Add(record, AdditionalName::ExpirationDate, Variant::Date(UINT64_MAX - 5));  // before 1601
  const uint64_t raw[6] = {};
  Add(record, AdditionalName::Subject, Variant::Raw(77, raw, sizeof(raw)));
  Add(record, static_cast<AdditionalName::Type>(2), Variant::UInt32(3));  // no name: the number
  Add(record, AdditionalName::IssuingDate, Variant::Date(116444736000000000));
  const nlohmann::json json = Json(record);
  EXPECT_EQ(json.value("CertificateStatus", ""), "<CORRUPTED>");
  EXPECT_EQ(json.value("ExpirationDate", ""), "<CORRUPTED>");
  EXPECT_EQ(json.value("Subject", ""), "<CORRUPTED>");
  EXPECT_EQ(json.value("2", ""), "3");
  EXPECT_EQ(json.value("IssuingDate", ""), "1970-01-01 00:00:00");
}

TEST_F(EventText, ARecordDateLocalTimeCannotTakeThrows) {
  Event record = Record();
  record.date = INT64_MAX;
  try {
    Text(record, kEventTextJson);
    ADD_FAILURE() << "no exception";
  } catch (const orv::SystemException& error) {
    const std::u16string message(error.message().view());
    EXPECT_EQ(message.rfind(u"System function '::localtime_r' ends with error. In ", 0), 0u);
  }
}

// Values no sender should make; the JSON must stay valid in either locale.
class HostileValues : public EventText, public testing::WithParamInterface<const char*> {};

TEST_P(HostileValues, JsonStaysValid) {
  std::string every;
  for (int byte = 0; byte < 256; ++byte) {
    every += static_cast<char>(byte);
  }
  const std::string values[] = {every, "\xc0\xaf", "\xed\xa0\x80", "\xf4\x90\x80\x80",
                                "a\\", "\"",       "\xe2\x82"};
  for (const std::string& value : values) {
    Event record = Record();
    for (const AdditionalName::Type name :
         {AdditionalName::Path, AdditionalName::Settings, AdditionalName::FileName}) {
      Add(record, name, Variant::String8(string8_t(value.data(), value.size())));
    }
    const char16_t lone[] = {u'a', static_cast<char16_t>(0xd800), u'"', 0};
    Add(record, AdditionalName::Domain, Variant::String16(string16_t(lone)));
    std::setlocale(LC_ALL, GetParam());
    EXPECT_TRUE(Json(record).is_object()) << Text(record, kEventTextJson);
  }
}

INSTANTIATE_TEST_SUITE_P(Locales, HostileValues, testing::Values("C", "C.UTF-8"));

}  // namespace
}  // namespace qel::tools

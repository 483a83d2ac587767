#include <unistd.h>

#include <string>
#include <vector>

#include "handler_fixture.h"

namespace tti_test {
namespace {

using Verdict = ssl::InvalidCertificateVerdict;

class EventsTest : public HandlerTest {
 protected:
  // One Resolve with action 1 for `pid`: a detected and a blocked event.
  void ResolveFor(uint32_t pid) {
    auto handler = CreateHandler();
    SetAction(handler.get(), 1);
    Verdict verdict = Verdict::Allow;
    ASSERT_EQ(Resolve(handler.get(), Connection("order.example"), verdict, pid), 0);
  }
};

TEST_F(EventsTest, Fields_CertificateThenUserThenTask) {
  ResolveFor(static_cast<uint32_t>(::getpid()));
  const auto events = Events();
  ASSERT_EQ(events.size(), 2u);
  const std::vector<std::string> expected = {
      "EventType",  "EventId",      "Initiator", "Date",           "DangerLevel",
      "Domain",     "Subject",      "Issuer",    "ExpirationDate", "CertificateStatus",
      "AccessUser", "AccessUserId", "TaskName",  "TaskType",       "TaskId"};
  for (const auto& event : events) {
    EXPECT_EQ(Keys(event), expected);
    EXPECT_EQ(event["EventId"], "0");
    EXPECT_EQ(event["Initiator"], "Product");
    EXPECT_EQ(event["AccessUser"], "root");
    EXPECT_EQ(event["AccessUserId"], "0");
    EXPECT_EQ(event["TaskName"], "Web Threat Protection");
    EXPECT_EQ(event["TaskType"], "Web_Threat_Protection");
    EXPECT_EQ(event["TaskId"], "41");
  }
  EXPECT_EQ(events[0]["DangerLevel"], "Critical");
  EXPECT_EQ(events[1]["EventType"], "UntrustedCertificateBlocked");
  EXPECT_EQ(events[1]["DangerLevel"], "Warning");
}

struct TaskRow {
  const char* name;
  qel::TaskState::Type threat;
  qel::TaskState::Type control;
  const char* taskId;  // null: no task fields
};

class TaskChoiceTest : public EventsTest, public ::testing::WithParamInterface<TaskRow> {};

TEST_P(TaskChoiceTest, Task_FirstRunningTypeWins) {
  const TaskRow& row = GetParam();
  ConfigureTasks(row.threat, row.control);
  ResolveFor(static_cast<uint32_t>(::getpid()));
  const auto events = Events();
  ASSERT_EQ(events.size(), 2u);
  for (const auto& event : events) {
    if (row.taskId == nullptr) {
      EXPECT_EQ(event.count("TaskName") + event.count("TaskType") + event.count("TaskId"), 0u);
    } else {
      EXPECT_EQ(event["TaskId"], row.taskId);
    }
  }
  EXPECT_EQ(tracer->Contains("Event from unknown task"), row.taskId == nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    Tasks, TaskChoiceTest,
    ::testing::Values(
        TaskRow{"ThreatRunning", qel::TaskState::Started, qel::TaskState::Started, "41"},
        TaskRow{"ThreatStopping", qel::TaskState::Stopping, qel::TaskState::Started, "41"},
        TaskRow{"ThreatStoppedControlRunning", qel::TaskState::Stopped, qel::TaskState::Suspended,
                "42"},
        TaskRow{"ThreatUnknownControlStopped", qel::TaskState::Unknown, qel::TaskState::Stopped,
                nullptr}),
    [](const ::testing::TestParamInfo<TaskRow>& info) { return std::string(info.param.name); });

TEST_F(EventsTest, Task_ManagerThatCannotAnswerStillLetsTheEventOut) {
  services.tasks->FailWith(static_cast<result_t>(0x80000040u));
  ResolveFor(static_cast<uint32_t>(::getpid()));
  const auto events = Events();
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].count("TaskId"), 0u);
  EXPECT_EQ(services.tasks->requests(), 4u);  // both types asked, for each event
}

TEST_F(EventsTest, Publisher_MissingOrFailingLosesTheEventNotTheVerdict) {
  services.events->FailWith(static_cast<result_t>(0x80000040u));
  ResolveFor(static_cast<uint32_t>(::getpid()));
  EXPECT_TRUE(Events().empty());

  services.locator->Remove(qel::INonRemoteEventPublisher::kIid);
  auto handler = CreateHandler();
  SetAction(handler.get(), 1);
  Verdict verdict = Verdict::Allow;
  EXPECT_EQ(Resolve(handler.get(), Connection("lost.example"), verdict), 0);
  EXPECT_EQ(verdict, Verdict::Block);
  const auto errors = tracer->Texts(300);
  ASSERT_EQ(errors.size(), 2u);
  EXPECT_NE(errors[0].find("(orv::GetInterface(GetServiceLocator(), publisher.Ref())),"
                           "(ORV_SUCCEEDED(_result)) failed: result = 0x8000004c"),
            std::string::npos)
      << errors[0];
  EXPECT_NE(errors[0].find("Cannot get INonRemoteEventPublisher interface"), std::string::npos);
}

// An unknown client and a certificate without a common name or a date after 1601.
TEST_F(EventsTest, UnknownClientNamelessCertificate_NoUserFieldsAllCertificateFields) {
  X509_NAME* subject = X509_get_subject_name(server.x509.get());
  X509_NAME_ENTRY_free(
      X509_NAME_delete_entry(subject, X509_NAME_get_index_by_NID(subject, NID_commonName, -1)));
  ASN1_TIME_set_string(X509_getm_notAfter(server.x509.get()), "15000101000000Z");
  ASSERT_GT(X509_sign(server.x509.get(), root.key.get(), EVP_sha256()), 0);
  ResolveFor(0x7ffffff0);  // no such process
  const auto events = Events();
  ASSERT_EQ(events.size(), 2u);
  for (const auto& event : events) {
    const auto keys = Keys(event);
    EXPECT_EQ(event.count("AccessUser") + event.count("AccessUserId"), 0u);
    EXPECT_EQ(event.count("UserName"), 0u);
    EXPECT_EQ(keys[keys.size() - 4], "CertificateStatus");
    EXPECT_EQ(event["Subject"], "NotPartOfCertificate");
    EXPECT_EQ(event["Issuer"], "Handler Test Root");
    EXPECT_TRUE(event.contains("ExpirationDate"));
  }
}

}  // namespace
}  // namespace tti_test

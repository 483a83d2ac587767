#include <unistd.h>

#include <string>
#include <vector>

#include "handler_fixture.h"
#include "invalid_certificate/trace_texts.h"

namespace tti::test {
namespace {

namespace texts = qel::tcp_traffic_interceptor::handler_texts;

using Verdict = ssl::InvalidCertificateVerdict;

class EventsTest : public HandlerTest {
 protected:
  // One Resolve with action 1 for `pid`: a detected and a blocked event; the verdict.
  Verdict ResolveFor(uint32_t pid) {
    auto handler = CreateHandler();
    SetAction(handler.get(), 1);
    Verdict verdict = Verdict::Allow;
    EXPECT_EQ(Resolve(handler.get(), Connection("order.example"), verdict, pid), 0);
    return verdict;
  }
};

// The detected event of ResolveFor from this process, its dates written as "*".
const char* const kDetected = R"({"EventType": "UntrustedCertificateDetected", "EventId": "0",
    "Initiator": "Product", "Date": "*", "DangerLevel": "Critical", "Domain": "order.example",
    "Subject": "bad.example", "Issuer": "Handler Test Root", "ExpirationDate": "*",
    "CertificateStatus": "UntrustedRoot", "AccessUser": "root", "AccessUserId": "0",
    "TaskName": "Web Threat Protection", "TaskType": "Web_Threat_Protection", "TaskId": "41"})";

// `events` as JSON texts, their dates (which follow the clock and the certificate) written as "*".
std::vector<std::string> Texts(std::vector<nlohmann::ordered_json> events) {
  std::vector<std::string> texts;
  for (auto& event : events) {
    event["Date"] = event["ExpirationDate"] = "*";
    texts.push_back(event.dump());
  }
  return texts;
}

// `detected` and the blocked event that follows it, as JSON texts.
std::vector<std::string> DetectedAndBlocked(nlohmann::ordered_json detected) {
  const std::string first = detected.dump();
  detected["EventType"] = "UntrustedCertificateBlocked";
  detected["DangerLevel"] = "Warning";
  return {first, detected.dump()};
}

TEST_F(EventsTest, Fields_CertificateThenUserThenTask) {
  ResolveFor(static_cast<uint32_t>(::getpid()));
  EXPECT_EQ(Texts(Events()), DetectedAndBlocked(nlohmann::ordered_json::parse(kDetected)));
}

struct TaskRow {
  const char* name;
  qel::TaskState::Type threat;
  qel::TaskState::Type control;
  const char* taskId;  // null: no task fields
  result_t failure;    // of the task manager; 0: it answers
};

class TaskChoiceTest : public EventsTest, public ::testing::WithParamInterface<TaskRow> {};

TEST_P(TaskChoiceTest, Task_FirstRunningTypeWins) {
  const TaskRow& row = GetParam();
  ConfigureTasks(row.threat, row.control);
  services.tasks->FailWith(row.failure);
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
  // The types are asked in turn, for each event.
  EXPECT_EQ(services.tasks->requests(),
            std::string(row.taskId ? row.taskId : "") == "41" ? 2u : 4u);
}

INSTANTIATE_TEST_SUITE_P(
    Tasks, TaskChoiceTest,
    ::testing::Values(
        TaskRow{"ThreatRunning", qel::TaskState::Started, qel::TaskState::Started, "41", 0},
        TaskRow{"ThreatStopping", qel::TaskState::Stopping, qel::TaskState::Started, "41", 0},
        TaskRow{"ThreatStoppedControlRunning", qel::TaskState::Stopped, qel::TaskState::Suspended,
                "42", 0},
        TaskRow{"ThreatUnknownControlStopped", qel::TaskState::Unknown, qel::TaskState::Stopped,
                nullptr, 0},
        // A manager that cannot answer still lets the event out.
        TaskRow{"ManagerFails", qel::TaskState::Started, qel::TaskState::Started, nullptr,
                static_cast<result_t>(0x80000040u)}),
    [](const ::testing::TestParamInfo<TaskRow>& info) { return std::string(info.param.name); });

TEST_F(EventsTest, Publisher_MissingOrFailingLosesTheEventNotTheVerdict) {
  services.events->FailWith(static_cast<result_t>(0x80000040u));
  ResolveFor(static_cast<uint32_t>(::getpid()));
  EXPECT_TRUE(Events().empty());

  services.locator->Remove(qel::INonRemoteEventPublisher::kIid);
  EXPECT_EQ(ResolveFor(static_cast<uint32_t>(::getpid())), Verdict::Block);
  const auto errors = tracer->Texts(300);
  ASSERT_EQ(errors.size(), 2u);
  EXPECT_NE(errors[0].find("(" + std::string(texts::kGetPublisherExpression) +
                           "),(ORV_SUCCEEDED(_result)) failed: result = 0x8000004c"),
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
  auto detected = nlohmann::ordered_json::parse(kDetected);
  detected["Subject"] = "NotPartOfCertificate";
  detected.erase("AccessUser");
  detected.erase("AccessUserId");
  EXPECT_EQ(Texts(Events()), DetectedAndBlocked(detected));
}

}  // namespace
}  // namespace tti::test

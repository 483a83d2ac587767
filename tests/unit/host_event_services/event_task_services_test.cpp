#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

#include "host/host_services.h"

namespace host {
namespace {

qel::Event MakeEvent(const char* domain) {
  qel::Event event;
  event.eventType = qel::EventName::UntrustedCertificateBlocked;
  event.date = 0;
  qel::Variant value = qel::Variant::String8(orv::types::string8_t(domain));
  qel::AppendField(qel::AdditionalName::Domain, value, event.additionalFields);
  return event;
}

TEST(HostEventPublisher, OneJsonLinePerEventAppended) {
  char directory[] = "/tmp/tti_events_XXXXXX";
  ASSERT_NE(mkdtemp(directory), nullptr);
  const std::string path = std::string(directory) + "/events.jsonl";
  auto publisher = MakeObject<EventPublisher>(path);
  EXPECT_EQ(publisher->PublishEvent(MakeEvent("a.example")), 0);
  EXPECT_EQ(publisher->PublishEvent(MakeEvent("line\nbreak")), 0);
  publisher->FailWith(orv::errors::kUnspecified);
  EXPECT_EQ(publisher->PublishEvent(MakeEvent("not written")), orv::errors::kUnspecified);
  EXPECT_EQ(publisher->published(), 2u);

  std::ifstream file(path);
  std::string line;
  std::vector<nlohmann::json> events;
  while (std::getline(file, line)) {
    events.push_back(nlohmann::json::parse(line));
  }
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0]["EventType"], "UntrustedCertificateBlocked");
  EXPECT_EQ(events[1]["Domain"], "line\nbreak");
  std::remove(path.c_str());
  rmdir(directory);
}

TEST(HostTaskManager, AnswersWithTheConfiguredTaskOfTheType) {
  auto tasks = MakeObject<TaskManager>();
  qel::TaskInfo web;
  web.id = 4;
  web.name = orv::types::string16_t(u"Web Threat Protection");
  web.type = orv::types::string16_t(u"WebThreatProtection");
  web.state = qel::TaskState::Started;
  tasks->Configure({web});
  const qel::TaskCallerInfo caller;

  qel::TaskInfo found;
  EXPECT_EQ(tasks->FindTask(orv::types::string16_t(u"WebThreatProtection"), found, caller), 0);
  EXPECT_EQ(found.id, 4u);
  EXPECT_EQ(found.state, qel::TaskState::Started);
  EXPECT_TRUE(tasks->SetState(4, qel::TaskState::Stopped));
  EXPECT_EQ(tasks->FindTask(orv::types::string16_t(u"WebThreatProtection"), found, caller), 0);
  EXPECT_EQ(found.state, qel::TaskState::Stopped);

  qel::TaskInfo untouched;
  untouched.state = qel::TaskState::Unknown;
  EXPECT_EQ(tasks->FindTask(orv::types::string16_t(u"Other"), untouched, caller),
            orv::errors::kNotFound);
  EXPECT_EQ(untouched.state, qel::TaskState::Unknown);
  EXPECT_EQ(untouched.id, 0u);
  tasks->FailWith(orv::errors::kUnexpected);
  EXPECT_EQ(tasks->FindTask(orv::types::string16_t(u"WebThreatProtection"), found, caller),
            orv::errors::kUnexpected);
  EXPECT_EQ(tasks->requests(), 4u);
}

TEST(HostServicesCreate, RegistersTheEventAndProcessServices) {
  HostServices services = HostServices::Create(nullptr);
  for (const uint32_t iid : {qel::IQelTaskManager::kIid, qel::INonRemoteEventPublisher::kIid,
                             qel::IProcessManager::kIid}) {
    void* service = nullptr;
    ASSERT_EQ(services.locator->GetService(iid, 0, &service), 0) << std::hex << iid;
    static_cast<orv::IObject*>(service)->Release();
  }
}

}  // namespace
}  // namespace host

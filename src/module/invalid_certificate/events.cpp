#include <array>
#include <cstdint>

#include "event_building.h"
#include "invalid_certificate_handler.h"
#include "orv/check.h"
#include "orv/service.h"
#include "orv/trace_stream.h"
#include "qel/event_publisher.h"
#include "trace_texts.h"

namespace qel::tcp_traffic_interceptor {
namespace {

constexpr uint32_t kDetail = orv::trace_level::kDetail;
constexpr uint32_t kWarning = orv::trace_level::kWarning;

// The tasks that may own a certificate event, the first running one wins.
const std::array<orv::types::string16_t, 2>& OwnerTaskTypes() {
  static const std::array<orv::types::string16_t, 2> types{
      orv::types::string16_t(u"Web_Threat_Protection"), orv::types::string16_t(u"Web_Control")};
  return types;
}

// Who the handler is to the task manager.
const TaskCallerInfo& HandlerCaller() {
  static const TaskCallerInfo caller = [] {
    TaskCallerInfo info;
    info.user.uid = 0;
    info.user.name = orv::types::string16_t(u"root");
    info.value1 = 2;
    info.value2 = 0xffffffff;
    info.value3 = 1;
    return info;
  }();
  return caller;
}

}  // namespace

result_t InvalidCertificateHandler::PublishCertificateDetectedEvent(
    const orv::optional_t<qel::UserInfo>& user, const orv::types::string8_t& domain,
    const UntrustedCertificate& cert) const {
  ORV_TRACE(GetTracer(), kDetail) << handler_texts::kPublishCertificateDetectedEvent;
  return PublishCertificateEvent(EventName::UntrustedCertificateDetected, DangerLevel::Critical,
                                 user, domain, cert);
}

result_t InvalidCertificateHandler::PublishCertificateAllowedEvent(
    const orv::optional_t<qel::UserInfo>& user, const orv::types::string8_t& domain,
    const UntrustedCertificate& cert) const {
  ORV_TRACE(GetTracer(), kDetail) << handler_texts::kPublishCertificateAllowedEvent;
  return PublishCertificateEvent(EventName::UntrustedCertificateAllowed, DangerLevel::Warning, user,
                                 domain, cert);
}

result_t InvalidCertificateHandler::PublishCertificateBlockedEvent(
    const orv::optional_t<qel::UserInfo>& user, const orv::types::string8_t& domain,
    const UntrustedCertificate& cert) const {
  ORV_TRACE(GetTracer(), kDetail) << handler_texts::kPublishCertificateBlockedEvent;
  return PublishCertificateEvent(EventName::UntrustedCertificateBlocked, DangerLevel::Warning, user,
                                 domain, cert);
}

result_t InvalidCertificateHandler::PublishCertificateEvent(
    EventName::Type name, DangerLevel::Type level, const orv::optional_t<qel::UserInfo>& user,
    const orv::types::string8_t& domain, const UntrustedCertificate& cert) const {
  qel::Event event = NewEvent(name, level);
  AppendCertificateFields(event, domain, cert);
  return PublishEvent(event, user);
}

void InvalidCertificateHandler::AppendOwnerTask(qel::Event& event) const {
  for (const orv::types::string16_t& type : OwnerTaskTypes()) {
    TaskInfo task;
    task.state = TaskState::Unknown;
    if (ORV_FAILED(m_taskManager->FindTask(type, task, HandlerCaller())) ||
        task.state == TaskState::Stopped || task.state == TaskState::Unknown) {
      continue;
    }
    Variant value = Variant::String16(task.name);
    AppendField(AdditionalName::TaskName, value, event.additionalFields);
    value = Variant::String16(task.type);
    AppendField(AdditionalName::TaskType, value, event.additionalFields);
    value = Variant::UInt64(task.id);
    AppendField(AdditionalName::TaskId, value, event.additionalFields);
    return;
  }
  ORV_TRACE(GetTracer(), kWarning) << "Event from unknown task";
}

result_t InvalidCertificateHandler::PublishEvent(qel::Event& event,
                                                 const orv::optional_t<qel::UserInfo>& user) const {
  event.initiator = Initiator::Product;
  event.user = user;
  if (user.has_value()) {
    Variant value = Variant::String16(user->name);
    AppendField(AdditionalName::AccessUser, value, event.additionalFields);
    value = Variant::UInt32(user->uid);
    AppendField(AdditionalName::AccessUserId, value, event.additionalFields);
  }

  AppendOwnerTask(event);

  orv::intrusive_ptr<qel::INonRemoteEventPublisher> publisher;
  if (const result_t result =
          ORV_TRACE_IF_FAILED_AS(GetTracer(),
                                 orv::GetInterface(GetServiceLocator(), publisher.Ref()),
                                 handler_texts::kGetPublisherExpression)
          << "Cannot get INonRemoteEventPublisher interface";
      ORV_FAILED(result)) {
    return result;
  }
  publisher->PublishEvent(event);
  return orv::errors::kOk;
}

}  // namespace qel::tcp_traffic_interceptor

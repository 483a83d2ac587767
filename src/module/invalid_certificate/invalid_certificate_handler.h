#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "component/traffic_processing/protocollers/ssl/auto_excludes/auto_exclude_request.h"
#include "component/traffic_processing/protocollers/ssl/invalid_certificate.h"
#include "domain_cache.h"
#include "orv/intrusive_ptr.h"
#include "orv/mutex.h"
#include "orv/object_impl.h"
#include "orv/object_root.h"
#include "orv/optional.h"
#include "page_template.h"
#include "qel/enums/event_name.h"
#include "qel/event.h"
#include "qel/raw_cert.h"
#include "qel/task_manager.h"
#include "qel/tcp_traffic_interceptor/invalid_certificate_handler.h"
#include "qel/user_info.h"
#include "untrusted_certificate.h"

namespace qel::tcp_traffic_interceptor {

namespace ssl = ::traffic_processing::protocollers::ssl;
namespace auto_excludes = ::traffic_processing::protocollers::ssl::auto_excludes;
namespace traffic_monitor = ::traffic_processing::traffic_monitor;

// The engine's partner for certificates that failed verification: verdicts, the alert page, the
// exclusion ruling and the events of each decision.
// Threads: any engine or host thread, several at once; the handler starts none.
// Locks, never held together and never across a call to another object:
// - `m_settingsMutex` (plain) guards `m_settings`, held for a copy only;
// - `m_cacheMutex` (plain) guards `m_cache`, held for one put or get with its copy.
// `m_page` is written once in FinalConstruct and only read afterwards: no lock.
class InvalidCertificateHandler : public IInvalidCertificateHandlerConstruct,
                                  public IInvalidCertificateHandlerSettings,
                                  public ssl::IInvalidCertificateNotification,
                                  public ssl::IInvalidCertificateResolver,
                                  public ssl::IInvalidCertificateSecureDesktopRequest,
                                  public ssl::IInvalidCertificateWebAlertProvider,
                                  public auto_excludes::IAutoExcludeRequest,
                                  public orv::StandardObjectRoot {
 public:
  using Interfaces =
      orv::InterfaceList<IInvalidCertificateHandlerConstruct, IInvalidCertificateHandlerSettings,
                         ssl::IInvalidCertificateNotification, ssl::IInvalidCertificateResolver,
                         ssl::IInvalidCertificateSecureDesktopRequest,
                         ssl::IInvalidCertificateWebAlertProvider,
                         auto_excludes::IAutoExcludeRequest>;

  explicit InvalidCertificateHandler(orv::IServiceLocator* locator);
  InvalidCertificateHandler(const InvalidCertificateHandler&) = delete;
  InvalidCertificateHandler& operator=(const InvalidCertificateHandler&) = delete;

  // Gets the task manager and reads the page template; without either there is no handler.
  result_t FinalConstruct();
  void FinalRelease();

  // IInvalidCertificateHandlerConstruct
  result_t Construct(const InvalidCertificateHandlerSettings* settings) override;

  // IInvalidCertificateHandlerSettings
  result_t SetSettings(const InvalidCertificateHandlerSettings* settings) override;
  result_t GetSettings(InvalidCertificateHandlerSettings* settings) override;

  // ssl::IInvalidCertificateNotification (slot 4 keeps the interface's body)
  result_t OnInvalidCertificateDetected(traffic_monitor::IConnectionInfo* tcpConnectionInfo,
                                        ssl::IConnectionInfo* sslConnectionInfo) override;

  // ssl::IInvalidCertificateResolver
  result_t Resolve(traffic_monitor::IConnectionInfo* tcpConnectionInfo,
                   ssl::IConnectionInfo* sslConnectionInfo,
                   ssl::InvalidCertificateVerdict& verdict) override;

  // ssl::IInvalidCertificateSecureDesktopRequest
  result_t Resolve(const ssl::InvalidCertificateSecureDesktopRequest& request,
                   ssl::InvalidCertificateVerdict& verdict) override;

  // ssl::IInvalidCertificateWebAlertProvider
  result_t GetWebAlertStub(const ssl::InvalidCertificateWebAlertData& data,
                           orv::types::string8_t& body) override;

  // auto_excludes::IAutoExcludeRequest
  result_t Process(const auto_excludes::AutoExcludeRequest& request,
                   auto_excludes::AutoExcludeVerdict& verdict) override;

  // Subject, issuer and expiry from DER bytes; 0x80000046 when they are no certificate.
  result_t GetCertificate(const qel::RawCert& raw, UntrustedCertificate& untrusted) const;
  // The whole record from the engine's connection. A failed engine call throws
  // orv::CheckResultFailedException; a failed conversion is traced and returned.
  result_t GetCertificate(ssl::IConnectionInfo* sslConnectionInfo,
                          UntrustedCertificate& cert) const;

  // How many domains the cache holds now, read under the cache lock.
  size_t CachedDomains() const ORV_EXCLUDES(m_cacheMutex);

 protected:
  ~InvalidCertificateHandler() = default;

 private:
  // Reads the template from its fixed path into m_page; the read's code on failure.
  result_t LoadHtmlTemplate();

  // The page (web_alert_stub.cpp): the values of the certificate's placeholders of `domain` from
  // the cache (none when it has no entry), and the localiser's pass over the `$key$` marks for the
  // client process.
  result_t InsertCertificateInfo(const orv::types::string8_t& domain, PageValues& page);
  result_t LocalizeHtmlTemplate(uint64_t uniqPid, std::string& body);

  // The two steps both connection operations take (decisions.cpp), each failure traced and
  // returned: the connection's certificate, and the user of its client process.
  result_t CertificateOfConnection(ssl::IConnectionInfo* sslConnectionInfo,
                                   UntrustedCertificate& cert) const;
  result_t UserOfConnection(traffic_monitor::IConnectionInfo* tcpConnectionInfo,
                            orv::optional_t<qel::UserInfo>& user) const;

  // A copy of the settings, taken under m_settingsMutex.
  InvalidCertificateHandlerSettings CopySettings() const ORV_EXCLUDES(m_settingsMutex);
  void StoreSettings(const InvalidCertificateHandlerSettings& settings)
      ORV_EXCLUDES(m_settingsMutex);
  // m_cache's put and get, each under m_cacheMutex.
  void CachePut(const orv::types::string8_t& domain, const UntrustedCertificate& cert)
      ORV_EXCLUDES(m_cacheMutex);
  result_t CacheGet(const orv::types::string8_t& domain, UntrustedCertificate& cert)
      ORV_EXCLUDES(m_cacheMutex);

  // The events (events.cpp); the results are for the trace only, no caller looks at them.
  result_t PublishCertificateDetectedEvent(const orv::optional_t<qel::UserInfo>& user,
                                           const orv::types::string8_t& domain,
                                           const UntrustedCertificate& cert) const;
  result_t PublishCertificateAllowedEvent(const orv::optional_t<qel::UserInfo>& user,
                                          const orv::types::string8_t& domain,
                                          const UntrustedCertificate& cert) const;
  result_t PublishCertificateBlockedEvent(const orv::optional_t<qel::UserInfo>& user,
                                          const orv::types::string8_t& domain,
                                          const UntrustedCertificate& cert) const;
  // A certificate event of `name` and `level` with the certificate's fields, published.
  result_t PublishCertificateEvent(EventName::Type name, DangerLevel::Type level,
                                   const orv::optional_t<qel::UserInfo>& user,
                                   const orv::types::string8_t& domain,
                                   const UntrustedCertificate& cert) const;
  // The first running task that may own the event, or a warning line when none runs.
  void AppendOwnerTask(qel::Event& event) const;
  // Adds user and task and hands `event` to the host's publisher.
  result_t PublishEvent(qel::Event& event, const orv::optional_t<qel::UserInfo>& user) const;

  PageTemplate m_page;  // set once by FinalConstruct
  orv::intrusive_ptr<qel::IQelTaskManager> m_taskManager;

  mutable orv::Mutex m_settingsMutex;
  InvalidCertificateHandlerSettings m_settings ORV_GUARDED_BY(m_settingsMutex);

  mutable orv::Mutex m_cacheMutex;
  DomainCache m_cache ORV_GUARDED_BY(m_cacheMutex);
};

}  // namespace qel::tcp_traffic_interceptor

#include <cstdint>
#include <string>
#include <vector>

#include "invalid_certificate_handler.h"
#include "orv/check.h"
#include "orv/service.h"
#include "orv/trace_stream.h"
#include "product/product_paths.h"
#include "qel/tools/files.h"
#include "template_path.h"
#include "trace_texts.h"

namespace qel::tcp_traffic_interceptor {
namespace {

constexpr uint32_t kDetail = orv::trace_level::kDetail;

// The template's path, joined once per process: a separator only where the directory lacks one.
const tools::NativePath& HtmlTemplatePath() {
  static const tools::NativePath path = [] {
    tools::NativePath joined(product::kHtmlTemplateDirectory);
    if (joined.empty() || joined.back() != '/') {
      joined += '/';
    }
    joined += kHtmlTemplateFileName;
    return joined;
  }();
  return path;
}

}  // namespace

InvalidCertificateHandler::InvalidCertificateHandler(orv::IServiceLocator* locator)
    : ObjectRootEx(locator) {}

result_t InvalidCertificateHandler::FinalConstruct() {
  ORV_TRACE(GetTracer(), kDetail) << handler_texts::kFinalConstruct;
  if (const result_t result =
          ORV_TRACE_IF_FAILED_AS(GetTracer(),
                                 orv::GetInterface(GetServiceLocator(), m_taskManager.Ref()),
                                 handler_texts::kGetTaskManagerExpression)
          << "Cannot get IQelTaskManager interface";
      ORV_FAILED(result)) {
    return result;
  }
  if (const result_t result = ORV_TRACE_IF_FAILED(GetTracer(), LoadHtmlTemplate())
                              << "Cannot load html template";
      ORV_FAILED(result)) {
    return result;
  }
  return orv::errors::kOk;
}

void InvalidCertificateHandler::FinalRelease() {
  ORV_TRACE(GetTracer(), kDetail) << handler_texts::kFinalRelease;
}

result_t InvalidCertificateHandler::LoadHtmlTemplate() {
  const tools::NativePath& html = HtmlTemplatePath();
  std::vector<uint8_t> content;
  if (const result_t result = ORV_TRACE_IF_FAILED(GetTracer(), tools::ReadFile(html, content))
                              << "Cannot read html template " << html;
      ORV_FAILED(result)) {
    return result;
  }
  m_page = PageTemplate(std::string(content.begin(), content.end()));
  return orv::errors::kOk;
}

result_t InvalidCertificateHandler::Construct(const InvalidCertificateHandlerSettings* settings) {
  ORV_TRACE(GetTracer(), kDetail) << handler_texts::kConstruct;
  StoreSettings(*settings);
  return orv::errors::kOk;
}

result_t InvalidCertificateHandler::SetSettings(const InvalidCertificateHandlerSettings* settings) {
  ORV_TRACE(GetTracer(), kDetail) << handler_texts::kSetSettings;
  StoreSettings(*settings);
  return orv::errors::kOk;
}

result_t InvalidCertificateHandler::GetSettings(InvalidCertificateHandlerSettings* settings) {
  ORV_TRACE(GetTracer(), kDetail) << handler_texts::kGetSettings;
  *settings = CopySettings();
  return orv::errors::kOk;
}

InvalidCertificateHandlerSettings InvalidCertificateHandler::CopySettings() const {
  orv::MutexLock lock(m_settingsMutex);
  return m_settings;
}

void InvalidCertificateHandler::StoreSettings(const InvalidCertificateHandlerSettings& settings) {
  orv::MutexLock lock(m_settingsMutex);
  m_settings = settings;
}

void InvalidCertificateHandler::CachePut(const orv::types::string8_t& domain,
                                         const UntrustedCertificate& cert) {
  orv::MutexLock lock(m_cacheMutex);
  m_cache.Put(domain.view(), cert);
}

result_t InvalidCertificateHandler::CacheGet(const orv::types::string8_t& domain,
                                             UntrustedCertificate& cert) {
  orv::MutexLock lock(m_cacheMutex);
  return m_cache.Get(domain.view(), cert);
}

size_t InvalidCertificateHandler::CachedDomains() const {
  orv::MutexLock lock(m_cacheMutex);
  return m_cache.Size();
}

}  // namespace qel::tcp_traffic_interceptor

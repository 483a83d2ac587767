// The alert page: plain text replacement on the template in a fixed order, then the localiser's
// pass over the `$key$` marks.

#include <algorithm>
#include <exception>
#include <string>
#include <string_view>

#include <boost/format.hpp>

#include "html_escape.h"
#include "invalid_certificate_handler.h"
#include "orv/check.h"
#include "orv/trace_stream.h"
#include "page_template.h"
#include "qel/enums/verification_result.h"
#include "qel/tools/date_strings.h"
#include "qel/tools/localization.h"
#include "trace_texts.h"

namespace qel::tcp_traffic_interceptor {
namespace {

constexpr uint32_t kDetail = orv::trace_level::kDetail;

// The version the product's name is shown with, and what stands in the page when the product
// text cannot be made: a failed format never fails the page.
constexpr const char* kProductVersion = "12.3";
constexpr const char* kProductTextFallback = "7b3c8d00-7a6d-4291-bc54-7c8a3bfbdbfe";
constexpr qel::Msg kProductMessage = qel::Msg(1086);

// The message is a boost::format pattern fed with the version. A pattern without "%1%" is no
// error (too many arguments is the one check that is off); anything else thrown, the library's own
// failures included, gives the fixed text.
std::string ProductText() {
  try {
    boost::format pattern(qel::TranslationInnards::Tr(kProductMessage, 0));
    pattern.exceptions(boost::io::all_error_bits ^ boost::io::too_many_args_bit);
    pattern % kProductVersion;
    return pattern.str();
  } catch (...) {
    return kProductTextFallback;
  }
}

// "NotPartOfCertificate" becomes a key for the localiser; any other name is shown as text.
std::string NameForPage(const orv::types::string8_t& name) {
  if (name.view() == kNotPartOfCertificate) {
    return "$NotPartOfCertificate$";
  }
  return EscapeHtml(name.view());
}

}  // namespace

result_t InvalidCertificateHandler::GetWebAlertStub(const ssl::InvalidCertificateWebAlertData& data,
                                                    orv::types::string8_t& body) {
  ORV_TRACE(GetTracer(), kDetail) << handler_texts::kGetWebAlertStub;
  PageValues page;
  std::string ignoreAndContinueUrl(data.ignoreAndContinueUrl.view());
  // A block setting takes the way out of the page; any other value, out of range included, leaves
  // the engine's address as it came.
  if (CopySettings().action == 1) {
    ignoreAndContinueUrl.clear();
  }

  page.values[kProductSlot] = ProductText();
  // The form follows the address, not the settings: no address, no way on.
  const bool warn = !ignoreAndContinueUrl.empty();
  page.values[kCertActionSlot] = warn ? "$ActionWarn$" : "$ActionDeny$";
  page.values[kCertDetailsSlot] = warn ? "$DetailsTitleWarn$" : "$DetailsTitleDeny$";
  page.values[kTargetUrlSlot] = data.domain.view();
  page.values[kShowCertificateUrlSlot] = data.showCertificateUrl.view();
  page.values[kIgnoreAndContinueUrlSlot] = std::move(ignoreAndContinueUrl);
  const auto reason = qel::GetVerificationResultName(data.verificationResult);
  page.values[kReasonDescriptionSlot] = "$" + std::string(reason.first.view()) + "$";

  InsertCertificateInfo(data.domain, page);

  // The placeholders are replaced in the order of the slots; the template knows whether one pass
  // over it gives the same bytes.
  std::string html;
  m_page.Render(page, html);
  if (const result_t result =
          ORV_TRACE_IF_FAILED_AS(GetTracer(), LocalizeHtmlTemplate(data.uniqPid, html),
                                 handler_texts::kLocalizeExpression)
          << "Cannot localize html template";
      ORV_FAILED(result)) {
    return result;
  }
  body = std::string_view(html);
  return 0;
}

result_t InvalidCertificateHandler::InsertCertificateInfo(const orv::types::string8_t& domain,
                                                          PageValues& page) {
  // The line names the operation as the product always has, when it replaced in the page itself.
  ORV_TRACE(GetTracer(), kDetail) << handler_texts::kInsertCertificateInfo;
  UntrustedCertificate cert;
  // The lock is held inside CacheGet only; the failure line is written after it is released.
  if (const result_t result = ORV_TRACE_IF_FAILED_AS(GetTracer(), CacheGet(domain, cert),
                                                     handler_texts::kCacheGetExpression)
                              << "Cannot get cert chain for domain " << domain;
      ORV_FAILED(result)) {
    // The certificate's placeholders stay in the page as they are.
    page.steps = kCertificateSubjectSlot;
    return result;
  }
  page.values[kCertificateSubjectSlot] = NameForPage(cert.subject);
  page.values[kCertificateIssuerSlot] = NameForPage(cert.issuer);
  // Local time of this machine, whatever the browser's zone; a date that cannot be shown throws
  // out of GetWebAlertStub.
  page.values[kCertificateExpirationDateSlot] =
      qel::tools::TicksToString(static_cast<int64_t>(cert.expirationDate));
  page.values[kCertificatePemDataSlot] = EscapeHtml(cert.pemChain.view());
  return 0;
}

result_t InvalidCertificateHandler::LocalizeHtmlTemplate(uint64_t uniqPid, std::string& body) {
  ORV_TRACE(GetTracer(), kDetail) << handler_texts::kLocalizeHtmlTemplate;
  orv::intrusive_ptr<localization_manager::ILocalizer> localizer;
  if (const result_t result =
          ORV_TRACE_IF_FAILED_AS(GetTracer(),
                                 qel::tools::CreateLocalizer(GetServiceLocator(), uniqPid,
                                                             u"traffic_processing", localizer),
                                 handler_texts::kCreateLocalizerExpression);
      ORV_FAILED(result)) {
    return result;
  }
  orv::types::vector_t<unsigned char> html;
  html.resize(body.size());
  std::copy(body.begin(), body.end(), html.data());
  const orv::types::vector_t<unsigned char> worded =
      qel::tools::LocalizeTemplate(html, localizer.get(), GetTracer());
  body.assign(reinterpret_cast<const char*>(worded.data()), worded.size());
  return 0;
}

}  // namespace qel::tcp_traffic_interceptor

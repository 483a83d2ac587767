#include "alert_page_fixture.h"

#include <sys/mount.h>
#include <unistd.h>

#include <cstdlib>
#include <regex>
#include <sstream>
#include <stdexcept>

#include "engine/connections.h"
#include "qel/tcp_traffic_interceptor/class_ids.h"
#include "qel/tcp_traffic_interceptor/invalid_certificate_handler.h"
#include "support/namespace_sandbox.h"

namespace tti_test {
namespace {

std::string BinaryDir() {
  const char* directory = std::getenv("TTI_BINARY_DIR");
  if (directory == nullptr) {
    throw std::runtime_error("TTI_BINARY_DIR is not set");
  }
  return directory;
}

engine::Der ToDer(const tti::test::TestCertificate& certificate) {
  const auto raw = certificate.Der();
  return engine::Der(raw.begin(), raw.end());
}

}  // namespace

std::vector<std::string> AlertPageTest::s_replaced;

void AlertPageTest::SetUpTestSuite() {
  ModuleTest::SetUpTestSuite();
  // This process only: ctest runs every test in a process of its own, which ends with its mounts.
  static const bool entered = [] {
    tti::test::EnterPrivateMountNamespace();
    tti::test::MountProductTree();
    return true;
  }();
  (void)entered;
}

void AlertPageTest::SetUp() {
  ModuleTest::SetUp();
  handler = Create<ssl::IInvalidCertificateWebAlertProvider>(
      qel::tcp_traffic_interceptor::CLSID_InvalidCertificateHandler);
  ASSERT_TRUE(handler);
}

void AlertPageTest::TearDown() {
  handler.reset();
  // Every file replaced by this test comes back for the next one run in the same process.
  for (auto target = s_replaced.rbegin(); target != s_replaced.rend(); ++target) {
    EXPECT_EQ(::umount2(target->c_str(), MNT_DETACH), 0) << *target;
  }
  s_replaced.clear();
  ModuleTest::TearDown();
}

void AlertPageTest::Detect(const std::string& domain,
                           const std::vector<tti::test::TestCertificate*>& chain,
                           uint32_t verificationResult) {
  engine::SslConnectionData data;
  data.domain = domain;
  data.verificationResult = verificationResult;
  data.serverCertificate = ToDer(*chain.front());
  for (const tti::test::TestCertificate* certificate : chain) {
    data.chain.certificates.push_back(ToDer(*certificate));
  }
  auto ssl = engine::Make<engine::SslConnection>(std::move(data));
  auto tcp = engine::Make<engine::TcpConnection>(static_cast<uint32_t>(::getpid()));
  orv::intrusive_ptr<ssl::IInvalidCertificateNotification> notification;
  ASSERT_EQ(handler->QueryInterface(ssl::IInvalidCertificateNotification::kIid,
                                    reinterpret_cast<void**>(notification.Ref())),
            0);
  ASSERT_EQ(notification->OnInvalidCertificateDetected(tcp.get(), ssl.get()), 0);
}

void AlertPageTest::SetAction(uint32_t action) {
  orv::intrusive_ptr<qel::tcp_traffic_interceptor::IInvalidCertificateHandlerSettings> settings;
  ASSERT_EQ(handler->QueryInterface(
                qel::tcp_traffic_interceptor::IInvalidCertificateHandlerSettings::kIid,
                reinterpret_cast<void**>(settings.Ref())),
            0);
  qel::tcp_traffic_interceptor::InvalidCertificateHandlerSettings record;
  record.action = static_cast<qel::UntrustedCertificateAction::Type>(action);
  ASSERT_EQ(settings->SetSettings(&record), 0);
}

result_t AlertPageTest::Page(const std::string& domain, const std::string& continueUrl,
                             std::string& page, uint32_t verificationResult) {
  ssl::InvalidCertificateWebAlertData data;
  data.verificationResult = verificationResult;
  data.domain = orv::types::string8_t(domain.c_str());
  data.ignoreAndContinueUrl = orv::types::string8_t(continueUrl.c_str());
  data.showCertificateUrl = orv::types::string8_t("https://engine.invalid/certificate?id=7");
  data.uniqPid = 4242;
  orv::types::string8_t body(page.c_str());
  const result_t result = handler->GetWebAlertStub(data, body);
  page.assign(body.data(), body.size());
  return result;
}

std::string AlertPageTest::Page(const std::string& domain, const std::string& continueUrl) {
  std::string page;
  EXPECT_EQ(Page(domain, continueUrl, page), 0);
  return page;
}

void AlertPageTest::ReplaceBuildFile(const std::string& relativePath, const std::string& text) {
  char scratch[] = "/tmp/tti-alert-page.XXXXXX";
  const int fd = ::mkstemp(scratch);
  if (fd < 0) {
    throw std::runtime_error("mkstemp");
  }
  ::close(fd);
  tti::test::WriteTextFile(scratch, text);
  const std::string target = BinaryDir() + "/" + relativePath;
  if (::mount(scratch, target.c_str(), nullptr, MS_BIND, nullptr) != 0) {
    throw std::runtime_error("cannot bind over " + target);
  }
  s_replaced.push_back(target);
  ::unlink(scratch);
}

std::string CatalogText(const std::string& key) {
  std::istringstream lines(
      tti::test::ReadTextFile(BinaryDir() + "/share/localization/en/traffic_processing.ini"));
  std::string line;
  const std::string prefix = key + " = ";
  while (std::getline(lines, line)) {
    if (line.rfind(prefix, 0) == 0) {
      return line.substr(prefix.size());
    }
  }
  throw std::runtime_error("no text for " + key);
}

std::string LeftOverMark(const std::string& page) {
  std::smatch mark;
  if (std::regex_search(page, mark, std::regex(R"(%[A-Za-z]+%|\$[A-Za-z0-9_]+\$)"))) {
    return mark.str();
  }
  return std::string();
}

}  // namespace tti_test

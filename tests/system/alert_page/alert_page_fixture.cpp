#include "system/alert_page/alert_page_fixture.h"

#include <sys/mount.h>

#include <cstdlib>
#include <regex>
#include <stdexcept>

#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>

#include "support/scratch.h"

namespace tti::test {
namespace {

std::string BinaryDir() { return std::getenv("TTI_BINARY_DIR"); }

}  // namespace

std::vector<std::string> AlertPageTest::s_replaced;

void AlertPageTest::SetUp() {
  HandlerTest::SetUp();
  handler = CreateHandler();
  ASSERT_TRUE(handler);
}

void AlertPageTest::TearDown() {
  handler.reset();
  // Every file replaced by this test comes back for the next one run in the same process.
  for (auto target = s_replaced.rbegin(); target != s_replaced.rend(); ++target) {
    EXPECT_EQ(::umount2(target->c_str(), MNT_DETACH), 0) << *target;
  }
  s_replaced.clear();
  HandlerTest::TearDown();
}

void AlertPageTest::Detect(const std::string& domain,
                           const std::vector<tti::test::TestCertificate*>& chain,
                           uint32_t verificationResult) {
  engine::SslConnectionData data;
  data.domain = domain;
  data.verificationResult = verificationResult;
  data.serverCertificate = chain.front()->Der();
  for (const tti::test::TestCertificate* certificate : chain) {
    data.chain.certificates.push_back(certificate->Der());
  }
  ASSERT_EQ(HandlerTest::Detect(handler.get(), data), 0);
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
  const result_t result =
      As<ssl::IInvalidCertificateWebAlertProvider>(handler.get())->GetWebAlertStub(data, body);
  page.assign(body.data(), body.size());
  return result;
}

std::string AlertPageTest::Page(const std::string& domain, const std::string& continueUrl) {
  std::string page;
  EXPECT_EQ(Page(domain, continueUrl, page), 0);
  return page;
}

void AlertPageTest::ReplaceBuildFile(const std::string& relativePath, const std::string& text) {
  const tti::test::TempDir scratch;
  tti::test::WriteText(scratch / "replacement", text);
  const std::string target = BinaryDir() + "/" + relativePath;
  if (::mount((scratch / "replacement").c_str(), target.c_str(), nullptr, MS_BIND, nullptr) != 0) {
    throw std::runtime_error("cannot bind over " + target);
  }
  s_replaced.push_back(target);
}

std::string CatalogText(const std::string& key) {
  boost::property_tree::ptree catalog;
  boost::property_tree::read_ini(BinaryDir() + "/share/localization/en/traffic_processing.ini",
                                 catalog);
  return catalog.get<std::string>(key);
}

std::string LeftOverMark(const std::string& page) {
  std::smatch mark;
  std::regex_search(page, mark, std::regex(R"(%[A-Za-z]+%|\$[A-Za-z0-9_]+\$)"));
  return mark.str();
}

}  // namespace tti::test

#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "system/invalid_certificate/handler_fixture.h"

namespace tti::test {

// The handler's pages over the staged product tree (template and catalogues) in this test
// process's mount namespace. SetUp creates the handler; the test reports certificates with Detect
// and asks for pages with Page.
class AlertPageTest : public HandlerTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  // OnInvalidCertificateDetected for `domain` with `chain` (the first is the server's).
  void Detect(const std::string& domain, const std::vector<tti::test::TestCertificate*>& chain,
              uint32_t verificationResult = 0x80020003);
  void SetAction(uint32_t action) { HandlerTest::SetAction(handler.get(), action); }
  // GetWebAlertStub; the page, or what `body` held when the call failed.
  result_t Page(const std::string& domain, const std::string& continueUrl, std::string& page,
                uint32_t verificationResult = 0x80020003);
  std::string Page(const std::string& domain, const std::string& continueUrl);

  // Replaces a file of the build tree for this process and this test only (a bind over it).
  static void ReplaceBuildFile(const std::string& relativePath, const std::string& text);

  orv::intrusive_ptr<ssl::IInvalidCertificateResolver> handler;

 private:
  static std::vector<std::string> s_replaced;  // bind targets, undone by TearDown
};

// Texts of the staged English catalogue and the placeholders that must not survive.
std::string CatalogText(const std::string& key);
// The first `%Name%` or `$Name$` left in `page`, or empty.
std::string LeftOverMark(const std::string& page);

}  // namespace tti::test

// The pages as a person sees them: made by module-host, opened by headless Chromium off the
// network. A probe script added to a copy of each page reports what the browser made of it.

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/browsers.h"
#include "support/cert_factory.h"
#include "support/scratch.h"

namespace {

using nlohmann::json;

constexpr const char* kContinue = "https://engine.invalid/continue?token=b7";
constexpr const char* kShow = "https://engine.invalid/certificate?id=3";

// Reports what the browser made of the page as JSON, with <, > and & escaped so that the dumped
// page holds the JSON text unchanged.
constexpr const char* kProbe = R"(<script>
(function () {
  const shown = (e) => getComputedStyle(e).display !== 'none';
  const report = {
    continueDisplay: getComputedStyle(document.getElementById('continue')).display,
    links: [...document.querySelectorAll('a[href]')].filter(shown).map((a) => a.getAttribute('href')),
    scripts: document.scripts.length - 1,
    subject: document.getElementById('subject').textContent,
    issuer: document.getElementById('issuer').textContent,
    lang: document.documentElement.lang,
    text: document.body.innerText,
  };
  const pre = document.createElement('pre');
  pre.id = 'probe';
  pre.textContent = JSON.stringify(report).replace(
      /[<>&\u00a0]/g, (c) => '\\u' + c.charCodeAt(0).toString(16).padStart(4, '0'));
  document.body.appendChild(pre);
})();
</script>)";

std::string Artefacts() {
  const std::string directory = std::string(std::getenv("TTI_BINARY_DIR")) + "/artefacts/browser";
  std::filesystem::create_directories(directory);
  return directory;
}

// Chromium as root with a fresh home of its own.
tti::test::CommandResult Chromium(const std::vector<std::string>& arguments) {
  const tti::test::TempDir home;
  const tti::test::CommandResult result = tti::test::RunChromium(home.path(), 0, arguments);
  EXPECT_EQ(result.exitCode, 0) << result.output;
  return result;
}

void Screenshot(const std::string& file, const std::string& png, const std::string& size) {
  Chromium({"--screenshot=" + png, "--window-size=" + size, "file://" + file});
  EXPECT_GT(std::filesystem::exists(png) ? std::filesystem::file_size(png) : 0, 10000u) << png;
}

// The probe's JSON: the stream reads one value and leaves what follows it.
json ReadProbe(const std::string& dom) {
  const size_t from = dom.find("<pre id=\"probe\">");
  EXPECT_NE(from, std::string::npos) << dom.substr(0, 400);
  json probe = json::object();
  if (from != std::string::npos) {
    std::istringstream(dom.substr(from + std::strlen("<pre id=\"probe\">"))) >> probe;
  }
  return probe;
}

// One page made by module-host, its DOM as Chromium built it and the probe's report.
struct RenderedPage {
  std::string file;
  std::string dom;
  json probe;
};

RenderedPage Render(const std::string& name, const std::string& subject, const std::string& action,
                    const std::string& continueUrl) {
  const std::string directory = Artefacts();
  tti::test::TestCertificate root = tti::test::MakeRootCertificate("Example Untrusted Root CA");
  tti::test::TestCertificate intermediate =
      tti::test::MakeServerCertificate(root, "Example Issuing CA 2");
  tti::test::TestCertificate server = tti::test::MakeServerCertificate(intermediate, subject);
  const std::string chain = directory + "/" + name + "-chain.pem";
  tti::test::WriteText(chain, server.Pem() + intermediate.Pem() + root.Pem());

  RenderedPage page;
  page.file = directory + "/" + name + ".html";
  std::vector<std::string> arguments = {
      "alert-page",           "--domain=shop.example.com",
      "--chain=" + chain,     "--verification=0x80020003",
      "--action=" + action,   "--show-certificate-url=" + std::string(kShow),
      "--output=" + page.file};
  if (!continueUrl.empty()) {
    arguments.push_back("--continue-url=" + continueUrl);
  }
  const auto made = tti::test::RunModuleHost(arguments);
  EXPECT_EQ(made.exitCode, 0) << made.output;

  page.dom = Chromium({"--dump-dom", "file://" + page.file}).output;
  const std::string probed = directory + "/" + name + "-probe.html";
  std::string html = tti::test::ReadText(page.file);
  html.insert(html.rfind("</body>"), kProbe);
  tti::test::WriteText(probed, html);
  page.probe = ReadProbe(Chromium({"--dump-dom", "file://" + probed}).output);
  return page;
}

void ExpectNoMarksLeft(const RenderedPage& page) {
  const std::regex marks(R"(%[A-Za-z]+%|\$[A-Za-z0-9_]+\$)");
  for (const std::string& text : {page.dom, page.probe.at("text").get<std::string>()}) {
    std::smatch mark;
    EXPECT_FALSE(std::regex_search(text, mark, marks)) << mark.str();
  }
  EXPECT_EQ(page.probe.at("lang"), "en");
}

// The warn form, with a subject that would run a script if it were not text.
TEST(AlertPageBrowser, WarnForm_OffersTheWayOn_HostileSubjectShowsAsText) {
  const std::string hostile = "<script>document.title='owned'</script> \"Q\" & 'A'";
  const RenderedPage page = Render("alert-page-warn", hostile, "allow", kContinue);
  ExpectNoMarksLeft(page);
  EXPECT_NE(page.probe.at("continueDisplay"), "none");
  EXPECT_EQ(page.probe.at("links"), json::array({kShow, kContinue}));
  EXPECT_NE(page.probe.at("text").get<std::string>().find("Go on only if you trust this site"),
            std::string::npos);
  // Only the probe runs: the subject's script is text in the page.
  EXPECT_EQ(page.probe.at("scripts"), 0);
  EXPECT_EQ(page.probe.at("subject"), hostile);
  EXPECT_EQ(page.probe.at("issuer"), "Example Issuing CA 2");
  EXPECT_EQ(page.dom.find("owned</title>"), std::string::npos);
  Screenshot(page.file, Artefacts() + "/alert-page-warn.png", "1100,760");
  Screenshot(page.file, Artefacts() + "/alert-page-warn-phone.png", "390,1000");
}

TEST(AlertPageBrowser, DenyForm_HasNoWayOn) {
  // The engine sent an address, the block setting takes it out.
  const RenderedPage page = Render("alert-page-deny", "shop.example.com", "block", kContinue);
  ExpectNoMarksLeft(page);
  EXPECT_EQ(page.probe.at("continueDisplay"), "none");
  EXPECT_EQ(page.probe.at("links"), json::array({kShow}));
  const std::string text = page.probe.at("text");
  EXPECT_NE(text.find("was blocked"), std::string::npos);
  Screenshot(page.file, Artefacts() + "/alert-page-deny.png", "1100,760");
}

}  // namespace

// The pages as a person sees them: made by module-host, opened by headless Chromium off the
// network. A probe script added to a copy of each page reports what the browser made of it.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <regex>
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

std::string BinaryDir() {
  const char* directory = std::getenv("TTI_BINARY_DIR");
  return directory ? directory : ".";
}

std::string Artefacts() {
  const std::string directory = BinaryDir() + "/artefacts/browser";
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
  struct stat status {};
  EXPECT_EQ(::stat(png.c_str(), &status), 0) << png;
  EXPECT_GT(status.st_size, 10000) << png;
}

json ReadProbe(const std::string& dom) {
  const std::string start = "<pre id=\"probe\">";
  const size_t from = dom.find(start);
  EXPECT_NE(from, std::string::npos) << dom.substr(0, 400);
  if (from == std::string::npos) {
    return json::object();
  }
  const size_t to = dom.find("</pre>", from);
  return json::parse(dom.substr(from + start.size(), to - from - start.size()));
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
  std::vector<std::string> argv = {BinaryDir() + "/bin/module-host",
                                   "alert-page",
                                   "--domain",
                                   "shop.example.com",
                                   "--chain",
                                   chain,
                                   "--verification",
                                   "0x80020003",
                                   "--action",
                                   action,
                                   "--show-certificate-url",
                                   kShow,
                                   "--output",
                                   page.file};
  if (!continueUrl.empty()) {
    argv.push_back("--continue-url");
    argv.push_back(continueUrl);
  }
  const auto made = tti::test::RunClean(argv);
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

TEST(AlertPageBrowser, WarnForm_OffersTheWayOn) {
  const RenderedPage page = Render("alert-page-warn", "shop.example.com", "allow", kContinue);
  ExpectNoMarksLeft(page);
  EXPECT_NE(page.probe.at("continueDisplay"), "none");
  EXPECT_EQ(page.probe.at("links"), json::array({kShow, kContinue}));
  const std::string text = page.probe.at("text");
  EXPECT_NE(text.find("Example Issuing CA 2"), std::string::npos);
  EXPECT_NE(text.find("Go on only if you trust this site"), std::string::npos);
  Screenshot(page.file, Artefacts() + "/alert-page-warn.png", "1100,760");
  Screenshot(page.file, Artefacts() + "/alert-page-warn-phone.png", "390,1000");
}

TEST(AlertPageBrowser, DenyForm_HasNoWayOn) {
  // The engine sent an address, the block setting takes it out.
  const RenderedPage page = Render("alert-page-deny", "shop.example.com", "block", kContinue);
  ExpectNoMarksLeft(page);
  EXPECT_EQ(page.probe.at("continueDisplay"), "none");
  EXPECT_EQ(page.probe.at("links"), json::array({kShow}));
  EXPECT_EQ(page.dom.find("token="), std::string::npos);
  EXPECT_NE(page.dom.find("id=\"continue\" href=\"\""), std::string::npos);
  const std::string text = page.probe.at("text");
  EXPECT_NE(text.find("was blocked"), std::string::npos);
  Screenshot(page.file, Artefacts() + "/alert-page-deny.png", "1100,760");
}

TEST(AlertPageBrowser, HostileSubject_ShowsAsText) {
  const std::string hostile = "<script>document.title='owned'</script> \"Q\" & 'A'";
  const RenderedPage page = Render("alert-page-hostile", hostile, "allow", kContinue);
  ExpectNoMarksLeft(page);
  // Only the probe runs: the subject's script is text in the page.
  EXPECT_EQ(page.probe.at("scripts"), 0);
  EXPECT_EQ(page.probe.at("subject"), hostile);
  EXPECT_EQ(page.probe.at("issuer"), "Example Issuing CA 2");
  EXPECT_EQ(page.dom.find("owned</title>"), std::string::npos);
  Screenshot(page.file, Artefacts() + "/alert-page-hostile.png", "1100,760");
}

}  // namespace

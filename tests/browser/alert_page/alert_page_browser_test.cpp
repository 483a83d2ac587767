// The pages as a person sees them: made by module-host, opened by headless Chromium off the
// network. A probe script added to a copy of each page reports what the browser made of it.

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <sys/stat.h>

#include <cstdlib>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "support/cert_factory.h"
#include "support/clean_command.h"
#include "support/namespace_sandbox.h"

namespace {

using tti::test::RunClean;

constexpr const char* kContinue = "https://engine.invalid/continue?token=b7";
constexpr const char* kShow = "https://engine.invalid/certificate?id=3";

// Reports, one `name=value` line each, base64 where the value is text of the page.
constexpr const char* kProbe = R"(<script>
(function () {
  const b = (s) => btoa(unescape(encodeURIComponent(s)));
  const shown = (e) => getComputedStyle(e).display !== 'none';
  const links = [...document.querySelectorAll('a[href]')].filter(shown);
  const lines = [
    'continueDisplay=' + getComputedStyle(document.getElementById('continue')).display,
    'links=' + links.map((a) => b(a.getAttribute('href'))).join(','),
    'scripts=' + (document.scripts.length - 1),
    'subject=' + b(document.getElementById('subject').textContent),
    'issuer=' + b(document.getElementById('issuer').textContent),
    'lang=' + document.documentElement.lang,
    'text=' + b(document.body.innerText),
  ];
  const pre = document.createElement('pre');
  pre.id = 'probe';
  pre.textContent = lines.join('\n');
  document.body.appendChild(pre);
})();
</script>)";

std::string BinaryDir() {
  const char* directory = std::getenv("TTI_BINARY_DIR");
  return directory ? directory : ".";
}

std::string Artefacts() {
  const std::string directory = BinaryDir() + "/artefacts/browser";
  std::system(("mkdir -p '" + directory + "'").c_str());
  return directory;
}

std::string FromBase64(const std::string& text) {
  std::string bytes(text.size(), '\0');
  const int length = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                                     reinterpret_cast<const unsigned char*>(text.data()),
                                     static_cast<int>(text.size()));
  EXPECT_GE(length, 0) << text;
  bytes.resize(length < 0 ? 0 : static_cast<size_t>(length));
  // EVP_DecodeBlock keeps the padding's zero bytes.
  size_t padding = 0;
  for (auto at = text.rbegin(); at != text.rend() && *at == '='; ++at) {
    ++padding;
  }
  bytes.resize(bytes.size() - padding);
  return bytes;
}

std::vector<std::string> ChromiumFlags(const std::string& profile) {
  return {"/usr/bin/chromium", "--headless", "--no-sandbox", "--disable-gpu",
          "--user-data-dir=" + profile,
          // Nothing leaves the machine: no name resolves, no proxy answers, no background fetch.
          "--host-resolver-rules=MAP * ~NOTFOUND", "--proxy-server=socks5://127.0.0.1:9",
          "--disable-background-networking", "--disable-component-update", "--disable-sync",
          "--disable-extensions", "--disable-default-apps", "--no-first-run",
          "--no-default-browser-check", "--hide-scrollbars"};
}

std::string FreshProfile() {
  char profile[] = "/tmp/tti-chromium.XXXXXX";
  EXPECT_NE(::mkdtemp(profile), nullptr);
  return profile;
}

std::string DumpDom(const std::string& file) {
  const std::string profile = FreshProfile();
  auto argv = ChromiumFlags(profile);
  argv.push_back("--dump-dom");
  argv.push_back("file://" + file);
  const auto result = RunClean(argv);
  std::system(("rm -rf '" + profile + "'").c_str());
  EXPECT_EQ(result.exitCode, 0) << result.output;
  return result.output;
}

void Screenshot(const std::string& file, const std::string& png, const std::string& size) {
  const std::string profile = FreshProfile();
  auto argv = ChromiumFlags(profile);
  argv.push_back("--screenshot=" + png);
  argv.push_back("--window-size=" + size);
  argv.push_back("file://" + file);
  const auto result = RunClean(argv);
  std::system(("rm -rf '" + profile + "'").c_str());
  EXPECT_EQ(result.exitCode, 0) << result.output;
  struct stat status {};
  EXPECT_EQ(::stat(png.c_str(), &status), 0) << png;
  EXPECT_GT(status.st_size, 10000) << png;
}

struct Probe {
  std::map<std::string, std::string> values;
  std::vector<std::string> links;
};

Probe ReadProbe(const std::string& dom) {
  const size_t start = dom.find("<pre id=\"probe\">");
  EXPECT_NE(start, std::string::npos) << dom.substr(0, 400);
  Probe probe;
  if (start == std::string::npos) {
    return probe;
  }
  const size_t end = dom.find("</pre>", start);
  std::istringstream lines(dom.substr(start + 16, end - start - 16));
  std::string line;
  while (std::getline(lines, line)) {
    const size_t equals = line.find('=');
    probe.values[line.substr(0, equals)] = line.substr(equals + 1);
  }
  std::istringstream links(probe.values["links"]);
  std::string link;
  while (std::getline(links, link, ',')) {
    probe.links.push_back(FromBase64(link));
  }
  return probe;
}

// One page made by module-host, its DOM as Chromium built it and the probe's report.
struct RenderedPage {
  std::string file;
  std::string dom;
  Probe probe;
};

RenderedPage Render(const std::string& name, const std::string& subject, const std::string& action,
                    const std::string& continueUrl) {
  const std::string directory = Artefacts();
  tti::test::TestCertificate root = tti::test::MakeRootCertificate("Example Untrusted Root CA");
  tti::test::TestCertificate intermediate =
      tti::test::MakeServerCertificate(root, "Example Issuing CA 2");
  tti::test::TestCertificate server = tti::test::MakeServerCertificate(intermediate, subject);
  const std::string chain = directory + "/" + name + "-chain.pem";
  tti::test::WriteTextFile(chain, server.Pem() + intermediate.Pem() + root.Pem());

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
  const auto made = RunClean(argv);
  EXPECT_EQ(made.exitCode, 0) << made.output;

  page.dom = DumpDom(page.file);
  const std::string probed = directory + "/" + name + "-probe.html";
  std::string html = tti::test::ReadTextFile(page.file);
  html.insert(html.rfind("</body>"), kProbe);
  tti::test::WriteTextFile(probed, html);
  page.probe = ReadProbe(DumpDom(probed));
  return page;
}

void ExpectNoMarksLeft(const RenderedPage& page) {
  std::smatch mark;
  EXPECT_FALSE(std::regex_search(page.dom, mark, std::regex(R"(%[A-Za-z]+%|\$[A-Za-z0-9_]+\$)")))
      << mark.str();
  const std::string text = FromBase64(page.probe.values.at("text"));
  EXPECT_FALSE(std::regex_search(text, mark, std::regex(R"(%[A-Za-z]+%|\$[A-Za-z0-9_]+\$)")))
      << mark.str();
  EXPECT_EQ(page.probe.values.at("lang"), "en");
}

TEST(AlertPageBrowser, WarnForm_OffersTheWayOn) {
  const RenderedPage page = Render("alert-page-warn", "shop.example.com", "allow", kContinue);
  ExpectNoMarksLeft(page);
  EXPECT_NE(page.probe.values.at("continueDisplay"), "none");
  EXPECT_EQ(page.probe.links, (std::vector<std::string>{kShow, kContinue}));
  const std::string text = FromBase64(page.probe.values.at("text"));
  EXPECT_NE(text.find("Example Issuing CA 2"), std::string::npos);
  EXPECT_NE(text.find("Go on only if you trust this site"), std::string::npos);
  Screenshot(page.file, Artefacts() + "/alert-page-warn.png", "1100,760");
  Screenshot(page.file, Artefacts() + "/alert-page-warn-phone.png", "390,1000");
}

TEST(AlertPageBrowser, DenyForm_HasNoWayOn) {
  // The engine sent an address, the block setting takes it out.
  const RenderedPage page = Render("alert-page-deny", "shop.example.com", "block", kContinue);
  ExpectNoMarksLeft(page);
  EXPECT_EQ(page.probe.values.at("continueDisplay"), "none");
  EXPECT_EQ(page.probe.links, (std::vector<std::string>{kShow}));
  EXPECT_EQ(page.dom.find("token="), std::string::npos);
  EXPECT_NE(page.dom.find("id=\"continue\" href=\"\""), std::string::npos);
  const std::string text = FromBase64(page.probe.values.at("text"));
  EXPECT_NE(text.find("was blocked"), std::string::npos);
  Screenshot(page.file, Artefacts() + "/alert-page-deny.png", "1100,760");
}

TEST(AlertPageBrowser, HostileSubject_ShowsAsText) {
  const std::string hostile = "<script>document.title='owned'</script> \"Q\" & 'A'";
  const RenderedPage page = Render("alert-page-hostile", hostile, "allow", kContinue);
  ExpectNoMarksLeft(page);
  // Only the probe runs: the subject's script is text in the page.
  EXPECT_EQ(page.probe.values.at("scripts"), "0");
  EXPECT_EQ(FromBase64(page.probe.values.at("subject")), hostile);
  EXPECT_EQ(FromBase64(page.probe.values.at("issuer")), "Example Issuing CA 2");
  EXPECT_EQ(page.dom.find("owned</title>"), std::string::npos);
  Screenshot(page.file, Artefacts() + "/alert-page-hostile.png", "1100,760");
}

}  // namespace

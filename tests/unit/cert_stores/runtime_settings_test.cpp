// The runtime trust settings files on real files in a temporary folder, read back by the programs
// that read them on a machine: dash for the profile script, systemd's environment generator for
// the environment.d file.
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cert_stores/conversions/cert_conversions.h"
#include "cert_stores/runtime/runtime_paths.h"
#include "cert_stores/runtime/runtime_settings.h"
#include "support/cert_factory.h"
#include "support/clean_command.h"
#include "support/scratch.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

constexpr char kBundle[] = "/etc/ssl/certs/ca-certificates.crt";
constexpr char kGenerator[] =
    "/usr/lib/systemd/user-environment-generators/"
    "30-systemd-environment-d-generator";

class RuntimeSettingsTest : public ::testing::Test {
 protected:
  // The value each variable has in what the file's reader prints, given `environment`.
  std::vector<std::string> Values(const RuntimeSettingsFile& file,
                                  const std::vector<std::string>& environment) {
    std::vector<std::string> argv;
    if (file.format == RuntimeSettingsFormat::kShell) {
      std::string script = ". " + file.path;
      for (const std::string_view variable : kRuntimeTrustVariables) {
        script += "; printf '%s\\n' \"$" + std::string(variable) + "\"";
      }
      argv = {"/bin/sh", "-c", script};
    } else {
      argv = {kGenerator};
    }
    const tti::test::CommandResult result = tti::test::RunCommand(argv, environment);
    EXPECT_EQ(result.exitCode, 0) << result.output;
    if (file.format == RuntimeSettingsFormat::kShell) {
      return Lines(result.output);
    }
    // The generator prints the whole resulting environment: pick ours out, in our order.
    std::vector<std::string> values;
    for (const std::string_view variable : kRuntimeTrustVariables) {
      const std::string prefix = std::string(variable) + "=";
      std::string value = "(unset)";
      for (const std::string& line : Lines(result.output)) {
        if (line.compare(0, prefix.size(), prefix) == 0) {
          value = line.substr(prefix.size());
        }
      }
      values.push_back(value);
    }
    return values;
  }

  static std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    for (size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', start)) {
      lines.push_back(text.substr(start, end - start));
      start = end + 1;
    }
    return lines;
  }

  tti::test::TempDir m_temp{"/dev/shm"};
  // The generator reads $XDG_CONFIG_HOME/environment.d besides the machine's own folders.
  const std::string m_environmentDir = m_temp.path() + "/environment.d";
  const RuntimeSettingsFile m_shell{m_temp.path() + "/runtimes.sh", RuntimeSettingsFormat::kShell};
  const RuntimeSettingsFile m_environment{m_environmentDir + "/runtimes.conf",
                                          RuntimeSettingsFormat::kEnvironmentDir};
  const std::vector<Certificate> m_root{
      {"root", tti::test::MakeRootCertificate("Runtime Root").Der()}};
  RuntimeTrustSettings m_settings;
};

// Each reader gives every variable the bundle, except one that someone set before: that one keeps
// its value.
TEST_F(RuntimeSettingsTest, Readers_UnsetVariablesGetTheBundle_SetOnesAreKept) {
  ASSERT_EQ(::mkdir(m_environmentDir.c_str(), 0755), 0);
  ASSERT_EQ(m_settings.Write(m_shell, kBundle, m_root), 0);
  ASSERT_EQ(m_settings.Write(m_environment, kBundle, m_root), 0);
  const std::vector<std::string> byTheModule(kRuntimeTrustVariables.size(), kBundle);
  std::vector<std::string> someoneElse = byTheModule;
  someoneElse[0] = "/srv/company-roots.pem";
  someoneElse[2] = "/home/dev/pip-roots.pem";
  const std::string config = "XDG_CONFIG_HOME=" + m_temp.path();
  for (const RuntimeSettingsFile& file : {m_shell, m_environment}) {
    EXPECT_EQ(Values(file, {config}), byTheModule) << file.path;
    EXPECT_EQ(Values(file, {config, "NODE_EXTRA_CA_CERTS=" + someoneElse[0],
                            "PIP_CERT=" + someoneElse[2]}),
              someoneElse)
        << file.path;
    struct stat status {};
    ASSERT_EQ(::stat(file.path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0644u);
  }
}

// A second write changes nothing; a folder the machine does not have is not made, one behind a
// link is written into; bytes that are not one certificate write and remove nothing; a link at
// the file's name is replaced, never followed; removal takes the file and says when there was
// none.
TEST_F(RuntimeSettingsTest, WriteAndRemove_TouchOnlyTheFileItself) {
  const std::vector<Certificate> garbage{{"bad", RawCert{0x30, 0x03, 0x02, 0x01}}};
  EXPECT_EQ(m_settings.Write(m_shell, kBundle, garbage), kNotOneCertificate);
  EXPECT_NE(::access(m_shell.path.c_str(), F_OK), 0);

  const std::string victim = m_temp.path() + "/victim";
  tti::test::WriteText(victim, "not to be touched\n");
  ASSERT_EQ(::symlink(victim.c_str(), m_shell.path.c_str()), 0);
  ASSERT_EQ(m_settings.Write(m_shell, kBundle, m_root), 0);
  EXPECT_EQ(tti::test::ReadText(victim), "not to be touched\n");
  EXPECT_TRUE(RuntimeTrustSettings::Holds(m_shell, kBundle));
  struct stat before {};
  ASSERT_EQ(::stat(m_shell.path.c_str(), &before), 0);
  EXPECT_EQ(m_settings.Write(m_shell, kBundle, m_root), 1);
  struct stat after {};
  ASSERT_EQ(::stat(m_shell.path.c_str(), &after), 0);
  EXPECT_EQ(after.st_ino, before.st_ino);
  EXPECT_FALSE(RuntimeTrustSettings::Holds(m_shell, "/etc/pki/tls/certs/ca-bundle.crt"));

  EXPECT_EQ(m_settings.Write(m_environment, kBundle, m_root), 1);  // no environment.d here
  EXPECT_NE(::access(m_environmentDir.c_str(), F_OK), 0);
  // A folder that is a link (a managed /etc) is written through.
  ASSERT_EQ(::mkdir((m_temp.path() + "/real").c_str(), 0755), 0);
  ASSERT_EQ(::symlink("real", m_environmentDir.c_str()), 0);
  EXPECT_EQ(m_settings.Write(m_environment, kBundle, m_root), 0);
  EXPECT_TRUE(RuntimeTrustSettings::Holds(
      {m_temp.path() + "/real/runtimes.conf", RuntimeSettingsFormat::kEnvironmentDir}, kBundle));

  EXPECT_EQ(m_settings.Remove(m_shell, garbage), kNotOneCertificate);
  EXPECT_EQ(::access(m_shell.path.c_str(), F_OK), 0);
  EXPECT_EQ(m_settings.Remove(m_shell, m_root), 0);
  EXPECT_NE(::access(m_shell.path.c_str(), F_OK), 0);
  EXPECT_EQ(m_settings.Remove(m_shell, m_root), 1);
  EXPECT_EQ(tti::test::ReadText(victim), "not to be touched\n");
}

}  // namespace
}  // namespace qel::tcp_traffic_interceptor::cert_stores

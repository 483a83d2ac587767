#include "cert_stores/runtime/runtime_settings.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <stdexcept>

#include "cert_stores/conversions/cert_conversions.h"
#include "cert_stores/openssl/file_target.h"
#include "cert_stores/openssl/store_paths.h"
#include "cert_stores/runtime/runtime_paths.h"
#include "orv/report_exception.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

result_t FromErrno() { return orv::ResultFromErrno(static_cast<uint32_t>(errno)); }

NativePath FileIn(std::string_view directory, std::string_view extension) {
  NativePath path(directory);
  path += '/';
  path += kCertificatePrefix;
  path += kRuntimeSettingsStem;
  path += extension;
  return path;
}

// The folder a file of `path` goes into, links resolved; empty when there is no such folder.
NativePath ResolvedFolderOf(const NativePath& path) {
  char resolved[PATH_MAX + 1];
  struct stat status {};
  if (::realpath(ParentOf(path).c_str(), resolved) == nullptr || ::stat(resolved, &status) != 0 ||
      !S_ISDIR(status.st_mode)) {
    return {};
  }
  return resolved;
}

}  // namespace

std::vector<RuntimeSettingsFile> RuntimeTrustSettings::Files() {
  return {{FileIn(kProfileDirectory, ".sh"), RuntimeSettingsFormat::kShell},
          {FileIn(kEnvironmentDirectory, ".conf"), RuntimeSettingsFormat::kEnvironmentDir}};
}

result_t RuntimeTrustSettings::FindSystemBundle(NativePath& bundle) {
  for (const std::string_view candidate : kFixedBundleFiles) {
    struct stat status {};
    if (::stat(std::string(candidate).c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
      bundle = candidate;
      return orv::errors::kOk;
    }
  }
  return orv::ResultFromErrno(ENOENT);
}

std::string RuntimeTrustSettings::Text(RuntimeSettingsFormat format, const NativePath& bundle) {
  const bool shell = format == RuntimeSettingsFormat::kShell;
  std::string text =
      "# Written by Morvane Shield while its root certificate is installed, removed with it.\n"
      "# Runtimes with root lists of their own read the system bundle; a value set before is "
      "kept.\n";
  for (const std::string_view variable : kRuntimeTrustVariables) {
    const std::string name(variable);
    // The bundle path is one of the fixed candidates: no character in it needs quoting.
    const std::string value = "${" + name + ":-" + bundle + "}";
    text += shell ? "export " + name + "=\"" + value + "\"\n" : name + "=" + value + "\n";
  }
  return text;
}

bool RuntimeTrustSettings::Holds(const RuntimeSettingsFile& file, const NativePath& bundle) {
  std::vector<uint8_t> content;
  const std::string text = Text(file.format, bundle);
  return ORV_SUCCEEDED(tools::ReadFile(file.path, content)) &&
         std::string(content.begin(), content.end()) == text;
}

result_t RuntimeTrustSettings::Write(const RuntimeSettingsFile& file, const NativePath& bundle,
                                     const std::vector<Certificate>& certificates) const {
  if (const result_t checked = CheckOneCertificateEach(certificates); ORV_FAILED(checked)) {
    return checked;
  }
  const NativePath directory = ResolvedFolderOf(file.path);
  if (directory.empty() || Holds(file, bundle)) {
    return orv::errors::kFalse;
  }
  const NativePath target = directory + file.path.substr(file.path.rfind('/'));
  const std::string text = Text(file.format, bundle);
  try {
    FileTarget temporary(directory);
    temporary.Write(std::vector<uint8_t>(text.begin(), text.end()));
    // Replaces whatever has the name (a link too, never what it points at).
    if (::rename(temporary.path.c_str(), target.c_str()) != 0) {
      return FromErrno();
    }
    temporary.path.clear();
  } catch (const std::runtime_error&) {
    return orv::ReportCurrentException(nullptr, "RuntimeTrustSettings::Write");
  }
  return orv::errors::kOk;
}

result_t RuntimeTrustSettings::Remove(const RuntimeSettingsFile& file,
                                      const std::vector<Certificate>& certificates) const {
  if (const result_t checked = CheckOneCertificateEach(certificates); ORV_FAILED(checked)) {
    return checked;
  }
  if (::unlink(file.path.c_str()) != 0) {
    return errno == ENOENT ? orv::errors::kFalse : FromErrno();
  }
  return orv::errors::kOk;
}

}  // namespace qel::tcp_traffic_interceptor::cert_stores

#include "store_report.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include <boost/filesystem.hpp>

#include "cert_stores/conversions/cert_conversions.h"
#include "cert_stores/java/java_keystore_storage.h"
#include "cert_stores/nss/nss3_storage.h"
#include "cert_stores/openssl/openssl_storage.h"
#include "cert_stores/openssl/store_discovery.h"
#include "cert_stores/openssl/store_paths.h"
#include "cert_stores/runtime/runtime_settings.h"

namespace module_host {
namespace {

namespace stores = qel::tcp_traffic_interceptor::cert_stores;
namespace fs = boost::filesystem;
using nlohmann::json;

bool Holds(const std::vector<stores::RawCert>& held, const std::vector<uint8_t>& certificate) {
  return std::find(held.begin(), held.end(), certificate) != held.end();
}

std::string ReadLink(const std::string& path) {
  boost::system::error_code error;
  const fs::path target = fs::read_symlink(path, error);
  return error ? std::string() : target.string();
}

// Product files of the anchor directory in use, each with whether it is the certificate's PEM.
void AddAnchors(const std::vector<uint8_t>& certificate, json& rows) {
  stores::NativePath directory;
  if (ORV_FAILED(stores::FindAnchorDirectory(directory))) {
    rows.push_back({{"kind", "anchor directory"}, {"path", nullptr}, {"holds", false}});
    return;
  }
  std::vector<uint8_t> pem;
  stores::RawToPem(certificate, pem);
  bool any = false;
  for (const stores::NativePath& file : stores::OpenSslStorage().FindProductFiles(directory)) {
    std::vector<uint8_t> content;
    const bool same = ORV_SUCCEEDED(qel::tools::ReadFile(file, content)) && content == pem;
    rows.push_back({{"kind", "anchor"}, {"path", file}, {"holds", same}});
    any = true;
  }
  if (!any) {
    rows.push_back({{"kind", "anchor directory"}, {"path", directory}, {"holds", false}});
  }
}

// The product's N.pem links and the hash links that point at them.
void AddLinks(json& rows) {
  const std::string directory(stores::kLinkDirectory);
  boost::system::error_code error;
  fs::directory_iterator it(directory, error);
  if (error) {
    return;
  }
  std::vector<std::string> productLinks;
  std::vector<std::pair<std::string, std::string>> hashLinks;
  for (; it != fs::directory_iterator(); it.increment(error)) {
    if (error) {
      break;
    }
    const std::string path = it->path().string();
    const std::string target = ReadLink(path);
    if (target.empty()) {
      continue;
    }
    if (stores::IsProductCertificateFile(path)) {
      productLinks.push_back(path);
    } else if (stores::IsProductCertificateFile(target)) {
      hashLinks.emplace_back(path, target);
    }
  }
  std::sort(productLinks.begin(), productLinks.end());
  std::sort(hashLinks.begin(), hashLinks.end());
  for (const std::string& link : productLinks) {
    rows.push_back({{"kind", "link"}, {"path", link}, {"target", ReadLink(link)}});
  }
  for (const auto& [link, target] : hashLinks) {
    rows.push_back({{"kind", "hash link"}, {"path", link}, {"target", target}});
  }
}

// The runtime trust settings files: whether each is there, and whether it points the runtimes at
// the system bundle as the module writes it.
void AddRuntimeSettings(json& rows) {
  using stores::RuntimeTrustSettings;
  stores::NativePath bundle;
  const bool hasBundle = ORV_SUCCEEDED(RuntimeTrustSettings::FindSystemBundle(bundle));
  for (const stores::RuntimeSettingsFile& file : RuntimeTrustSettings::Files()) {
    struct stat status {};
    const bool present = ::lstat(file.path.c_str(), &status) == 0;
    rows.push_back({{"kind", "runtime settings"},
                    {"path", file.path},
                    {"present", present},
                    {"holds", hasBundle && RuntimeTrustSettings::Holds(file, bundle)}});
  }
}

}  // namespace

json ReportStores(const std::vector<uint8_t>& certificate) {
  json rows = json::array();
  AddAnchors(certificate, rows);
  AddLinks(rows);
  for (const stores::NativePath& bundle : stores::GetBundleFiles()) {
    std::vector<stores::RawCert> held;
    const result_t result = stores::OpenSslStorage().ReadBundle(bundle, held);
    rows.push_back({{"kind", "bundle"},
                    {"path", bundle},
                    {"readable", ORV_SUCCEEDED(result)},
                    {"certificates", held.size()},
                    {"holds", Holds(held, certificate)}});
  }
  for (const stores::NativePath& keystore : stores::GetKeystoreFiles()) {
    stores::Keystore read;
    const result_t result = stores::JavaKeystoreStorage().ReadKeystore(keystore, read);
    std::vector<stores::RawCert> held;
    for (const stores::KeystoreEntry& entry : read.entries) {
      held.push_back(entry.certificate);
    }
    rows.push_back({{"kind", "java keystore"},
                    {"path", keystore},
                    {"readable", ORV_SUCCEEDED(result)},
                    {"entries", read.entries.size()},
                    {"holds", Holds(held, certificate)}});
  }
  for (const stores::Nss3Storage& database : stores::GetNss3Storages()) {
    std::vector<stores::RawCert> held;
    const result_t result = database.GetCertificates(held);
    rows.push_back({{"kind", "nss"},
                    {"path", database.path},
                    {"readable", ORV_SUCCEEDED(result)},
                    {"certificates", held.size()},
                    {"holds", Holds(held, certificate)}});
  }
  AddRuntimeSettings(rows);
  return rows;
}

}  // namespace module_host

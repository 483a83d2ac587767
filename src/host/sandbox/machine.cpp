#include "sandbox/machine.h"

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utmp.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sstream>
#include <stdexcept>

#include <openssl/pem.h>
#include <openssl/x509.h>

#include "cert_stores/conversions/openssl_types.h"
#include "product/product_paths.h"
#include "sandbox/mount_namespace.h"

namespace host::sandbox {
namespace {

namespace stores = qel::tcp_traffic_interceptor::cert_stores;

// The real file is bound read-only over /etc/<name>: take the bind away and write our own.
void ReplaceEtcFile(const std::string& name, const std::string& text) {
  const std::string path = "/etc/" + name;
  ::umount2(path.c_str(), MNT_DETACH);
  ::unlink(path.c_str());
  WriteTextFile(path, text);
}

std::string Run(const std::string& command) {
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(command.c_str(), "r"), ::pclose);
  if (!pipe) {
    throw std::runtime_error("popen " + command);
  }
  std::string output;
  char buffer[4096];
  size_t count = 0;
  while ((count = std::fread(buffer, 1, sizeof(buffer), pipe.get())) > 0) {
    output.append(buffer, count);
  }
  return output;
}

}  // namespace

void WriteAccounts(const std::vector<Account>& accounts) {
  std::string passwd = "root:x:0:0:root:/root:/bin/sh\n";
  std::string group = "root:x:0:\n";
  for (const Account& account : accounts) {
    const std::string id = std::to_string(account.uid);
    passwd += account.name + ":x:" + id + ":" + id + "::" + account.home + ":/bin/sh\n";
    group += account.name + ":x:" + id + ":\n";
    MakeDirectories(account.home);
  }
  ReplaceEtcFile("passwd", passwd);
  ReplaceEtcFile("group", group);
}

void BuildMachine(StoreLayout layout, const std::vector<Account>& accounts) {
  BuildStoreLayout(layout);
  ReplaceEtcFile("nsswitch.conf", "passwd: files\ngroup: files\n");
  ReplaceEtcFile("login.defs", "UID_MIN 1000\n");
  MountTmpfs("/home");
  MountTmpfs("/root");
  MountTmpfs("/var/run");
  WriteTextFile(qel::product::kUtmpPath, "");
  MountProductTree();
  WriteAccounts(accounts);
}

std::string MakeNssDatabase(const std::string& directory) {
  MakeDirectories(directory);
  Run("certutil -N --empty-password -d 'sql:" + directory + "' 2>&1");
  const std::string path = directory + "/cert9.db";
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    throw std::runtime_error("certutil made no " + path);
  }
  return path;
}

std::vector<std::vector<uint8_t>> NssCertificates(const std::string& directory) {
  // "certutil -L" prints a header of three lines, then one nickname and its trust flags a line.
  std::istringstream lines(Run("certutil -L -d 'sql:" + directory + "' 2>/dev/null"));
  std::vector<std::vector<uint8_t>> certificates;
  std::string line;
  for (int header = 0; header < 3 && std::getline(lines, line); ++header) {
  }
  while (std::getline(lines, line)) {
    const size_t end = line.find_last_not_of(' ');
    if (end == std::string::npos) {
      continue;
    }
    const size_t flags = line.find_last_of(' ', end);
    const size_t nameEnd = line.find_last_not_of(' ', flags);
    if (flags == std::string::npos || nameEnd == std::string::npos) {
      continue;
    }
    const std::string nickname = line.substr(0, nameEnd + 1);
    const std::string der =
        Run("certutil -L -r -d 'sql:" + directory + "' -n '" + nickname + "' 2>/dev/null");
    certificates.emplace_back(der.begin(), der.end());
  }
  return certificates;
}

std::vector<std::vector<uint8_t>> BundleCertificates(const std::string& path) {
  const std::string text = ReadTextFile(path);
  stores::BioPtr bio(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
  std::vector<std::vector<uint8_t>> certificates;
  while (stores::X509Ptr certificate{PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr)}) {
    unsigned char* der = nullptr;
    const int length = i2d_X509(certificate.get(), &der);
    certificates.emplace_back(der, der + length);
    OPENSSL_free(der);
  }
  return certificates;
}

size_t CountOf(const std::vector<std::vector<uint8_t>>& list, const std::vector<uint8_t>& der) {
  return static_cast<size_t>(std::count(list.begin(), list.end(), der));
}

void LogIn(const std::string& user, int index, short type) {
  if (utmpname(qel::product::kUtmpPath) != 0) {
    throw std::runtime_error("utmpname");
  }
  utmp record{};
  record.ut_type = type;
  record.ut_pid = 3000 + index;
  std::snprintf(record.ut_id, sizeof(record.ut_id), "s%u", static_cast<unsigned>(index) % 100u);
  std::snprintf(record.ut_line, sizeof(record.ut_line), "pts/%d", index);
  std::strncpy(record.ut_user, user.c_str(), sizeof(record.ut_user) - 1);
  setutent();
  const bool written = pututline(&record) != nullptr;
  endutent();
  if (!written) {
    throw std::runtime_error("pututline");
  }
}

}  // namespace host::sandbox

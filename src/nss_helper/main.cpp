// cert-manager: writes the product's certificates into one NSS database for the module, which
// never writes NSS databases itself. Exit status: 0 done, 1 wrong arguments or an empty list,
// 2 the database cannot be used (nothing changed), 3 some certificates failed (the rest done),
// 4 the database is still being set up by the program that made it (nothing changed).
#include <exception>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "arguments.h"
#include "cert_list.h"
#include "cert_stores/nss/database_files.h"
#include "cert_stores/nss/nss_context.h"
#include "database_owner.h"
#include "trust_store.h"

namespace {

using qel::cert_manager::Action;
using qel::cert_manager::HelperArguments;
using qel::tcp_traffic_interceptor::cert_stores::Certificate;
using qel::tcp_traffic_interceptor::cert_stores::DatabaseFiles;
using qel::tcp_traffic_interceptor::cert_stores::NssContext;

constexpr int kDone = 0;
constexpr int kWrongArguments = 1;
constexpr int kDatabaseUnusable = 2;
constexpr int kSomeFailed = 3;
constexpr int kNotReady = 4;

// The directory of the database, whose owner does the work; no "/" means the working directory.
std::string OwnedDirectory(const std::string& storePath) {
  const std::string directory =
      qel::tcp_traffic_interceptor::cert_stores::DatabaseDirectory(storePath);
  return directory.empty() ? "." : directory;
}

int Run(const HelperArguments& arguments, const std::vector<Certificate>& certificates) {
  // Before NSS opens anything: files NSS creates or rewrites then belong to the user whose
  // browser reads them, and a link the user planted leads nowhere root could write.
  qel::cert_manager::BecomeOwner(
      qel::cert_manager::FindDatabaseOwner(OwnedDirectory(arguments.storePath)));
  // Opening for writing makes the files that are missing: only where there are none at all is
  // this run the database's maker.
  const DatabaseFiles files =
      qel::tcp_traffic_interceptor::cert_stores::FindDatabaseFiles(arguments.storePath);
  if (files == DatabaseFiles::kPartial) {
    throw qel::cert_manager::DatabaseNotReady("the database " + arguments.storePath +
                                              " is still being made; nothing was changed");
  }
  std::optional<NssContext> context;
  try {
    context.emplace(arguments.storePath, false);
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(std::string(error.what()) + ": " + qel::cert_manager::LastNssError());
  }
  // Made after the context: the slot is released before NSS shuts down.
  qel::cert_manager::TrustStore store(arguments.storePath, files == DatabaseFiles::kNone);
  const int failures = arguments.action == Action::kAdd
                           ? store.AddTrusted(certificates, std::cerr)
                           : store.DeleteByBytes(certificates, std::cerr);
  return failures == 0 ? kDone : kSomeFailed;
}

}  // namespace

int main(int argc, char** argv) {
  HelperArguments arguments;
  try {
    arguments = qel::cert_manager::ParseArguments(argc, argv);
  } catch (const std::invalid_argument& error) {
    std::cerr << "cert-manager: " << error.what() << "\n" << qel::cert_manager::UsageText();
    return kWrongArguments;
  }
  const std::vector<Certificate> certificates = qel::cert_manager::ReadCertList(arguments.certList);
  if (certificates.empty()) {
    std::cerr << "cert-manager: no certificate in --certlist\n";
    return kWrongArguments;
  }
  try {
    return Run(arguments, certificates);
  } catch (const qel::cert_manager::DatabaseNotReady& error) {
    std::cerr << "cert-manager: " << error.what() << "\n";
    return kNotReady;
  } catch (const std::exception& error) {
    std::cerr << "cert-manager: " << error.what() << "\n";
    return kDatabaseUnusable;
  }
}

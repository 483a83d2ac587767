#pragma once

#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "cert_stores/conversions/certificate.h"
#include "cert_stores/nss/nss_types.h"

namespace qel::cert_manager {

using tcp_traffic_interceptor::cert_stores::Certificate;
using tcp_traffic_interceptor::cert_stores::SlotPtr;

// A database whose maker has not finished setting it up: nothing was written to it.
class DatabaseNotReady final : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The writes of the helper on the internal slot of an open NSS context. Single-threaded: the
// helper does one store per run.
class TrustStore final {
 public:
  // Takes the internal key slot of the open context and logs in to it, before anything is
  // written. A token that still needs its first password belongs to the program setting it up:
  // it gets the empty password only when this run has just made the database (`madeHere`),
  // otherwise DatabaseNotReady is thrown. A password that is not empty cannot be given by the
  // helper: std::runtime_error.
  TrustStore(const std::string& storePath, bool madeHere);
  TrustStore(const TrustStore&) = delete;
  TrustStore& operator=(const TrustStore&) = delete;

  // Imports each certificate under its name, unless the same bytes are there already, and marks
  // it a trusted authority for TLS servers ("C,,"). Returns how many failed; each failure is
  // written to `errors`, and the others are still done.
  int AddTrusted(const std::vector<Certificate>& certificates, std::ostream& errors);
  // Removes every certificate of the slot whose DER bytes equal one of the list, with its trust.
  // Names are not looked at. Returns how many removals failed.
  int DeleteByBytes(const std::vector<Certificate>& certificates, std::ostream& errors);

 private:
  void LogIn(const std::string& storePath, bool madeHere);

  SlotPtr m_slot;
};

// The name and text of NSS's last error of this thread.
std::string LastNssError();

}  // namespace qel::cert_manager

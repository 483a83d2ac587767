#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "cert_stores/conversions/certificate.h"
#include "cert_stores/nss/nss_types.h"

namespace qel::cert_manager {

using tcp_traffic_interceptor::cert_stores::Certificate;
using tcp_traffic_interceptor::cert_stores::SlotPtr;

// The writes of the helper on the internal slot of an open NSS context. Single-threaded: the
// helper does one store per run.
class TrustStore final {
 public:
  // Takes the internal key slot of the open context and logs in to it. A database without any
  // password yet gets the empty one, as certutil does, so that trust can be written; one whose
  // password is not empty cannot be opened by the helper and throws std::runtime_error before
  // anything is written.
  explicit TrustStore(const std::string& storePath);
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
  void LogIn(const std::string& storePath);

  SlotPtr m_slot;
};

// The name and text of NSS's last error of this thread.
std::string LastNssError();

}  // namespace qel::cert_manager

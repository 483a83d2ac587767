#include "trust_store.h"

#include <certdb.h>
#include <prerror.h>
#include <secerr.h>

#include <algorithm>
#include <stdexcept>

namespace qel::cert_manager {
namespace {

using tcp_traffic_interceptor::cert_stores::CertificatePtr;
using tcp_traffic_interceptor::cert_stores::CertListPtr;
using tcp_traffic_interceptor::cert_stores::RawCert;

// The helper never asks for a password: NSS gets none and the login fails.
char* NoPassword(PK11SlotInfo*, PRBool, void*) { return nullptr; }

SECItem ItemOf(const RawCert& raw) {
  return SECItem{siDERCertBuffer, const_cast<unsigned char*>(raw.data()),
                 static_cast<unsigned int>(raw.size())};
}

bool SameBytes(const SECItem& der, const RawCert& raw) {
  return der.len == raw.size() && std::equal(raw.begin(), raw.end(), der.data);
}

}  // namespace

std::string LastNssError() {
  const PRErrorCode code = PORT_GetError();
  const char* name = PR_ErrorToName(code);
  std::string text = name != nullptr ? name : "error " + std::to_string(code);
  const char* words = PR_ErrorToString(code, PR_LANGUAGE_I_DEFAULT);
  if (words != nullptr && *words != '\0') {
    text.append(" (").append(words).append(")");
  }
  return text;
}

TrustStore::TrustStore(const std::string& storePath, bool madeHere)
    : m_slot(PK11_GetInternalKeySlot()) {
  if (!m_slot) {
    throw std::runtime_error("no internal key slot in " + storePath + ": " + LastNssError());
  }
  LogIn(storePath, madeHere);
}

void TrustStore::LogIn(const std::string& storePath, bool madeHere) {
  PK11_SetPasswordFunc(NoPassword);
  if (PK11_NeedUserInit(m_slot.get())) {
    // Its maker is between opening it and choosing a password. NSS would take the certificate
    // but refuse its trust (SEC_ERROR_TOKEN_NOT_LOGGED_IN), and giving the token a password here
    // would make a later `certutil -N` ask for the old one.
    if (!madeHere) {
      throw DatabaseNotReady("the database " + storePath +
                             " is not set up by its maker yet; nothing was changed");
    }
    if (PK11_InitPin(m_slot.get(), nullptr, "") != SECSuccess) {
      throw std::runtime_error("cannot set the empty password of " + storePath + ": " +
                               LastNssError());
    }
  }
  // Without a login the certificate of a database with a password goes in, but its trust, which
  // NSS keeps under the password's integrity key, does not.
  if (!PK11_NeedLogin(m_slot.get()) || PK11_IsLoggedIn(m_slot.get(), nullptr)) {
    return;
  }
  if (PK11_CheckUserPassword(m_slot.get(), "") == SECSuccess) {
    return;
  }
  throw std::runtime_error("the database " + storePath +
                           " is protected by a password; nothing was changed");
}

int TrustStore::AddTrusted(const std::vector<Certificate>& certificates, std::ostream& errors) {
  CERTCertTrust trust{};
  // "C" in the first column: a trusted authority for TLS servers. The other columns (mail, code
  // signing) stay empty; browsers look at the first only.
  CERT_DecodeTrustString(&trust, "C,,");
  int failures = 0;
  for (const Certificate& certificate : certificates) {
    SECItem der = ItemOf(certificate.raw);
    CertificatePtr held(PK11_FindCertFromDERCertItem(m_slot.get(), &der, nullptr));
    if (!held) {
      held.reset(
          CERT_NewTempCertificate(CERT_GetDefaultCertDB(), &der, nullptr, PR_FALSE, PR_TRUE));
      if (!held || PK11_ImportCert(m_slot.get(), held.get(), CK_INVALID_HANDLE,
                                   certificate.name.c_str(), PR_FALSE) != SECSuccess) {
        errors << "cert-manager: cannot import " << certificate.name << ": " << LastNssError()
               << "\n";
        ++failures;
        continue;
      }
    }
    if (CERT_ChangeCertTrust(CERT_GetDefaultCertDB(), held.get(), &trust) != SECSuccess) {
      errors << "cert-manager: cannot trust " << certificate.name << ": " << LastNssError() << "\n";
      ++failures;
    }
  }
  return failures;
}

int TrustStore::DeleteByBytes(const std::vector<Certificate>& certificates, std::ostream& errors) {
  const CertListPtr list(PK11_ListCertsInSlot(m_slot.get()));
  if (!list) {
    return 0;  // an empty database holds nothing to remove
  }
  int failures = 0;
  for (CERTCertListNode* node = CERT_LIST_HEAD(list.get()); !CERT_LIST_END(node, list.get());
       node = CERT_LIST_NEXT(node)) {
    const bool listed = std::any_of(
        certificates.begin(), certificates.end(),
        [node](const Certificate& item) { return SameBytes(node->cert->derCert, item.raw); });
    if (listed && SEC_DeletePermCertificate(node->cert) != SECSuccess) {
      errors << "cert-manager: cannot remove "
             << (node->cert->nickname != nullptr ? node->cert->nickname : "a certificate") << ": "
             << LastNssError() << "\n";
      ++failures;
    }
  }
  return failures;
}

}  // namespace qel::cert_manager

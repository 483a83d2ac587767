#include "sandbox/certificates.h"

#include <openssl/ec.h>
#include <openssl/x509v3.h>

#include <stdexcept>

namespace host::sandbox {
namespace {

using namespace qel::tcp_traffic_interceptor::cert_stores;

void Require(bool condition, const char* what) {
  if (!condition) {
    throw std::runtime_error(std::string("certificate factory: ") + what);
  }
}

void AddExtension(X509* certificate, X509* issuer, int nid, const char* value) {
  X509V3_CTX context;
  X509V3_set_ctx_nodb(&context);
  X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
  X509ExtensionPtr extension(X509V3_EXT_conf_nid(nullptr, &context, nid, value));
  Require(extension && X509_add_ext(certificate, extension.get(), -1) == 1, value);
}

SandboxCertificate Make(const std::string& commonName, const SandboxCertificate* issuer) {
  static long serial = 1;
  SandboxCertificate made{X509Ptr(X509_new()), EvpPkeyPtr(EVP_EC_gen("P-256"))};
  Require(made.x509 && made.key, "allocation");
  X509* x509 = made.x509.get();
  Require(X509_set_version(x509, 2) == 1, "version");
  ASN1_INTEGER_set(X509_get_serialNumber(x509), serial++);
  X509_gmtime_adj(X509_getm_notBefore(x509), -3600);
  X509_gmtime_adj(X509_getm_notAfter(x509), 3600L * 24 * 365);
  X509_NAME* name = X509_get_subject_name(x509);
  X509_NAME_add_entry_by_txt(name, "O", MBSTRING_ASC,
                             reinterpret_cast<const unsigned char*>("tti tests"), -1, -1, 0);
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                             reinterpret_cast<const unsigned char*>(commonName.c_str()), -1, -1, 0);
  X509* signer = issuer ? issuer->x509.get() : x509;
  Require(X509_set_issuer_name(x509, X509_get_subject_name(signer)) == 1, "issuer");
  Require(X509_set_pubkey(x509, made.key.get()) == 1, "key");
  AddExtension(x509, signer, NID_subject_key_identifier, "hash");
  if (issuer == nullptr) {
    AddExtension(x509, signer, NID_basic_constraints, "critical,CA:TRUE");
    AddExtension(x509, signer, NID_key_usage, "critical,keyCertSign,cRLSign");
  } else {
    AddExtension(x509, signer, NID_authority_key_identifier, "keyid:always");
    AddExtension(x509, signer, NID_basic_constraints, "critical,CA:FALSE");
    AddExtension(x509, signer, NID_ext_key_usage, "serverAuth");
    AddExtension(x509, signer, NID_subject_alt_name, "IP:127.0.0.1,DNS:localhost");
  }
  EVP_PKEY* signingKey = issuer ? issuer->key.get() : made.key.get();
  Require(X509_sign(x509, signingKey, EVP_sha256()) > 0, "sign");
  return made;
}

}  // namespace

RawCert SandboxCertificate::Der() const {
  const int length = i2d_X509(x509.get(), nullptr);
  RawCert der(static_cast<size_t>(length));
  unsigned char* cursor = der.data();
  i2d_X509(x509.get(), &cursor);
  return der;
}

std::string SandboxCertificate::Pem() const {
  BioPtr bio(BIO_new(BIO_s_mem()));
  PEM_write_bio_X509(bio.get(), x509.get());
  char* data = nullptr;
  const long length = BIO_get_mem_data(bio.get(), &data);
  return std::string(data, static_cast<size_t>(length));
}

std::string SandboxCertificate::KeyPem() const {
  BioPtr bio(BIO_new(BIO_s_mem()));
  PEM_write_bio_PrivateKey(bio.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr);
  char* data = nullptr;
  const long length = BIO_get_mem_data(bio.get(), &data);
  return std::string(data, static_cast<size_t>(length));
}

SandboxCertificate MakeRootCertificate(const std::string& commonName) {
  return Make(commonName, nullptr);
}

SandboxCertificate MakeServerCertificate(const SandboxCertificate& issuer,
                                         const std::string& commonName) {
  return Make(commonName, &issuer);
}

}  // namespace host::sandbox

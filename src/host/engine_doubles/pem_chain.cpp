#include "engine/pem_chain.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <memory>
#include <stdexcept>

namespace engine {
namespace {

struct BioFree {
  void operator()(BIO* bio) const noexcept { BIO_free(bio); }
};
struct X509Free {
  void operator()(X509* certificate) const noexcept { X509_free(certificate); }
};

}  // namespace

std::vector<Der> ReadPemChain(const std::string& pemText) {
  const std::unique_ptr<BIO, BioFree> input(
      BIO_new_mem_buf(pemText.data(), static_cast<int>(pemText.size())));
  if (!input) {
    throw std::runtime_error("cannot read the PEM text");
  }
  std::vector<Der> chain;
  for (;;) {
    std::unique_ptr<X509, X509Free> certificate(
        PEM_read_bio_X509(input.get(), nullptr, nullptr, nullptr));
    if (!certificate) {
      break;
    }
    const int length = i2d_X509(certificate.get(), nullptr);
    if (length <= 0) {
      throw std::runtime_error("a certificate of the chain does not encode");
    }
    Der der(static_cast<size_t>(length));
    unsigned char* cursor = der.data();
    i2d_X509(certificate.get(), &cursor);
    chain.push_back(std::move(der));
  }
  // The end of the text leaves "no start line" in the queue; anything else is a broken block.
  const unsigned long error = ERR_peek_last_error();
  ERR_clear_error();
  if (chain.empty() || (error != 0 && ERR_GET_REASON(error) != PEM_R_NO_START_LINE)) {
    throw std::runtime_error("the PEM text holds no readable certificate chain");
  }
  return chain;
}

}  // namespace engine

#include "certificate_file.h"

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <cstring>
#include <stdexcept>
#include <string_view>

#include "cert_stores/conversions/cert_conversions.h"
#include "cert_stores/conversions/openssl_types.h"
#include "qel/tools/files.h"

namespace module_host {
namespace {

namespace stores = qel::tcp_traffic_interceptor::cert_stores;

// What a file holds besides its certificates: the reason it is refused, empty when it is not.
struct Contents {
  std::vector<stores::RawCert> certificates;
  std::string problem;
};

// "no certificate", "1 certificate", "2 certificates".
std::string Count(size_t number, const std::string& noun) {
  return (number == 0 ? "no" : std::to_string(number)) + " " + noun + (number > 1 ? "s" : "");
}

// Every certificate block in turn; a block that does not decode ends the read.
Contents ReadPem(std::string_view text) {
  Contents contents;
  const stores::BioPtr input(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
  ERR_clear_error();
  for (;;) {
    char* name = nullptr;
    char* header = nullptr;
    unsigned char* data = nullptr;
    long length = 0;
    if (PEM_read_bio(input.get(), &name, &header, &data, &length) == 0) {
      // Running out of blocks is the normal end; anything else is a block that does not decode.
      if (ERR_GET_REASON(ERR_peek_last_error()) != PEM_R_NO_START_LINE) {
        contents.problem = "a PEM block that does not decode";
      }
      ERR_clear_error();
      return contents;
    }
    const bool certificate =
        std::strcmp(name, PEM_STRING_X509) == 0 || std::strcmp(name, PEM_STRING_X509_OLD) == 0;
    stores::RawCert der(data, data + length);
    OPENSSL_free(name);
    OPENSSL_free(header);
    OPENSSL_free(data);
    if (!certificate) {
      continue;
    }
    if (!stores::IsOneDerCertificate(der)) {
      contents.problem = "a certificate block that does not parse";
      return contents;
    }
    contents.certificates.push_back(std::move(der));
  }
}

// Certificates one after the other, as long as they parse; what follows is counted.
Contents ReadDer(const std::vector<uint8_t>& bytes) {
  Contents contents;
  const unsigned char* cursor = bytes.data();
  const unsigned char* const end = bytes.data() + bytes.size();
  while (cursor != end) {
    size_t used = 0;
    const stores::X509Ptr parsed =
        stores::ParseDer(cursor, static_cast<size_t>(end - cursor), &used);
    if (!parsed) {
      const size_t rest = static_cast<size_t>(end - cursor);
      if (!contents.certificates.empty()) {
        contents.problem = Count(contents.certificates.size(), "certificate") + " followed by " +
                           Count(rest, "byte");
      }
      return contents;
    }
    contents.certificates.emplace_back(cursor, cursor + used);
    cursor += used;
  }
  return contents;
}

}  // namespace

std::vector<uint8_t> ReadOneCertificate(const std::string& path) {
  std::vector<uint8_t> content;
  if (ORV_FAILED(qel::tools::ReadFile(path, content))) {
    throw std::runtime_error("cannot read " + path);
  }
  if (content.empty()) {
    throw std::runtime_error(path + ": empty file, expected one certificate");
  }
  const std::string_view text(reinterpret_cast<const char*>(content.data()), content.size());
  Contents contents =
      text.find("-----BEGIN") == std::string_view::npos ? ReadDer(content) : ReadPem(text);
  if (contents.problem.empty() && contents.certificates.size() != 1) {
    contents.problem = Count(contents.certificates.size(), "certificate");
  }
  if (!contents.problem.empty()) {
    throw std::runtime_error(path + ": " + contents.problem + ", expected one certificate");
  }
  return std::move(contents.certificates.front());
}

}  // namespace module_host

#include "cert_stores/conversions/cert_conversions.h"

#include <openssl/bio.h>
#include <openssl/pem.h>

#include <algorithm>
#include <boost/algorithm/string/split.hpp>
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <cstdio>
#include <random>

#include "cert_stores/conversions/openssl_types.h"
#include "orv/check.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

constexpr result_t kFailed = orv::errors::kUnspecified;

BioPtr MemoryBufferOver(const void* data, size_t size) {
  return BioPtr(BIO_new_mem_buf(data, static_cast<int>(size)));
}

}  // namespace

X509Ptr ParseDer(const uint8_t* data, size_t size, size_t* used) {
  const unsigned char* cursor = data;
  X509Ptr certificate(d2i_X509(nullptr, &cursor, static_cast<long>(size)));
  if (used != nullptr) {
    *used = static_cast<size_t>(cursor - data);
  }
  return certificate;
}

bool IsOneDerCertificate(const RawCert& raw) {
  if (raw.empty()) {
    return false;
  }
  size_t used = 0;
  const X509Ptr certificate = ParseDer(raw.data(), raw.size(), &used);
  return certificate && used == raw.size();
}

result_t CheckOneCertificateEach(const std::vector<Certificate>& certificates) {
  const bool each =
      std::all_of(certificates.begin(), certificates.end(),
                  [](const Certificate& item) { return IsOneDerCertificate(item.raw); });
  return each ? orv::errors::kOk : kNotOneCertificate;
}

result_t RawToPem(const RawCert& raw, std::vector<uint8_t>& pem) {
  if (raw.empty()) {
    return kFailed;
  }
  const X509Ptr certificate = ParseDer(raw);
  if (!certificate) {
    return kFailed;
  }
  BioPtr output(BIO_new(BIO_s_mem()));
  if (!output || PEM_write_bio_X509(output.get(), certificate.get()) == 0) {
    return kFailed;
  }
  const long pending = BIO_ctrl(output.get(), BIO_CTRL_PENDING, 0, nullptr);
  pem.resize(static_cast<size_t>(pending));
  if (BIO_read(output.get(), pem.data(), static_cast<int>(pem.size())) < 1) {
    return kFailed;
  }
  return orv::errors::kOk;
}

result_t PemToRaw(std::string_view pem, RawCert& raw) {
  BioPtr input = MemoryBufferOver(pem.data(), pem.size());
  if (!input) {
    return kFailed;
  }
  X509Ptr certificate(PEM_read_bio_X509(input.get(), nullptr, nullptr, nullptr));
  if (!certificate) {
    return kFailed;
  }
  return X509ToRaw(certificate.get(), raw);
}

result_t X509ToRaw(const X509* certificate, RawCert& raw) {
  const int length = i2d_X509(certificate, nullptr);
  if (length <= 0) {
    return kFailed;
  }
  raw.assign(static_cast<size_t>(length), 0);
  uint8_t* cursor = raw.data();
  return i2d_X509(certificate, &cursor) == length ? orv::errors::kOk : kFailed;
}

result_t GetSubjectHash(const RawCert& raw, uint64_t& hash) {
  const X509Ptr certificate = ParseDer(raw);
  if (!certificate) {
    return kFailed;
  }
  hash = X509_subject_name_hash(certificate.get());
  return orv::errors::kOk;
}

std::string GetHashText(uint64_t hash) {
  char text[24];
  std::snprintf(text, sizeof(text), "%08llx", static_cast<unsigned long long>(hash));
  return text;
}

std::string GetIssuerText(const X509* certificate) {
  BioPtr bio(BIO_new(BIO_s_mem()));
  ORV_CHECK(bio != nullptr, "BIO_s_mem() failed");
  ORV_CHECK(
      X509_NAME_print_ex(bio.get(), X509_get_issuer_name(certificate), 0, XN_FLAG_RFC2253) >= 1,
      "X509_NAME_print_ex() failed");
  BUF_MEM* memory = nullptr;
  ORV_CHECK(BIO_get_mem_ptr(bio.get(), &memory) > 0 && memory != nullptr,
            "BIO_get_mem_ptr() failed");
  return std::string(memory->data, memory->length);
}

std::string GenerateCertificateName() {
  std::random_device device("default");
  boost::uuids::basic_random_generator<std::random_device> generator(device);
  // The first four bytes of the text form: eight lowercase digits, no '-'.
  return std::string(kCertificatePrefix) + boost::uuids::to_string(generator()).substr(0, 8);
}

Certificate MakeCertificate(const RawCert& raw) {
  return Certificate{GenerateCertificateName(), raw};
}

std::string AnchorFileName(std::string_view name) { return std::string(name) + "." + "crt"; }

std::string LinkFileName(std::string_view name) { return std::string(name) + ".pem"; }

bool IsProductCertificateName(std::string_view name) {
  return name.substr(0, kCertificatePrefix.size()) == kCertificatePrefix;
}

bool IsProductCertificateFile(std::string_view path) {
  std::string_view last =
      path.substr(path.rfind('/') == std::string_view::npos ? 0 : path.rfind('/') + 1);
  const size_t dot = last.rfind('.');
  // A name that is only an extension (".crt") keeps it, as a stem would.
  if (dot != std::string_view::npos && dot != 0) {
    last = last.substr(0, dot);
  }
  return IsProductCertificateName(last);
}

std::string MakeCertList(const std::vector<Certificate>& certificates) {
  std::string text;
  std::vector<uint8_t> pem;
  for (const Certificate& certificate : certificates) {
    if (ORV_FAILED(RawToPem(certificate.raw, pem))) {
      continue;
    }
    text.append(certificate.name).append(":");
    text.append(pem.begin(), pem.end()).append(";");
  }
  text.pop_back();
  return text;
}

std::vector<Certificate> ParseCertList(std::string_view text) {
  std::vector<Certificate> certificates;
  std::vector<std::string> pieces;
  boost::algorithm::split(pieces, text, [](char c) { return c == ';'; });
  for (const std::string& piece : pieces) {
    std::vector<std::string> fields;
    boost::algorithm::split(fields, piece, [](char c) { return c == ':'; });
    if (fields.size() != 2) {
      break;
    }
    Certificate certificate{fields[0], {}};
    if (ORV_FAILED(PemToRaw(fields[1], certificate.raw))) {
      continue;
    }
    certificates.push_back(std::move(certificate));
  }
  return certificates;
}

}  // namespace qel::tcp_traffic_interceptor::cert_stores

#pragma once

#include <openssl/x509.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cert_stores/conversions/certificate.h"
#include "cert_stores/conversions/openssl_types.h"
#include "orv/result.h"

namespace qel::tcp_traffic_interceptor::cert_stores {

// What a store answers for bytes it cannot hold as one certificate ("Invalid type"); the store is
// left untouched.
constexpr result_t kNotOneCertificate = orv::errors::kInvalidType;

// The certificate whose DER begins at `data` (at most `size` bytes are read), owned; null when the
// bytes do not begin with one. `used`, when given, gets how many bytes the certificate took. This
// is the one d2i_X509 of the product: every reader of DER certificates parses through it.
X509Ptr ParseDer(const uint8_t* data, size_t size, size_t* used = nullptr);
inline X509Ptr ParseDer(const RawCert& raw) { return ParseDer(raw.data(), raw.size()); }

// Whether `raw` is exactly one DER certificate: not empty, and ParseDer takes every byte. Empty
// bytes, a cut certificate, bytes after one, two in a row, a request or a key are not.
bool IsOneDerCertificate(const RawCert& raw);
// 0 when every item is one DER certificate, otherwise kNotOneCertificate. Every store asks this
// before it changes anything, so bytes a store's own tools could not read never reach it.
result_t CheckOneCertificateEach(const std::vector<Certificate>& certificates);

// Conversions between DER, PEM and X509. Each gives 0 or 0x8000004b for any OpenSSL failure (the
// reason is not looked at); the output of a failed call is unspecified. std::bad_alloc passes.

// DER in, PEM text with header, footer and final newline out.
result_t RawToPem(const RawCert& raw, std::vector<uint8_t>& pem);
// The DER of the first certificate of a PEM text; what follows it is ignored.
result_t PemToRaw(std::string_view pem, RawCert& raw);
// The DER of an object; `raw` gets exactly its size.
result_t X509ToRaw(const X509* certificate, RawCert& raw);
// X509_subject_name_hash of the certificate.
result_t GetSubjectHash(const RawCert& raw, uint64_t& hash);
// Eight lowercase hexadecimal digits, "0"-padded.
std::string GetHashText(uint64_t hash);
// The issuer in RFC 2253 form; throws orv::CheckFailedException.
std::string GetIssuerText(const X509* certificate);

// The prefix and the first eight digits of a random version 4 UUID.
std::string GenerateCertificateName();
// A fresh name and a copy of the bytes.
Certificate MakeCertificate(const RawCert& raw);
// name.crt, the anchor file.
std::string AnchorFileName(std::string_view name);
// name.pem, the link in the link directory.
std::string LinkFileName(std::string_view name);
bool IsProductCertificateName(std::string_view name);
// The stem (last component without its last extension) has the prefix; only text is looked at.
bool IsProductCertificateFile(std::string_view path);

// "name:PEM;name:PEM" for the helper's --certlist; certificates that do not convert are left out.
// The list must give at least one item.
std::string MakeCertList(const std::vector<Certificate>& certificates);
// The inverse: a piece without exactly one ':' ends the parse, one whose PEM does not convert is
// skipped.
std::vector<Certificate> ParseCertList(std::string_view text);

}  // namespace qel::tcp_traffic_interceptor::cert_stores

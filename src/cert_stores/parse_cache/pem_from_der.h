#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "orv/result.h"

namespace qel::tcp_traffic_interceptor::cert_stores {

// Appends the PEM block of DER bytes as PEM_write_bio_X509 writes it for a certificate whose
// encoding they are: the BEGIN line, base64 in lines of 64 characters, the END line, each line
// ending in '\n'. No parse and no check: the bytes are taken as they are.
void EncodeCertificatePem(const uint8_t* der, size_t size, std::string& text);

// Appends exactly what RawToPem gives for the bytes, with its result: by EncodeCertificatePem
// when the shared parse cache knows them for one canonical certificate, through RawToPem
// otherwise (refused, re-encoded or trailing bytes). `text` is unchanged on failure.
result_t AppendCertificatePem(const uint8_t* der, size_t size, std::string& text);

}  // namespace qel::tcp_traffic_interceptor::cert_stores

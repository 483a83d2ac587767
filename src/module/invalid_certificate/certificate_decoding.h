#pragma once

#include "component/traffic_processing/protocollers/ssl/connection_info.h"
#include "orv/result.h"
#include "orv/tracer.h"
#include "qel/raw_cert.h"
#include "untrusted_certificate.h"

namespace qel::tcp_traffic_interceptor {

// The handler's two GetCertificate operations, apart from the handler so that they can be tried on
// their own. `tracer` may be null.

// Subject and issuer common names and notAfter of DER bytes; 0x80000046 (traced) when the bytes
// are no certificate. A missing name is kNotPartOfCertificate, an unreadable date or one before
// 1601 is 0; neither is a failure.
result_t DecodeCertificate(const qel::RawCert& raw, UntrustedCertificate& untrusted,
                           orv::ITracer* tracer);

// The whole record from the engine: verification result, the server certificate's names and date,
// and the PEM of the chain until the enumerator answers anything but 0. A failed engine call
// throws orv::CheckResultFailedException; a failed GetRaw or PEM conversion is traced and returned,
// leaving `cert` untouched.
result_t ReadConnectionCertificate(
    ::traffic_processing::protocollers::ssl::IConnectionInfo* sslConnectionInfo,
    UntrustedCertificate& cert, orv::ITracer* tracer);

}  // namespace qel::tcp_traffic_interceptor

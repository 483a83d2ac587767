#pragma once

#include <array>
#include <string_view>

namespace qel::tcp_traffic_interceptor::cert_stores {

// The fixed places of the machine's OpenSSL trust. The first bundle candidate is the library's
// own default (X509_get_default_cert_file()) and is asked at run time; see GetBundleFiles.
constexpr std::array<std::string_view, 5> kFixedBundleFiles = {
    "/etc/ssl/certs/ca-certificates.crt",
    "/etc/pki/tls/certs/ca-bundle.crt",
    "/etc/ssl/ca-bundle.pem",
    "/etc/pki/tls/cacert.pem",
    "/etc/pki/ca-trust/extracted/pem/tls-ca-bundle.pem",
};

// Each with its final '/', so that lstat passes only for a directory or a link to one.
constexpr std::array<std::string_view, 4> kAnchorDirectories = {
    "/etc/pki/ca-trust/source/anchors/",
    "/etc/pki/CA/certs/",
    "/usr/local/share/ca-certificates/",
    "/usr/share/pki/trust/anchors/",
};

// Its presence says that LinkDirectory holds the hash links; it is never started.
constexpr std::string_view kUpdateToolPath = "/usr/sbin/update-ca-certificates";
constexpr std::string_view kLinkDirectory = "/etc/ssl/certs";

}  // namespace qel::tcp_traffic_interceptor::cert_stores

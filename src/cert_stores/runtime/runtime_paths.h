#pragma once

#include <array>
#include <string_view>

namespace qel::tcp_traffic_interceptor::cert_stores {

// Where new sessions pick up environment variables: login shells source every *.sh of the first
// folder through /etc/profile; the systemd user manager (desktop sessions) reads every *.conf of
// the second through its environment generator.
constexpr std::string_view kProfileDirectory = "/etc/profile.d";
constexpr std::string_view kEnvironmentDirectory = "/etc/environment.d";
// The stem of both file names, after the product's prefix.
constexpr std::string_view kRuntimeSettingsStem = "runtimes";

// The variables that runtimes with their own root lists read for extra or replacing roots, each
// set to the system bundle unless it is set already (the root README says why these).
constexpr std::array<std::string_view, 5> kRuntimeTrustVariables = {
    "NODE_EXTRA_CA_CERTS",  // Node.js: added to its compiled-in roots
    "NPM_CONFIG_CAFILE",    // npm's cafile setting
    "PIP_CERT",             // pip's --cert (its vendored certifi otherwise)
    "REQUESTS_CA_BUNDLE",   // requests (certifi otherwise)
    "SSL_CERT_FILE",        // httpx (certifi otherwise); OpenSSL's own default file
};

}  // namespace qel::tcp_traffic_interceptor::cert_stores

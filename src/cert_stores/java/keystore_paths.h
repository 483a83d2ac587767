#pragma once

#include <array>
#include <string_view>

namespace qel::tcp_traffic_interceptor::cert_stores {

// The machine-wide Java keystores: Debian-like machines first, then Fedora-like ones. Each JDK's
// lib/security/cacerts normally links to one of them.
constexpr std::array<std::string_view, 2> kFixedKeystoreFiles = {
    "/etc/ssl/certs/java/cacerts",
    "/etc/pki/ca-trust/extracted/java/cacerts",
};

// Where JDKs are installed; a JDK that ships its own keystore has it as a regular file at
// <jdk>/kJdkKeystorePath.
constexpr std::string_view kJdkDirectory = "/usr/lib/jvm";
constexpr std::string_view kJdkKeystorePath = "lib/security/cacerts";

// The store password both distributions give their keystores.
constexpr std::string_view kKeystorePassword = "changeit";

}  // namespace qel::tcp_traffic_interceptor::cert_stores

#pragma once

// ============================================================================================
// Fixed texts of the certificate manager's trace lines and messages.
// These texts are the product's own lines, fixed byte for byte on purpose: tools and people read
// them as they have always been written. The misspellings, the odd signature spellings and the
// line that carries another step's result code are deliberate: do not correct them.
// The golden trace tests compare whole lines against their own literal copies.
// ============================================================================================

namespace qel::tcp_traffic_interceptor::cert_manager_texts {

// Entry lines, one per operation, at detail level.
constexpr const char* kFinalConstruct =
    "result_t qel::tcp_traffic_interceptor::CertificateManager::FinalConstruct()";
constexpr const char* kFinalRelease =
    "void qel::tcp_traffic_interceptor::CertificateManager::FinalRelease()";
// "> >" with the blank, as the line has always shown the nested template.
constexpr const char* kFindParentCertificates =
    "virtual result_t "
    "qel::tcp_traffic_interceptor::CertificateManager::FindParentCertificates(app_ctrl::"
    "IProcess*, const const_blob_range_t&, "
    "orv::types::vector_t<orv::types::vector_t<unsigned char> >&) const";
constexpr const char* kInstall =
    "virtual result_t qel::tcp_traffic_interceptor::CertificateManager::Install(const RawCert&)";
constexpr const char* kUninstall =
    "virtual result_t qel::tcp_traffic_interceptor::CertificateManager::Uninstall(const "
    "RawCert&)";
constexpr const char* kLoadCertificates =
    "result_t qel::tcp_traffic_interceptor::CertificateManagerImpl::LoadCertificates()";
constexpr const char* kOnEvent =
    "virtual result_t "
    "qel::tcp_traffic_interceptor::CertificateManagerImpl::OnEvent(const qel::InotifyEvent&)";
// A compiler-made lambda name, the source of the "user home directory ... is added" line.
constexpr const char* kNewHomeLambda =
    "qel::tcp_traffic_interceptor::CertificateManagerImpl::OnEvent(const "
    "qel::InotifyEvent&)::<lambda(const auto:7&)> [with auto:7 = qel::QelUser]";

// The expressions failed subscriptions name, spelled as the calls have always read (the masks as
// numbers), not as this code makes them.
constexpr const char* kSubscribeLoginsExpression =
    "m_eventsProvider->Subscribe(this, UtmpPath, 0x00000002)";
constexpr const char* kSubscribeDirectoryExpression =
    "m_eventsProvider->Subscribe(this, path, 0x00000100)";
constexpr const char* kSubscribeStoreExpression =
    "m_eventsProvider->Subscribe(this, info.path, configFlags)";

// Messages of the exceptions a missing host service gives at construction.
constexpr const char* kNoTrustedCertificatesProvider =
    "Cannot get ITrustedCertificatesProvider interface";
constexpr const char* kNoInotifyEventsProvider = "Cannot get IInotifyEventsProvider interface";

// Warning prefixes, followed by the result.
// Misspelled "opessl", kept.
constexpr const char* kOpensslReadFailed = "Cannot get certificates from opessl storage: ";
// "Nss3Storage storage", the word twice, kept.
constexpr const char* kNss3ReadFailed = "Cannot get certificates from Nss3Storage storage: ";
// Followed by the store's path, ": " and the OpenSSL step's result, not this store's: the wrong
// code is deliberate.
constexpr const char* kNss3DeleteFailed = "Cannot delete certificate from: ";

}  // namespace qel::tcp_traffic_interceptor::cert_manager_texts

#pragma once

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <memory>

namespace qel::tcp_traffic_interceptor::cert_stores {

// One owning alias per OpenSSL type, each freed by its own function.
template <class T, void (*Free)(T*)>
struct OpenSslDeleter {
  void operator()(T* object) const noexcept { Free(object); }
};

inline void FreeBio(BIO* bio) { BIO_free(bio); }
inline void FreeX509Stack(STACK_OF(X509) * stack) { sk_X509_pop_free(stack, X509_free); }
inline void FreeX509InfoStack(STACK_OF(X509_INFO) * stack) {
  sk_X509_INFO_pop_free(stack, X509_INFO_free);
}

using BioPtr = std::unique_ptr<BIO, OpenSslDeleter<BIO, FreeBio>>;
using X509Ptr = std::unique_ptr<X509, OpenSslDeleter<X509, X509_free>>;
using X509NamePtr = std::unique_ptr<X509_NAME, OpenSslDeleter<X509_NAME, X509_NAME_free>>;
using X509ExtensionPtr =
    std::unique_ptr<X509_EXTENSION, OpenSslDeleter<X509_EXTENSION, X509_EXTENSION_free>>;
using EvpPkeyPtr = std::unique_ptr<EVP_PKEY, OpenSslDeleter<EVP_PKEY, EVP_PKEY_free>>;
using EvpPkeyCtxPtr =
    std::unique_ptr<EVP_PKEY_CTX, OpenSslDeleter<EVP_PKEY_CTX, EVP_PKEY_CTX_free>>;
using EvpMdCtxPtr = std::unique_ptr<EVP_MD_CTX, OpenSslDeleter<EVP_MD_CTX, EVP_MD_CTX_free>>;
using EvpMdPtr = std::unique_ptr<EVP_MD, OpenSslDeleter<EVP_MD, EVP_MD_free>>;
using X509StackPtr = std::unique_ptr<STACK_OF(X509), OpenSslDeleter<STACK_OF(X509), FreeX509Stack>>;
using X509InfoStackPtr =
    std::unique_ptr<STACK_OF(X509_INFO), OpenSslDeleter<STACK_OF(X509_INFO), FreeX509InfoStack>>;

}  // namespace qel::tcp_traffic_interceptor::cert_stores

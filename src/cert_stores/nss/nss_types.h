#pragma once

#include <cert.h>
#include <pk11pub.h>

#include <memory>

namespace qel::tcp_traffic_interceptor::cert_stores {

// One owning alias per NSS type, each released by its own function. Every one of them must be
// gone before the context that made it is shut down: NSS refuses to shut down (SEC_ERROR_BUSY)
// while a certificate or slot reference lives, and then keeps the old database open.
template <class T, void (*Free)(T*)>
struct NssDeleter {
  void operator()(T* object) const noexcept { Free(object); }
};

using CertListPtr = std::unique_ptr<CERTCertList, NssDeleter<CERTCertList, CERT_DestroyCertList>>;
using CertificatePtr =
    std::unique_ptr<CERTCertificate, NssDeleter<CERTCertificate, CERT_DestroyCertificate>>;
using SlotPtr = std::unique_ptr<PK11SlotInfo, NssDeleter<PK11SlotInfo, PK11_FreeSlot>>;

// An arena and an item that own their memory (the item the SECItem record as well).
inline void FreeArena(PLArenaPool* arena) { PORT_FreeArena(arena, PR_FALSE); }
inline void FreeItem(SECItem* item) { SECITEM_FreeItem(item, PR_TRUE); }
using ArenaPtr = std::unique_ptr<PLArenaPool, NssDeleter<PLArenaPool, FreeArena>>;
using ItemPtr = std::unique_ptr<SECItem, NssDeleter<SECItem, FreeItem>>;

}  // namespace qel::tcp_traffic_interceptor::cert_stores

#include "cert_stores/nss/nss3_storage.h"

namespace qel::tcp_traffic_interceptor::cert_stores {

std::vector<Nss3Storage> GetNss3Storages() { return {}; }
std::vector<Nss3Storage> GetUserNss3Storages(const QelUser&) { return {}; }
result_t MakeNss3Storage(const NativePath&, Nss3Storage&) { return orv::errors::kUnspecified; }
std::vector<NativePath> GetWatchDirectories(const NativePath&) { return {}; }
std::vector<NativePath> GetWatchDirectories() { return {}; }

}  // namespace qel::tcp_traffic_interceptor::cert_stores

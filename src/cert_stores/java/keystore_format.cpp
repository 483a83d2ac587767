#include "cert_stores/java/keystore_format.h"

#include <openssl/evp.h>
#include <openssl/sha.h>

#include <algorithm>
#include <stdexcept>

#include "cert_stores/conversions/openssl_types.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

// Mixed into the digest after the password by every JKS implementation.
constexpr std::string_view kDigestPhrase = "Mighty Aphrodite";
constexpr std::string_view kCertificateType = "X.509";

// Reads big-endian fields; every read fails once the bytes run out and stays failed.
class Cursor {
 public:
  Cursor(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}

  bool Read(size_t count, const uint8_t** bytes) {
    if (!m_ok || m_size - m_offset < count) {
      m_ok = false;
      return false;
    }
    *bytes = m_data + m_offset;
    m_offset += count;
    return true;
  }
  uint64_t Number(size_t width) {
    const uint8_t* bytes = nullptr;
    uint64_t value = 0;
    if (Read(width, &bytes)) {
      for (size_t i = 0; i < width; ++i) {
        value = value << 8 | bytes[i];
      }
    }
    return value;
  }
  // A field of `lengthWidth` length bytes, then the bytes.
  std::vector<uint8_t> Counted(size_t lengthWidth) {
    const uint64_t length = Number(lengthWidth);
    const uint8_t* bytes = nullptr;
    return Read(length, &bytes) ? std::vector<uint8_t>(bytes, bytes + length)
                                : std::vector<uint8_t>();
  }
  bool ok() const { return m_ok; }
  size_t offset() const { return m_offset; }

 private:
  const uint8_t* m_data;
  size_t m_size;
  size_t m_offset = 0;
  bool m_ok = true;
};

void PutNumber(std::vector<uint8_t>& out, uint64_t value, size_t width) {
  for (size_t i = width; i-- > 0;) {
    out.push_back(static_cast<uint8_t>(value >> (8 * i)));
  }
}

void PutCounted(std::vector<uint8_t>& out, const void* data, size_t size, size_t lengthWidth) {
  if (lengthWidth == 2 && size > 0xffff) {
    throw std::length_error("keystore text longer than 65535 bytes");
  }
  PutNumber(out, size, lengthWidth);
  const auto* bytes = static_cast<const uint8_t*>(data);
  out.insert(out.end(), bytes, bytes + size);
}

// One certificate of an entry: the type text (version 2 only), then the encoding.
std::vector<uint8_t> ReadCertificate(Cursor& cursor, uint32_t version) {
  if (version == 2) {
    cursor.Counted(2);
  }
  return cursor.Counted(4);
}

// The body of an entry after its date; false for an unknown tag or a short file.
bool ReadBody(Cursor& cursor, uint32_t version, KeystoreEntry& entry) {
  if (entry.tag == kTrustedCertificateTag) {
    entry.certificate = ReadCertificate(cursor, version);
  } else if (entry.tag == kPrivateKeyTag) {
    cursor.Counted(4);
    const uint64_t chain = cursor.Number(4);
    for (uint64_t i = 0; i < chain && cursor.ok(); ++i) {
      ReadCertificate(cursor, version);
    }
  } else {
    return false;
  }
  return cursor.ok();
}

// SHA-1 over the password as UTF-16BE, the phrase and the data; false when OpenSSL fails.
bool Digest(const uint8_t* data, size_t size, std::string_view password,
            std::vector<uint8_t>& digest) {
  std::vector<uint8_t> prefix;
  for (const char character : password) {
    PutNumber(prefix, static_cast<uint8_t>(character), 2);  // UTF-16BE of an ASCII password
  }
  prefix.insert(prefix.end(), kDigestPhrase.begin(), kDigestPhrase.end());
  digest.assign(SHA_DIGEST_LENGTH, 0);
  const EvpMdCtxPtr context(EVP_MD_CTX_new());
  return context && EVP_DigestInit_ex(context.get(), EVP_sha1(), nullptr) == 1 &&
         EVP_DigestUpdate(context.get(), prefix.data(), prefix.size()) == 1 &&
         EVP_DigestUpdate(context.get(), data, size) == 1 &&
         EVP_DigestFinal_ex(context.get(), digest.data(), nullptr) == 1;
}

}  // namespace

result_t ParseKeystore(const std::vector<uint8_t>& bytes, std::string_view password,
                       Keystore& keystore) {
  Cursor cursor(bytes.data(), bytes.size());
  Keystore parsed;
  const uint64_t magic = cursor.Number(4);
  parsed.version = static_cast<uint32_t>(cursor.Number(4));
  if (magic != kKeystoreMagic || (parsed.version != 1 && parsed.version != 2)) {
    return kNotAKeystore;
  }
  const uint64_t count = cursor.Number(4);
  for (uint64_t i = 0; i < count && cursor.ok(); ++i) {
    KeystoreEntry entry;
    entry.tag = static_cast<uint32_t>(cursor.Number(4));
    const std::vector<uint8_t> alias = cursor.Counted(2);
    entry.alias.assign(alias.begin(), alias.end());
    entry.date = static_cast<int64_t>(cursor.Number(8));
    const size_t bodyBegin = cursor.offset();
    if (!ReadBody(cursor, parsed.version, entry)) {
      return kNotAKeystore;
    }
    entry.body.assign(bytes.begin() + bodyBegin, bytes.begin() + cursor.offset());
    parsed.entries.push_back(std::move(entry));
  }
  // Exactly the digest must follow: anything behind it would be lost by a rewrite.
  const size_t dataSize = cursor.offset();
  if (!cursor.ok() || bytes.size() - dataSize != SHA_DIGEST_LENGTH) {
    return kNotAKeystore;
  }
  std::vector<uint8_t> digest;
  if (!Digest(bytes.data(), dataSize, password, digest)) {
    return orv::errors::kUnspecified;
  }
  if (!std::equal(digest.begin(), digest.end(), bytes.begin() + dataSize)) {
    return kKeystoreDigestMismatch;
  }
  keystore = std::move(parsed);
  return orv::errors::kOk;
}

std::vector<uint8_t> SerializeKeystore(const Keystore& keystore, std::string_view password) {
  std::vector<uint8_t> out;
  PutNumber(out, kKeystoreMagic, 4);
  PutNumber(out, keystore.version, 4);
  PutNumber(out, keystore.entries.size(), 4);
  for (const KeystoreEntry& entry : keystore.entries) {
    PutNumber(out, entry.tag, 4);
    PutCounted(out, entry.alias.data(), entry.alias.size(), 2);
    PutNumber(out, static_cast<uint64_t>(entry.date), 8);
    out.insert(out.end(), entry.body.begin(), entry.body.end());
  }
  std::vector<uint8_t> digest;
  if (!Digest(out.data(), out.size(), password, digest)) {
    throw std::runtime_error("Cannot compute the keystore digest");
  }
  out.insert(out.end(), digest.begin(), digest.end());
  return out;
}

KeystoreEntry MakeTrustedEntry(std::string alias, int64_t date, const RawCert& certificate,
                               uint32_t version) {
  KeystoreEntry entry;
  entry.tag = kTrustedCertificateTag;
  entry.alias = std::move(alias);
  entry.date = date;
  entry.certificate = certificate;
  if (version == 2) {
    PutCounted(entry.body, kCertificateType.data(), kCertificateType.size(), 2);
  }
  PutCounted(entry.body, certificate.data(), certificate.size(), 4);
  return entry;
}

}  // namespace qel::tcp_traffic_interceptor::cert_stores

#include "host/trusted_certificates_provider.h"

#include <openssl/err.h>

#include <algorithm>
#include <boost/filesystem.hpp>
#include <new>
#include <utility>

#include "cert_stores/conversions/openssl_types.h"

namespace host {
namespace {

namespace ssl = qel::tcp_traffic_interceptor::cert_stores;
namespace fs = boost::filesystem;

// The subject as the module prints an issuer: X509_NAME_print_ex with XN_FLAG_RFC2253.
bool SubjectText(const X509* certificate, std::string& text) {
  ssl::BioPtr bio(BIO_new(BIO_s_mem()));
  if (!bio ||
      X509_NAME_print_ex(bio.get(), X509_get_subject_name(certificate), 0, XN_FLAG_RFC2253) < 0) {
    return false;
  }
  BUF_MEM* memory = nullptr;
  if (BIO_get_mem_ptr(bio.get(), &memory) <= 0 || memory == nullptr) {
    return false;
  }
  text.assign(memory->data, memory->length);
  return true;
}

// Every certificate of one PEM file, with its subject; nothing for a file without one.
void ReadPemFile(const std::string& path,
                 std::map<std::string, std::vector<std::vector<unsigned char>>>& bySubject) {
  ssl::BioPtr file(BIO_new_file(path.c_str(), "r"));
  if (!file) {
    ERR_clear_error();
    return;
  }
  for (;;) {
    ssl::X509Ptr certificate(PEM_read_bio_X509(file.get(), nullptr, nullptr, nullptr));
    if (!certificate) {
      break;
    }
    std::string subject;
    const int length = i2d_X509(certificate.get(), nullptr);
    if (length <= 0 || !SubjectText(certificate.get(), subject)) {
      continue;
    }
    std::vector<unsigned char> der(static_cast<size_t>(length));
    unsigned char* out = der.data();
    i2d_X509(certificate.get(), &out);
    auto& list = bySubject[subject];
    if (std::find(list.begin(), list.end(), der) == list.end()) {
      list.push_back(std::move(der));
    }
  }
  // The end of the file (or garbage) leaves a "no start line" error behind.
  ERR_clear_error();
}

}  // namespace

TrustedCertificatesProvider::TrustedCertificatesProvider(std::string directory)
    : m_directory(std::move(directory)) {
  Reload();
}

void TrustedCertificatesProvider::Reload() {
  std::map<std::string, std::vector<Der>> bySubject;
  bool readable = true;
  if (!m_directory.empty()) {
    boost::system::error_code error;
    fs::directory_iterator entry(m_directory, error);
    // A missing directory holds no certificates; one that cannot be listed cannot answer.
    readable = !error || error == boost::system::errc::no_such_file_or_directory;
    std::vector<std::string> files;
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
      if (fs::is_regular_file(entry->path(), error)) {
        files.push_back(entry->path().string());
      }
      error.clear();
    }
    // Directory order is the file system's: read in name order so that the answer is stable.
    std::sort(files.begin(), files.end());
    for (const std::string& file : files) {
      ReadPemFile(file, bySubject);
    }
  }
  std::lock_guard lock(m_mutex);
  m_bySubject.swap(bySubject);
  m_readable = readable;
}

result_t TrustedCertificatesProvider::GetTrustedCertificates(
    const orv::types::string8_t& issuer, orv::types::vector_t<qel::RawCert>* certificates) {
  if (certificates == nullptr) {
    return orv::errors::kInvalidArgument;
  }
  std::lock_guard lock(m_mutex);
  ++m_lookups;
  if (m_failure != 0) {
    return m_failure;
  }
  if (!m_readable) {
    return orv::errors::kUnspecified;
  }
  const auto found = m_bySubject.find(std::string(issuer.view()));
  if (found == m_bySubject.end()) {
    return orv::errors::kOk;
  }
  try {
    for (const Der& der : found->second) {
      // The caller frees what it gets: every buffer comes from its vector's allocator.
      qel::RawCert raw(certificates->get_allocator());
      raw.reserve(der.size());
      for (const unsigned char byte : der) {
        raw.push_back(byte);
      }
      certificates->push_back(std::move(raw));
    }
  } catch (const std::bad_alloc&) {
    return orv::errors::kOutOfMemory;
  }
  return orv::errors::kOk;
}

size_t TrustedCertificatesProvider::size() const {
  std::lock_guard lock(m_mutex);
  size_t count = 0;
  for (const auto& subject : m_bySubject) {
    count += subject.second.size();
  }
  return count;
}

uint64_t TrustedCertificatesProvider::lookups() const {
  std::lock_guard lock(m_mutex);
  return m_lookups;
}

void TrustedCertificatesProvider::FailWith(result_t result) {
  std::lock_guard lock(m_mutex);
  m_failure = result;
}

}  // namespace host

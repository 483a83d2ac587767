#include "certificate_decoding.h"

#include <gtest/gtest.h>
#include <openssl/asn1.h>
#include <openssl/x509.h>

#include <string>

#include "engine/connections.h"
#include "host/capturing_tracer.h"
#include "host/host_object.h"
#include "invalid_certificate/trace_texts.h"
#include "orv/exception.h"
#include "support/cert_factory.h"
#include "support/scratch.h"

namespace {

using qel::tcp_traffic_interceptor::DecodeCertificate;
using qel::tcp_traffic_interceptor::ReadConnectionCertificate;
using qel::tcp_traffic_interceptor::UntrustedCertificate;
using tti::test::TestCertificate;
namespace texts = qel::tcp_traffic_interceptor::handler_texts;

constexpr result_t kInvalidArgument = static_cast<result_t>(0x80000046u);
constexpr result_t kEngineFailure = static_cast<result_t>(0x80000042u);
constexpr int64_t kTicksPerSecond = 10000000;
constexpr int64_t kUnixEpochTicks = 116444736000000000;

qel::RawCert ToRaw(const TestCertificate& certificate) {
  return tti::test::BytesAs<qel::RawCert>(certificate.Der());
}

// Re-signs after a change, so that the bytes stay a well-formed certificate.
void Resign(const TestCertificate& certificate, const TestCertificate& signer) {
  ASSERT_GT(X509_sign(certificate.x509.get(), signer.key.get(), EVP_sha256()), 0);
}

class CertificateDecodingTest : public ::testing::Test {
 protected:
  CertificateDecodingTest()
      : root(tti::test::MakeRootCertificate("Decoding Test Root")),
        intermediate(tti::test::MakeServerCertificate(root, "Decoding Test Intermediate")),
        server(tti::test::MakeServerCertificate(root, "bad.example")),
        tracer(host::MakeObject<host::CapturingTracer>()) {}

  engine::SslConnectionData Connection() const {
    engine::SslConnectionData data;
    data.domain = "bad.example";
    data.verificationResult = 0x80020003;
    data.serverCertificate = server.Der();
    data.chain.certificates = {server.Der(), intermediate.Der(), root.Der()};
    return data;
  }

  result_t Read(engine::SslConnectionData data, UntrustedCertificate& cert) {
    auto connection = engine::Make<engine::SslConnection>(std::move(data));
    return ReadConnectionCertificate(connection.get(), cert, tracer.get());
  }

  TestCertificate root;
  TestCertificate intermediate;
  TestCertificate server;
  orv::intrusive_ptr<host::CapturingTracer> tracer;
};

TEST_F(CertificateDecodingTest, Decode_ExpiryByCalendarAcrossTheWholeRange) {
  struct Row {
    const char* notAfter;
    uint64_t ticks;
  };
  const Row rows[] = {
      {"16010101000000Z", 0},  // the first tick
      {"16010102000001Z", 86401ULL * kTicksPerSecond},
      {"19700101000000Z", static_cast<uint64_t>(kUnixEpochTicks)},
      {"20000229120000Z", static_cast<uint64_t>(kUnixEpochTicks + 951825600LL * kTicksPerSecond)},
      {"20380119031408Z", static_cast<uint64_t>(kUnixEpochTicks + 2147483648LL * kTicksPerSecond)},
      {"99991231235959Z",
       static_cast<uint64_t>(kUnixEpochTicks + 253402300799LL * kTicksPerSecond)},
  };
  for (const Row& row : rows) {
    ASSERT_EQ(ASN1_TIME_set_string(X509_getm_notAfter(server.x509.get()), row.notAfter), 1);
    Resign(server, root);
    UntrustedCertificate cert;
    ASSERT_EQ(DecodeCertificate(ToRaw(server), cert, tracer.get()), 0) << row.notAfter;
    EXPECT_EQ(cert.expirationDate, row.ticks) << row.notAfter;
    EXPECT_TRUE(cert.pemChain.empty());
  }
}

// A missing common name is seen through the alert page; a long one only here.
TEST_F(CertificateDecodingTest, Decode_LongNamesAreCut) {
  const std::string longName(300, 'n');
  X509_NAME* issuer = X509_NAME_new();
  // A plain UTF8String type skips OpenSSL's 64-character bound of common names.
  X509_NAME_add_entry_by_txt(issuer, "CN", V_ASN1_UTF8STRING,
                             reinterpret_cast<const unsigned char*>(longName.c_str()), -1, -1, 0);
  X509_set_issuer_name(server.x509.get(), issuer);
  X509_NAME_free(issuer);
  Resign(server, root);

  UntrustedCertificate cert;
  ASSERT_EQ(DecodeCertificate(ToRaw(server), cert, tracer.get()), 0);
  EXPECT_EQ(cert.issuer.view(), longName.substr(0, 255));
}

// The names and the verification result reach the page and the events of the handler's tests;
// the order of a chain longer than two only shows here.
TEST_F(CertificateDecodingTest, Connection_ChainEndsAtAnyAnswerButZero) {
  struct Row {
    const char* name;
    size_t certificates;
    result_t failure;
    size_t failAt;
    std::string pem;
  };
  const Row rows[] = {
      {"whole chain, in the engine's order", 3, 0, 0,
       server.Pem() + intermediate.Pem() + root.Pem()},
      // The names come from the server certificate, not from the chain.
      {"empty", 0, 0, 0, ""},
      {"fails at once", 3, kEngineFailure, 0, ""},
      {"fails after the first", 3, kEngineFailure, 1, server.Pem()},
      {"positive answer", 3, 2, 2, server.Pem() + intermediate.Pem()},
  };
  for (const Row& row : rows) {
    engine::SslConnectionData data = Connection();
    data.chain.certificates.resize(row.certificates);
    data.chain.failure = row.failure;
    data.chain.failAt = row.failAt;
    UntrustedCertificate cert;
    cert.pemChain = orv::types::string8_t("stale");
    ASSERT_EQ(Read(data, cert), 0) << row.name;
    EXPECT_EQ(cert.pemChain.view(), row.pem) << row.name;
    EXPECT_EQ(cert.subject.view(), "bad.example") << row.name;
  }
  EXPECT_TRUE(tracer->Texts(300).empty());
}

TEST_F(CertificateDecodingTest, Connection_FailedConversionsAreTracedAndLeaveTheRecord) {
  struct Row {
    const char* name;
    engine::SslConnectionData data;
    result_t result;
    std::string line;
  };
  // "(expression),(ORV_SUCCEEDED(_result)) failed: result = " and the rest.
  const auto failed = [](const char* expression, const std::string& rest) {
    return "(" + std::string(expression) + "),(ORV_SUCCEEDED(_result)) failed: result = " + rest;
  };
  engine::SslConnectionData serverRaw = Connection();
  serverRaw.serverGetRawFailure = kEngineFailure;
  engine::SslConnectionData chainRaw = Connection();
  chainRaw.chain.getRawFailure = kEngineFailure;
  engine::SslConnectionData notPem = Connection();
  notPem.chain.certificates[1] = {0x01, 0x02};
  engine::SslConnectionData badServer = Connection();
  badServer.serverCertificate = {};  // {0x30, 0x00} goes through the module in the handler tests
  const std::string getRaw =
      failed(texts::kGetRawExpression,
             std::string("0x80000042 (Not supported) ") + texts::kNoRawCertificate);
  const Row rows[] = {
      {"server GetRaw", serverRaw, kEngineFailure, getRaw},
      {"chain GetRaw", chainRaw, kEngineFailure, getRaw},
      {"chain PEM", notPem, static_cast<result_t>(0x8000004bu),
       failed(texts::kConvertToPemExpression,
              "0x8000004b (Unspecified error) Cannot convert raw to PEM format")},
      {"server DER", badServer, kInvalidArgument,
       failed(texts::kDecodeExpression, "0x80000046 (Invalid argument) Cannot get cert from raw")},
  };
  for (const Row& row : rows) {
    tracer->Clear();
    UntrustedCertificate cert;
    cert.subject = orv::types::string8_t("untouched");
    EXPECT_EQ(Read(row.data, cert), row.result) << row.name;
    EXPECT_EQ(cert.subject.view(), "untouched") << row.name;
    EXPECT_TRUE(cert.pemChain.empty()) << row.name;
    const auto errors = tracer->Texts(300);
    ASSERT_FALSE(errors.empty()) << row.name;
    EXPECT_NE(errors.back().find(row.line), std::string::npos) << errors.back();
  }
  // The last row's first line: the parse itself.
  const std::string parse = std::string("(") + texts::kParsedCondition + "),(" +
                            texts::kParsedCondition + ") failed: result = false";
  EXPECT_NE(tracer->Texts(300).front().find(parse), std::string::npos);
}

TEST_F(CertificateDecodingTest, Connection_FailedEngineCallsThrowExpressionFailed) {
  using Data = engine::SslConnectionData;
  for (result_t Data::*failing :
       {&Data::getVerificationResultFailure, &Data::getServerCertificateFailure,
        &Data::getCertificateChainFailure}) {
    Data data = Connection();
    data.*failing = kEngineFailure;
    UntrustedCertificate cert;
    try {
      Read(data, cert);
      ADD_FAILURE() << "no exception";
    } catch (const orv::CheckResultFailedException& error) {
      EXPECT_EQ(error.ExtractResult(), kEngineFailure);
      EXPECT_NE(std::string(error.what()).find("Expression failed"), std::string::npos);
    }
    EXPECT_TRUE(cert.subject.empty());
  }
}

}  // namespace

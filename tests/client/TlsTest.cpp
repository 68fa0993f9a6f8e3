#include <gtest/gtest.h>
#include <httplib.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <unistd.h>

#include <cstdio>
#include <thread>

#include "korvane/base/LoopScheduler.h"
#include "korvane/client/Status.h"
#include "korvane/client/http/HttpService.h"
#include "korvane/net/MediaStream.h"
#include "korvane/tests/client/Asking.h"

namespace korvane::test {
namespace {

using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;

/// Signed by itself, for "127.0.0.1" alone, valid for an hour.
Certificate makeCertificate(EVP_PKEY* key) {
    Certificate certificate(X509_new(), X509_free);
    X509_set_version(certificate.get(), 2);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -60);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 3600);
    X509_set_pubkey(certificate.get(), key);
    X509_NAME* name = X509_get_subject_name(certificate.get());
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("camera"), -1, -1, 0);
    X509_set_issuer_name(certificate.get(), name);
    X509_EXTENSION* names = X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, "IP:127.0.0.1");
    X509_add_ext(certificate.get(), names, -1);
    X509_EXTENSION_free(names);
    X509_sign(certificate.get(), key, EVP_sha256());
    return certificate;
}

class TlsTest : public testing::Test {
  protected:
    TlsTest() : server(certificate.get(), key.get()) {
        const int descriptor = mkstemp(file.data());
        FILE* const out = fdopen(descriptor, "w");
        PEM_write_X509(out, certificate.get());
        fclose(out);
        server.Get("/v1/cameras/7", [](const httplib::Request&, httplib::Response& reply) {
            reply.set_content(R"({"id":7})", "application/json");
        });
        server.Get("/film",
                   [](const httplib::Request&, httplib::Response& reply) { reply.set_content("film", "video/mp4"); });
        server.Get("/away", [](const httplib::Request&, httplib::Response& reply) {
            reply.set_redirect("http://127.0.0.1:1/film");
        });
        port = server.bind_to_any_port("127.0.0.1");
        thread = std::thread([this] { server.listen_after_bind(); });
    }

    ~TlsTest() override {
        while (!server.is_running()) std::this_thread::yield();
        server.stop();
        thread.join();
        std::remove(file.c_str());
    }

    std::int32_t statusOf(const HttpOptions& options, const std::string& host) {
        HttpService service(scheduler, options);
        const auto connection = service.makeConnection();
        EXPECT_EQ(connection->openSync("bearer", "https://" + host + ":" + std::to_string(port)), StatusSuccess);
        return lookUp(service, connection, 7).status;
    }

    MediaFault faultOf(const std::string& caFile, const std::string& target) {
        MediaStream stream(scheduler, "https://127.0.0.1:" + std::to_string(port) + target,
                           {std::chrono::seconds(5), std::chrono::seconds(5), caFile});
        std::uint8_t byte = 0;
        stream.read({&byte, 1});
        return stream.fault();
    }

    LoopScheduler scheduler;
    Key key{EVP_RSA_gen(2048), EVP_PKEY_free};
    Certificate certificate = makeCertificate(key.get());
    std::string file = testing::TempDir() + "korvane-ca-XXXXXX";
    httplib::SSLServer server;
    int port = 0;
    std::thread thread;
};

TEST_F(TlsTest, OnlyATrustedCertificateOfThatHostIsTaken) {
    HttpOptions options;
    EXPECT_EQ(statusOf(options, "127.0.0.1"), StatusInsecure);
    options.caFile = file;
    EXPECT_EQ(statusOf(options, "127.0.0.1"), StatusSuccess);
    EXPECT_EQ(statusOf(options, "localhost"), StatusInsecure);
    options.caFile = "/no/such/file";
    EXPECT_EQ(statusOf(options, "127.0.0.1"), StatusInsecure);
}

TEST_F(TlsTest, AFilmComesVerifiedAndStaysEncrypted) {
    EXPECT_EQ(faultOf("", "/film"), MediaFault::Insecure);
    EXPECT_EQ(faultOf(file, "/film"), MediaFault::None);
    EXPECT_EQ(faultOf(file, "/away"), MediaFault::BadAddress);
}

}  // namespace
}  // namespace korvane::test

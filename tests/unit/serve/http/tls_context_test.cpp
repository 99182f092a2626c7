// TLS contexts from PEM texts.
#include "serve/http/tls_context.h"

#include <gmock/gmock.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include "serve/http/settings_error.h"

namespace {

using namespace diskmgt::serve;
using ::testing::HasSubstr;

std::string textOf(BIO* bio) {
    char* bytes = nullptr;
    const long size = BIO_get_mem_data(bio, &bytes);
    std::string text(bytes, static_cast<std::size_t>(size));
    ::BIO_free(bio);
    return text;
}

struct KeyAndCertificate {
    std::string key;
    std::string encryptedKey;
    std::string certificate;
};

/// Signed by itself.
KeyAndCertificate made() {
    EVP_PKEY* const key = EVP_EC_gen("P-256");
    X509* const certificate = ::X509_new();
    (void)::ASN1_INTEGER_set(::X509_get_serialNumber(certificate), 1);
    (void)::X509_gmtime_adj(X509_getm_notBefore(certificate), 0);
    (void)::X509_gmtime_adj(X509_getm_notAfter(certificate), 3600);
    (void)::X509_set_pubkey(certificate, key);
    (void)::X509_sign(certificate, key, ::EVP_sha256());
    const auto write = [](auto&& writer) {
        BIO* const bio = ::BIO_new(::BIO_s_mem());
        EXPECT_EQ(writer(bio), 1);
        return textOf(bio);
    };
    KeyAndCertificate texts;
    texts.key = write(
        [&](BIO* bio) { return ::PEM_write_bio_PKCS8PrivateKey(bio, key, nullptr, nullptr, 0, nullptr, nullptr); });
    char password[] = "password";
    texts.encryptedKey = write([&](BIO* bio) {
        return ::PEM_write_bio_PKCS8PrivateKey(bio, key, ::EVP_aes_128_cbc(), password, 8, nullptr, nullptr);
    });
    texts.certificate = write([&](BIO* bio) { return ::PEM_write_bio_X509(bio, certificate); });
    ::X509_free(certificate);
    ::EVP_PKEY_free(key);
    return texts;
}

class TlsContextTest : public ::testing::Test {
protected:
    static std::string errorOf(const Secrets& secrets) {
        try {
            return makeTlsContext(secrets) ? "no error" : "no TLS";
        } catch (const SettingsError& error) {
            return error.what();
        }
    }
    const KeyAndCertificate own = made();
    const KeyAndCertificate other = made();
};

TEST_F(TlsContextTest, IsMadeFromTexts) {
    EXPECT_EQ(errorOf({}), "no TLS");
    EXPECT_EQ(errorOf({own.certificate, own.key, {}, {}}), "no error");
    EXPECT_EQ(errorOf({own.certificate + other.certificate, own.key, {}, {}}), "no error");
    EXPECT_EQ(errorOf({own.certificate, own.key, other.certificate + own.certificate, {}}), "no error");
}

TEST_F(TlsContextTest, WantsNothingByHalves) {
    EXPECT_EQ(errorOf({own.certificate, {}, {}, {}}), "there is a TLS certificate, but no TLS key");
    EXPECT_EQ(errorOf({{}, own.key, {}, {}}), "there is a TLS key, but no TLS certificate");
    EXPECT_EQ(errorOf({{}, {}, own.certificate, {}}),
              "client certificates need a TLS certificate and key of the server");
}

TEST_F(TlsContextTest, SaysWhichTextCannotBeUsed) {
    EXPECT_THAT(errorOf({"", own.key, {}, {}}), HasSubstr("the TLS certificate is not a certificate in PEM form"));
    EXPECT_THAT(errorOf({own.key, own.key, {}, {}}), HasSubstr("the TLS certificate is not a certificate in PEM form"));
    EXPECT_THAT(errorOf({own.certificate, "", {}, {}}),
                HasSubstr("the TLS key is not a key in PEM form without a password"));
    EXPECT_THAT(errorOf({own.certificate, own.encryptedKey, {}, {}}),
                HasSubstr("the TLS key is not a key in PEM form without a password"));
    EXPECT_THAT(errorOf({own.certificate, other.key, {}, {}}),
                HasSubstr("the TLS key does not belong to the TLS certificate"));
    EXPECT_THAT(errorOf({own.certificate, own.key, "", {}}),
                HasSubstr("the client authorities are not certificates in PEM form"));
    const std::string broken = "-----BEGIN CERTIFICATE-----\nabcd\n-----END CERTIFICATE-----\n";
    EXPECT_THAT(errorOf({own.certificate + broken, own.key, {}, {}}),
                HasSubstr("behind the TLS certificate cannot be read"));
    EXPECT_THAT(errorOf({own.certificate, own.key, own.certificate + broken, {}}), HasSubstr("the client authorities"));
}

TEST_F(TlsContextTest, IsOfNoVersionBefore12) {
    const TlsContext context = makeTlsContext({own.certificate, own.key, {}, {}});
    EXPECT_EQ(SSL_CTX_get_min_proto_version(context.get()), TLS1_2_VERSION);
}

TEST_F(TlsContextTest, CanBeRehearsedWithAndWithoutACertificate) {
    const TlsContext context = makeTlsContext({own.certificate, own.key, other.certificate, {}});
    rehearseHandshakes(context.get());
    rehearseHandshakes(nullptr);
    EXPECT_EQ(::ERR_peek_error(), 0U) << "no error is left behind for the first client";
}

}  // namespace

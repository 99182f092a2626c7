#include "serve/http/tls_context.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <string>

#include "serve/http/settings_error.h"

namespace diskmgt::serve {

namespace {

// Each gives forward secrecy and authenticates what it encrypts. TLS 1.3 has no others.
constexpr const char* kCiphers = "ECDHE+AESGCM:ECDHE+CHACHA20";

template <auto Free>
struct Releaser {
    template <typename T>
    void operator()(T* object) const noexcept {
        (void)Free(object);
    }
};
using Bio = std::unique_ptr<BIO, Releaser<&BIO_free>>;
using Certificate = std::unique_ptr<X509, Releaser<&X509_free>>;
using Key = std::unique_ptr<EVP_PKEY, Releaser<&EVP_PKEY_free>>;
using Session = std::unique_ptr<SSL, Releaser<&SSL_free>>;

[[noreturn]] void fail(const std::string& what) {
    const unsigned long code = ::ERR_peek_last_error();
    const char* const reason = code == 0 ? nullptr : ::ERR_reason_error_string(code);
    ::ERR_clear_error();
    throw SettingsError(what + (reason == nullptr ? std::string() : std::string(" (") + reason + ")"));
}

Bio reading(const std::string& text) { return Bio(::BIO_new_mem_buf(text.data(), static_cast<int>(text.size()))); }

/// An encrypted key is refused; nobody is there to be asked.
int noPassword(char* /*buffer*/, int /*size*/, int /*isForWriting*/, void* /*context*/) { return -1; }

Certificate nextCertificate(BIO* from) {
    Certificate certificate(::PEM_read_bio_X509(from, nullptr, &noPassword, nullptr));
    return certificate;
}

/// Whether reading ended because nothing more was there.
bool isAtEnd() {
    const bool isEnd = ERR_GET_REASON(::ERR_peek_last_error()) == PEM_R_NO_START_LINE;
    if (isEnd) ::ERR_clear_error();
    return isEnd;
}

void useCertificate(SSL_CTX* context, const std::string& text) {
    const Bio bio = reading(text);
    const Certificate own = nextCertificate(bio.get());
    if (!own) fail("the TLS certificate is not a certificate in PEM form");
    if (::SSL_CTX_use_certificate(context, own.get()) != 1) fail("the TLS certificate cannot be used");
    while (const Certificate above = nextCertificate(bio.get()))
        if (::SSL_CTX_add1_chain_cert(context, above.get()) != 1)
            fail("a certificate behind the TLS certificate cannot be used");
    if (!isAtEnd()) fail("a certificate behind the TLS certificate cannot be read");
}

void useKey(SSL_CTX* context, const std::string& text) {
    const Bio bio = reading(text);
    const Key key(::PEM_read_bio_PrivateKey(bio.get(), nullptr, &noPassword, nullptr));
    if (!key) fail("the TLS key is not a key in PEM form without a password");
    if (::SSL_CTX_use_PrivateKey(context, key.get()) != 1 || ::SSL_CTX_check_private_key(context) != 1)
        fail("the TLS key does not belong to the TLS certificate");
}

void askClients(SSL_CTX* context, const std::string& text) {
    const Bio bio = reading(text);
    int count = 0;
    while (const Certificate authority = nextCertificate(bio.get())) {
        if (::X509_STORE_add_cert(::SSL_CTX_get_cert_store(context), authority.get()) != 1 ||
            ::SSL_CTX_add_client_CA(context, authority.get()) != 1)
            fail("a certificate of the client authorities cannot be used");
        ++count;
    }
    if (count == 0 || !isAtEnd()) fail("the client authorities are not certificates in PEM form");
    ::SSL_CTX_set_verify(context, SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr);
}

void shakeHands(SSL_CTX* serverContext, SSL_CTX* clientContext, int version) {
    const Session server(::SSL_new(serverContext));
    const Session client(::SSL_new(clientContext));
    BIO* clientEnd = nullptr;
    BIO* serverEnd = nullptr;
    if (!server || !client || ::SSL_set_max_proto_version(client.get(), version) != 1 ||
        ::BIO_new_bio_pair(&clientEnd, 0, &serverEnd, 0) != 1)
        return;
    ::SSL_set_bio(client.get(), clientEnd, clientEnd);
    ::SSL_set_bio(server.get(), serverEnd, serverEnd);
    ::SSL_set_connect_state(client.get());
    ::SSL_set_accept_state(server.get());
    for (int turn = 0; turn < 8; ++turn) {  // more than there are flights
        (void)::SSL_do_handshake(client.get());
        (void)::SSL_do_handshake(server.get());
    }
    char byte = 'x';
    (void)::SSL_write(client.get(), &byte, 1);
    (void)::SSL_read(server.get(), &byte, 1);
    ::ERR_clear_error();  // without a certificate of its own the client may be refused
}

}  // namespace

void TlsContextDeleter::operator()(SSL_CTX* context) const noexcept { ::SSL_CTX_free(context); }

TlsContext makeTlsContext(const Secrets& secrets) {
    if (!secrets.certificate) {
        if (secrets.key) throw SettingsError("there is a TLS key, but no TLS certificate");
        if (secrets.clientCa) throw SettingsError("client certificates need a TLS certificate and key of the server");
        return nullptr;
    }
    if (!secrets.key) throw SettingsError("there is a TLS certificate, but no TLS key");
    ::ERR_clear_error();
    TlsContext context(::SSL_CTX_new(::TLS_server_method()));
    if (!context || ::SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION) != 1 ||
        ::SSL_CTX_set_cipher_list(context.get(), kCiphers) != 1)
        fail("TLS cannot be set up");
    // Nothing resumes: a session would outlive the certificate that let its client in.
    (void)::SSL_CTX_set_options(context.get(), SSL_OP_NO_COMPRESSION | SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_TICKET);
    (void)::SSL_CTX_set_session_cache_mode(context.get(), SSL_SESS_CACHE_OFF);
    (void)::SSL_CTX_set_num_tickets(context.get(), 0);
    useCertificate(context.get(), *secrets.certificate);
    useKey(context.get(), *secrets.key);
    if (secrets.clientCa) askClients(context.get(), *secrets.clientCa);
    return context;
}

void rehearseHandshakes(SSL_CTX* context) {
    const TlsContext client(::SSL_CTX_new(::TLS_client_method()));
    const TlsContext other(context == nullptr ? ::SSL_CTX_new(::TLS_server_method()) : nullptr);
    SSL_CTX* const server = context == nullptr ? other.get() : context;
    if (!client || server == nullptr) return;
    shakeHands(server, client.get(), TLS1_2_VERSION);
    shakeHands(server, client.get(), TLS1_3_VERSION);
}

}  // namespace diskmgt::serve

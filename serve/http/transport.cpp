#include "serve/http/transport.h"

#include <openssl/ssl.h>

#include <boost/asio/post.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <utility>

namespace asio = boost::asio;

namespace diskmgt::serve {

namespace {

class PlainTransport : public Transport {
public:
    explicit PlainTransport(Socket connected) : stream(std::move(connected)) {}

    void handshake(std::function<void(const Error&)> done) override { done(Error()); }
    void readSome(asio::mutable_buffer buffer, Moved done) override { stream.async_read_some(buffer, std::move(done)); }
    void writeSome(const Buffers& buffers, Moved done) override { stream.async_write_some(buffers, std::move(done)); }
    void endSending(std::function<void()> done) override {
        Error ignored;  // the peer may be gone
        (void)stream.shutdown(Socket::shutdown_send, ignored);
        asio::post(stream.get_executor(), std::move(done));
    }
    Socket& socket() override { return stream; }

private:
    Socket stream;
};

class TlsTransport : public Transport {
public:
    TlsTransport(Socket connected, SSL_CTX* shared) : context(shared), stream(std::move(connected), context) {}

    void handshake(std::function<void(const Error&)> done) override {
        stream.async_handshake(asio::ssl::stream_base::server, std::move(done));
    }
    void readSome(asio::mutable_buffer buffer, Moved done) override { stream.async_read_some(buffer, std::move(done)); }
    void writeSome(const Buffers& buffers, Moved done) override { stream.async_write_some(buffers, std::move(done)); }
    void endSending(std::function<void()> done) override {
        // Over when the peer has said the same, or sends something else.
        stream.async_shutdown([this, done = std::move(done)](const Error& error) {
            Error ignored;
            (void)socket().shutdown(Socket::shutdown_send, ignored);
            if (error != asio::error::operation_aborted) done();
        });
    }
    Socket& socket() override { return stream.next_layer(); }

private:
    asio::ssl::context context;
    asio::ssl::stream<Socket> stream;
};

}  // namespace

std::unique_ptr<Transport> plainTransport(Transport::Socket socket) {
    return std::make_unique<PlainTransport>(std::move(socket));
}

std::unique_ptr<Transport> tlsTransport(Transport::Socket socket, SSL_CTX* context) {
    (void)::SSL_CTX_up_ref(context);  // one more owner, who releases it
    return std::make_unique<TlsTransport>(std::move(socket), context);
}

}  // namespace diskmgt::serve

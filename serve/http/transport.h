// A connected socket, plain or with TLS over it. For the server's own sources: brings Boost.Asio with it.
#pragma once

#include <array>
#include <boost/asio/basic_stream_socket.hpp>
#include <boost/asio/buffer.hpp>
#include <boost/asio/generic/stream_protocol.hpp>
#include <cstddef>
#include <functional>
#include <memory>

#include "serve/http/tls_context.h"

namespace diskmgt::serve {

class Transport {
public:
    using Socket = boost::asio::basic_stream_socket<boost::asio::generic::stream_protocol>;
    using Error = boost::system::error_code;
    using Moved = std::function<void(const Error&, std::size_t)>;
    using Buffers = std::array<boost::asio::const_buffer, 2>;

    Transport() = default;
    Transport(const Transport&) = delete;
    Transport& operator=(const Transport&) = delete;
    virtual ~Transport() = default;

    /// Needed once, before anything else. May be done at once.
    virtual void handshake(std::function<void(const Error&)> done) = 0;
    virtual void readSome(boost::asio::mutable_buffer buffer, Moved done) = 0;
    virtual void writeSome(const Buffers& buffers, Moved done) = 0;
    /// Says that nothing follows. What the peer sends then is read from the socket.
    virtual void endSending(std::function<void()> done) = 0;
    virtual Socket& socket() = 0;
};

std::unique_ptr<Transport> plainTransport(Transport::Socket socket);
/// Keeps the context.
std::unique_ptr<Transport> tlsTransport(Transport::Socket socket, ssl_ctx_st* context);

}  // namespace diskmgt::serve

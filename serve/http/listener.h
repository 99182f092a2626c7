// One listening socket: takes connections as they come. For the server's own sources: brings Boost.Asio with it.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/steady_timer.hpp>
#include <functional>
#include <memory>

#include "serve/http/connection.h"
#include "serve/http/transport.h"

namespace diskmgt::serve {

class Listener {
public:
    using Taken = std::function<void(Transport::Socket socket, Peer peer)>;

    /// Owns the descriptor, even when it throws `SettingsError`.
    Listener(boost::asio::io_context& loop, int descriptor, Taken taken);

    void start();

private:
    void takeOne();

    boost::asio::io_context& loop;
    boost::asio::posix::stream_descriptor listening;
    boost::asio::steady_timer pause;
    const Taken taken;
    int family = 0;
    /// What is on its way already when this ends must not reach it.
    const std::shared_ptr<Listener> alive{this, [](Listener*) {}};
};

}  // namespace diskmgt::serve

// The server behind its interface. For the server's own sources: brings Boost.Asio with it.
#pragma once

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "serve/http/connection.h"
#include "serve/http/listener.h"
#include "serve/http/shared.h"

namespace diskmgt::serve {

class ServerCore {
public:
    ServerCore(Site& site, ServerSettings settings) : shared(site, std::move(settings)) {}
    ServerCore(const ServerCore&) = delete;
    ServerCore& operator=(const ServerCore&) = delete;
    ~ServerCore();

    void listenOn(int descriptor);
    void prepare();
    void replaceSettings(const Secrets& secrets);
    void watch(int descriptor, std::function<void()> readable);
    void unwatch(int descriptor);
    void after(std::chrono::milliseconds delay, std::function<void()> due);
    std::size_t busyConnections() const;
    void run();
    void finish();

private:
    struct Watched;

    void take(Transport::Socket socket, Peer peer);
    std::shared_ptr<Connection> leastUseful() const;
    void refuse(Transport::Socket& socket);
    void wait(const std::shared_ptr<Watched>& watched);
    void stopWhenDone();

    Shared shared;
    std::vector<std::unique_ptr<Listener>> listeners;
    std::map<int, std::shared_ptr<Watched>> watches;
    bool isPrepared = false;
};

}  // namespace diskmgt::serve

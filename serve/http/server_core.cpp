#include "serve/http/server_core.h"

#include <sys/socket.h>

#include <algorithm>
#include <boost/asio/steady_timer.hpp>
#include <exception>
#include <tuple>
#include <utility>

#include "serve/http/answer_head.h"
#include "serve/http/at_end.h"

namespace asio = boost::asio;

namespace diskmgt::serve {

/// A descriptor of somebody else.
struct ServerCore::Watched {
    Watched(asio::io_context& loop, int descriptor, std::function<void()> whenReadable)
        : stream(loop, descriptor), readable(std::move(whenReadable)) {}
    Watched(const Watched&) = delete;
    Watched& operator=(const Watched&) = delete;
    ~Watched() { release(); }
    void release() {
        if (stream.is_open()) (void)stream.release();
    }

    asio::posix::stream_descriptor stream;
    std::function<void()> readable;
};

ServerCore::~ServerCore() {
    shared.connectionClosed = nullptr;
    const auto connections = shared.connections;
    for (const auto& connection : connections) connection->close();
}

void ServerCore::listenOn(int descriptor) {
    listeners.push_back(std::make_unique<Listener>(
        shared.loop, descriptor,
        [this](Transport::Socket socket, Peer peer) { take(std::move(socket), std::move(peer)); }));
    if (!shared.isFinishing) listeners.back()->start();
}

void ServerCore::prepare() {
    if (isPrepared) return;
    isPrepared = true;
    shared.checker.start();
    rehearseHandshakes(shared.tls.get());
    // The time zone, the memory of the compressor, and the tables that an exception is found by.
    (void)shared.date();
    (void)gzipped(std::string(CompressedTexts::kShortest, 'x'));
    (void)accessLine(AccessRecord());
    try {
        (void)Credentials("");
    } catch (const std::exception&) {
        return;  // what it says is known
    }
}

void ServerCore::replaceSettings(const Secrets& secrets) {
    shared.use(secrets);
    const auto connections = shared.connections;
    for (const auto& connection : connections) connection->retire(false);
}

void ServerCore::watch(int descriptor, std::function<void()> readable) {
    unwatch(descriptor);
    const auto watched = std::make_shared<Watched>(shared.loop, descriptor, std::move(readable));
    watches[descriptor] = watched;
    wait(watched);
}

void ServerCore::wait(const std::shared_ptr<Watched>& watched) {
    watched->stream.async_wait(asio::posix::stream_descriptor::wait_read,
                               [this, weak = std::weak_ptr<Watched>(watched)](const Transport::Error& error) {
                                   const auto self = weak.lock();
                                   if (error || !self || !self->stream.is_open()) return;
                                   const AtEnd again([&] {  // also when an answer that it makes fails
                                       if (self->stream.is_open()) wait(self);
                                   });
                                   self->readable();
                               });
}

void ServerCore::unwatch(int descriptor) {
    const auto found = watches.find(descriptor);
    if (found == watches.end()) return;
    found->second->release();
    watches.erase(found);
}

void ServerCore::after(std::chrono::milliseconds delay, std::function<void()> due) {
    const auto timer = std::make_shared<asio::steady_timer>(shared.loop, delay);
    timer->async_wait([timer, due = std::move(due)](const Transport::Error& error) {
        if (!error) due();
    });
}

std::size_t ServerCore::busyConnections() const {
    return static_cast<std::size_t>(
        std::count_if(shared.connections.begin(), shared.connections.end(), [](const auto& connection) {
            return connection->phase() != Connection::Phase::idle &&
                   connection->phase() != Connection::Phase::lingering;
        }));
}

void ServerCore::run() {
    prepare();
    const auto guard = asio::make_work_guard(shared.loop);
    for (;;) {
        try {
            shared.loop.run();
            return;
        } catch (const std::exception& failure) {  // costs the connection that it came from, by its limit
            shared.log(std::string("a request failed: ") + failure.what());
        }
    }
}

void ServerCore::finish() {
    if (shared.isFinishing) return;
    shared.isFinishing = true;
    listeners.clear();
    const auto connections = shared.connections;
    for (const auto& connection : connections) connection->retire(true);
    shared.connectionClosed = [this] { stopWhenDone(); };
    stopWhenDone();
    after(shared.limits.finish, [this] { shared.loop.stop(); });
}

void ServerCore::stopWhenDone() {
    if (shared.connections.empty()) shared.loop.stop();
}

void ServerCore::take(Transport::Socket socket, Peer peer) {
    if (shared.connections.size() >= shared.limits.connections) {
        const auto victim = leastUseful();
        if (!victim) return refuse(socket);
        victim->close();
    }
    const bool isTls = shared.tls != nullptr && !peer.arrival.isOverUnixSocket;
    peer.arrival.isOverTls = isTls;
    auto transport = isTls ? tlsTransport(std::move(socket), shared.tls.get()) : plainTransport(std::move(socket));
    const auto connection = std::make_shared<Connection>(shared, std::move(transport), std::move(peer));
    (void)shared.connections.insert(connection);
    connection->start();
}

/// The one whose peer keeps it waiting: of the address that has most of them, and there the one that has waited longest
/// in the cheapest phase. So a client that sends its request at once is served, however many others send nothing,
/// slowly, or read nothing. Null: all are being answered.
std::shared_ptr<Connection> ServerCore::leastUseful() const {
    std::map<std::string, std::size_t> counts;
    for (const auto& connection : shared.connections) ++counts[connection->peer().group];
    std::shared_ptr<Connection> least;
    const auto rank = [&](const Connection& connection) {
        const std::size_t others = shared.connections.size() - counts[connection.peer().group];
        return std::make_tuple(others, connection.phase(), connection.since());
    };
    for (const auto& connection : shared.connections)
        if (connection->waitsForPeer() && (!least || rank(*connection) < rank(*least))) least = connection;
    return least;
}

void ServerCore::refuse(Transport::Socket& socket) {
    if (shared.tls != nullptr) return;  // closed without a word, which would take a handshake
    static const std::string kSentence = "All connections are in use.\n";
    AnswerHead head;
    head.status = 503;
    head.contentType = "text/plain; charset=utf-8";
    head.headers = {{"Retry-After", "1"}};
    head.bodyBytes = kSentence.size();
    head.keepsAlive = false;
    const std::string text = answerHeadText(head, shared.product, shared.date()) + kSentence;
    (void)::send(socket.native_handle(), text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);  // as far as it goes
}

}  // namespace diskmgt::serve

// One client: its requests, one after the other, and their answers. For the server's own sources: brings Boost.Asio
// with it.
#pragma once

#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "serve/http/access_log.h"
#include "serve/http/answer_head.h"
#include "serve/http/request_reader.h"
#include "serve/http/request_rules.h"
#include "serve/http/shared.h"
#include "serve/http/transport.h"

namespace diskmgt::serve {

/// Where a client comes from.
struct Peer {
    std::string address;  // as people write it
    std::string group;    // whose wrong passwords count together
    Arrival arrival;
};

class Connection : public std::enable_shared_from_this<Connection> {
public:
    using Clock = std::chrono::steady_clock;
    /// What it waits for. The order is that in which connections are given up for a new one.
    enum class Phase { lingering, idle, handshake, sending, writing, checking, answering, closed };

    Connection(Shared& shared, std::unique_ptr<Transport> transport, Peer client);

    void start();
    Phase phase() const { return now; }
    /// Since when it is in this phase.
    Clock::time_point since() const { return phaseStart; }
    /// It waits for its peer, not for the server.
    bool waitsForPeer() const { return now < Phase::checking; }
    const Peer& peer() const { return client; }
    /// Takes no further request. One that is being sent is dropped too, if that is asked for.
    void retire(bool dropsUnfinished);
    /// At once. The server forgets it.
    void close();

private:
    using Error = Transport::Error;

    void enter(Phase phase);
    void limit(std::chrono::milliseconds length);
    void arm();
    void expired();

    void read();
    void proceed();
    void sendContinue();
    void checkPassword();
    void checked(bool isRight, const std::shared_ptr<const Credentials>& by, const std::string& name);
    void askSite();
    void answer(SiteAnswer given);
    void refuse(const Refusal& refusal);
    /// A sentence instead of what was asked for. The connection stays when the request has been read.
    void explain(const Refusal& refusal, std::vector<std::pair<std::string, std::string>> headers = {});
    void send(AnswerHead head, std::shared_ptr<const std::string> text);
    void write();
    void written();
    void linger();
    void drain();
    void record(const std::string& note);
    std::string fingerprint(const std::string& authorization) const;

    Shared& shared;
    const std::unique_ptr<Transport> transport;
    const Peer client;
    RequestReader requests;
    Phase now = Phase::handshake;
    Clock::time_point phaseStart;

    boost::asio::steady_timer timer;
    Clock::time_point deadline = Clock::time_point::max();
    Clock::time_point armedFor = Clock::time_point::max();
    bool isLate = false;

    bool isFirst = true;  // request
    bool retires = false;
    bool headTaken = false;
    RequestTarget target;
    std::uint64_t requestNumber = 0;
    Clock::time_point requestStart;

    std::string rememberedHeader;                     // fingerprint of a header whose password was right
    std::shared_ptr<const Credentials> rememberedBy;  // then
    std::string rememberedName;

    std::string headText;
    std::shared_ptr<const std::string> body;  // null: none is sent
    std::size_t sent = 0;
    AccessRecord access;
    bool keepsAlive = false;
    std::size_t drained = 0;
};

}  // namespace diskmgt::serve

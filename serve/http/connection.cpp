#include "serve/http/connection.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <boost/asio/error.hpp>
#include <boost/asio/post.hpp>
#include <utility>

#include "serve/http/conditions.h"

namespace asio = boost::asio;

namespace diskmgt::serve {

namespace {

constexpr std::size_t kWriteStep = 64UL * 1024;  // what the limit of writing is about
constexpr std::size_t kDrained = 4UL * 1024 * 1024;
constexpr const char* kContinue = "HTTP/1.1 100 Continue\r\n\r\n";
constexpr const char* kPlainText = "text/plain; charset=utf-8";

std::string seconds(std::chrono::milliseconds length) {
    return std::to_string(std::chrono::ceil<std::chrono::seconds>(length).count());
}

}  // namespace

Connection::Connection(Shared& theShared, std::unique_ptr<Transport> theTransport, Peer thePeer)
    : shared(theShared),
      transport(std::move(theTransport)),
      client(std::move(thePeer)),
      requests(shared.limits.headBytes, shared.limits.bodyBytes),
      phaseStart(Clock::now()),
      timer(shared.loop) {}

// --- phases and their limits ---------------------------------------------------------------------------------------

void Connection::enter(Phase phase) {
    now = phase;
    phaseStart = Clock::now();
}

/// From now on; the phase has no other. The timer is set anew only when it would come too late.
void Connection::limit(std::chrono::milliseconds length) {
    deadline = Clock::now() + length;
    if (deadline < armedFor) arm();
}

void Connection::arm() {
    armedFor = deadline;
    timer.expires_at(deadline);
    timer.async_wait([weak = weak_from_this()](const Error& error) {
        const auto self = weak.lock();
        if (error || !self || self->now == Phase::closed) return;
        self->armedFor = Clock::time_point::max();
        if (Clock::now() >= self->deadline)
            self->expired();
        else if (self->deadline != Clock::time_point::max())
            self->arm();
    });
}

void Connection::expired() {
    if (now == Phase::checking) return;
    if (now == Phase::answering) return explain({503, "The answer takes too long."}, {{"Retry-After", "10"}});
    if (now != Phase::sending) return close();
    isLate = true;  // its reading says so
    Error ignored;
    (void)transport->socket().cancel(ignored);
}

void Connection::retire(bool dropsUnfinished) {
    retires = true;
    const bool isUnfinished = now == Phase::sending || now == Phase::handshake || now == Phase::lingering;
    if (now == Phase::idle || (dropsUnfinished && isUnfinished)) close();
}

void Connection::close() {
    if (now == Phase::closed) return;
    const auto self = shared_from_this();
    if (now == Phase::writing) record("");
    enter(Phase::closed);
    Error ignored;
    (void)transport->socket().close(ignored);
    timer.cancel();
    (void)shared.connections.erase(self);
    if (shared.connectionClosed) shared.connectionClosed();
}

// --- requests ------------------------------------------------------------------------------------------------------

void Connection::start() {
    enter(Phase::handshake);
    requestStart = phaseStart;
    limit(shared.limits.request);
    transport->handshake([self = shared_from_this()](const Error& error) {
        if (self->now == Phase::closed) return;
        if (error) {
            if (error.category() != boost::system::system_category() && error != asio::error::eof)
                self->record("TLS: " + error.message());
            return self->close();
        }
        self->enter(Phase::idle);
        self->proceed();
    });
}

void Connection::read() {
    const auto [place, size] = requests.room();
    transport->readSome(asio::buffer(place, size), [self = shared_from_this()](const Error& error, std::size_t count) {
        if (self->now == Phase::closed) return;
        if (self->isLate) return self->refuse({408, "The request took too long to arrive."});
        if (error) return self->close();
        (void)self->requests.received(count);
        self->proceed();
    });
}

void Connection::proceed() {
    const auto state = requests.state();
    if (state == RequestReader::State::waiting) {
        if (now == Phase::sending) enter(Phase::idle);
        return read();
    }
    if (now == Phase::idle) {
        enter(Phase::sending);
        requestStart = phaseStart;
        if (!isFirst) limit(shared.limits.request);  // the first one's began with the connection
    }
    if (state == RequestReader::State::refused) return refuse(requests.refusal());
    if (state != RequestReader::State::head && !headTaken) {
        headTaken = true;
        target = requestTarget(requests.head());
        if (const Refusal refusal = headRefusal(requests.head(), target, shared.serverNames, client.arrival))
            return refuse(refusal);
        if (state == RequestReader::State::body && requests.head().expectsContinue) return sendContinue();
    }
    if (state == RequestReader::State::complete) return checkPassword();
    read();
}

void Connection::sendContinue() {
    // Small enough for any socket's buffer; a peer that has left no room for it waits for nothing.
    transport->writeSome({asio::buffer(kContinue, std::char_traits<char>::length(kContinue)), asio::const_buffer()},
                         [self = shared_from_this()](const Error& error, std::size_t /*count*/) {
                             if (self->now == Phase::closed) return;
                             if (error) return self->close();
                             self->read();
                         });
}

// --- who it is -----------------------------------------------------------------------------------------------------

std::string Connection::fingerprint(const std::string& authorization) const {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned size = 0;
    if (::EVP_Digest(authorization.data(), authorization.size(), digest.data(), &size, ::EVP_sha256(), nullptr) != 1)
        return {};
    return {reinterpret_cast<const char*>(digest.data()), size};
}

void Connection::checkPassword() {
    const auto& credentials = shared.credentials;
    if (!credentials) return askSite();
    const std::string& authorization = requests.head().header("authorization");
    const std::string print = fingerprint(authorization);
    if (rememberedBy == credentials && !print.empty() && print.size() == rememberedHeader.size() &&
        ::CRYPTO_memcmp(print.data(), rememberedHeader.data(), print.size()) == 0) {
        access.user = rememberedName;
        return askSite();
    }
    NameAndPassword given;
    if (!readBasicCredentials(authorization, given)) return explain({401, "A name and a password are needed."});

    const auto pause = shared.failedAttempts.pause(client.group, Clock::now());
    if (pause.count() > 0)
        return explain({429, "Too many wrong passwords came from this address."}, {{"Retry-After", seconds(pause)}});
    const Refusal busy{503, "Too many passwords wait to be checked."};
    const std::size_t share = std::max<std::size_t>(1, shared.limits.passwordsWaiting / 2);
    std::size_t& underWay = shared.checksUnderWay[client.group];
    if (underWay >= share) return explain(busy, {{"Retry-After", "1"}});
    std::string name = given.name;
    const bool isTaken = shared.checker.check(
        credentials, std::move(given),
        [&common = shared, weak = weak_from_this(), by = credentials, group = client.group, name](bool isRight) {
            asio::post(common.loop, [&common, weak, by, group, name, isRight] {
                const auto counted = common.checksUnderWay.find(group);
                if (--counted->second == 0) common.checksUnderWay.erase(counted);
                if (isRight)
                    common.failedAttempts.succeeded(group);
                else
                    common.failedAttempts.failed(group, Clock::now());
                if (const auto self = weak.lock()) self->checked(isRight, by, name);
            });
        });
    if (!isTaken) {
        if (underWay == 0) shared.checksUnderWay.erase(client.group);
        return explain(busy, {{"Retry-After", "1"}});
    }
    ++underWay;
    enter(Phase::checking);
}

void Connection::checked(bool isRight, const std::shared_ptr<const Credentials>& by, const std::string& name) {
    if (now != Phase::checking) return;
    if (!isRight) return explain({401, "The name or the password is wrong."});
    rememberedHeader = fingerprint(requests.head().header("authorization"));
    rememberedBy = by;
    rememberedName = access.user = name;
    askSite();
}

// --- answers -------------------------------------------------------------------------------------------------------

void Connection::askSite() {
    enter(Phase::answering);
    limit(shared.limits.answer);
    const RequestHead& head = requests.head();
    SiteRequest request{head.method == "HEAD" ? "GET" : head.method, target.path, target.query, requests.takeBody(),
                        head.headers};
    (void)request.headers.erase("authorization");  // the password is not the site's business
    const auto done = [weak = weak_from_this(), number = ++requestNumber](SiteAnswer given) {
        const auto self = weak.lock();
        if (self && self->now == Phase::answering && self->requestNumber == number) self->answer(std::move(given));
    };
    try {
        shared.site.answer(request, done);
    } catch (const std::exception&) {
        if (now == Phase::answering) explain({500, "The answer could not be made."});
    }
}

void Connection::answer(SiteAnswer given) {
    const RequestHead& request = requests.head();
    const bool isRead = request.method == "GET" || request.method == "HEAD";
    AnswerHead head;
    head.status = given.status;
    head.contentType = std::move(given.contentType);
    head.headers = std::move(given.headers);
    head.etag = std::move(given.etag);
    std::shared_ptr<const std::string> text = std::move(given.body);
    if (given.mayCompress && text && text->size() >= CompressedTexts::kShortest) {
        head.varies = true;
        if (acceptsGzip(request.header("accept-encoding"))) {
            if (auto compressed = shared.compressed.of(text)) {
                text = std::move(compressed);
                head.isCompressed = true;
            }
        }
    }
    if (isRead && head.status == 200 && !head.etag.empty() && matchesEtag(request.header("if-none-match"), head.etag)) {
        head.status = 304;
        text = nullptr;
    }
    head.keepsAlive = true;
    send(std::move(head), std::move(text));
}

void Connection::refuse(const Refusal& refusal) {
    retires = true;  // where the next request begins is not known
    explain(refusal);
}

void Connection::explain(const Refusal& refusal, std::vector<std::pair<std::string, std::string>> headers) {
    AnswerHead head;
    head.status = refusal.status;
    head.contentType = kPlainText;
    head.headers = std::move(headers);
    if (refusal.status == 401)
        head.headers.emplace_back("WWW-Authenticate", "Basic realm=\"" + shared.product + R"(", charset="UTF-8")");
    send(std::move(head), std::make_shared<const std::string>(refusal.reason + "\n"));
}

void Connection::send(AnswerHead head, std::shared_ptr<const std::string> text) {
    const RequestHead& request = requests.head();
    keepsAlive = request.keepsAlive && !retires;
    head.keepsAlive = keepsAlive;
    head.minorVersion = request.minorVersion;
    head.bodyBytes = text ? text->size() : 0;
    headText = answerHeadText(head, shared.product, shared.date());
    body = request.method == "HEAD" ? nullptr : std::move(text);
    sent = 0;
    access.status = head.status;
    enter(Phase::writing);
    limit(shared.limits.write);
    write();
}

void Connection::write() {
    const std::size_t ofHead = std::min(sent, headText.size());
    Transport::Buffers buffers{asio::buffer(headText) + ofHead, asio::const_buffer()};
    if (body) buffers[1] = asio::buffer(*body) + (sent - ofHead);
    transport->writeSome(buffers, [self = shared_from_this()](const Error& error, std::size_t count) {
        if (self->now == Phase::closed) return;
        if (error) return self->close();
        if ((self->sent + count) / kWriteStep != self->sent / kWriteStep) self->limit(self->shared.limits.write);
        self->sent += count;
        if (self->sent < self->headText.size() + (self->body ? self->body->size() : 0)) return self->write();
        self->written();
    });
}

void Connection::written() {
    record("");
    body = nullptr;
    isFirst = false;
    if (!keepsAlive || retires) return linger();
    headTaken = false;
    enter(Phase::idle);
    (void)requests.next();
    limit(shared.limits.idle);
    proceed();
}

/// One line for what was answered, or for why nothing was.
void Connection::record(const std::string& note) {
    const RequestHead& request = requests.head();
    access.moment = std::time(nullptr);
    access.address = client.address;
    access.method = request.method;
    access.target = request.target;
    access.minorVersion = request.minorVersion;
    access.bodyBytes = sent - std::min(sent, headText.size());
    access.took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - requestStart);
    access.note = note;
    shared.log(accessLine(access));
    access = AccessRecord();
}

/// A socket that is closed while something unread is in it takes back what its peer has not read yet, such as why it
/// is closed. So it reads on for a moment.
void Connection::linger() {
    enter(Phase::lingering);
    limit(shared.limits.linger);
    transport->endSending([self = shared_from_this()] {
        if (self->now != Phase::closed) self->drain();
    });
}

void Connection::drain() {
    transport->socket().async_read_some(asio::buffer(shared.ignored),
                                        [self = shared_from_this()](const Error& error, std::size_t count) {
                                            if (self->now == Phase::closed) return;
                                            self->drained += count;
                                            if (error || self->drained > kDrained) return self->close();
                                            self->drain();
                                        });
}

}  // namespace diskmgt::serve

// Bytes of a connection in, requests out, one after the other. Stricter than the grammar where two readers of it could
// disagree about where a request ends. Pure: no I/O, no clock.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>

#include "serve/http/request_head.h"

namespace diskmgt::serve {

class RequestReader {
public:
    enum class State {
        waiting,   // nothing of a request is there
        head,      // some of its head
        body,      // its head is known
        complete,  // until `next`
        refused    // for good: where the next request would begin is not known
    };

    RequestReader(std::size_t headLimit, std::size_t bodyLimit);
    RequestReader(const RequestReader&) = delete;
    RequestReader& operator=(const RequestReader&) = delete;
    ~RequestReader();

    /// Where the next bytes go; never empty before a request is complete or refused.
    std::pair<char*, std::size_t> room();
    /// So many bytes were put there.
    State received(std::size_t count);
    /// Forgets a complete request; what came behind it is read.
    State next();

    State state() const { return now; }
    /// In the states body and complete; as far as it is known in the state refused.
    const RequestHead& head() const { return requestHead; }
    /// Of a complete request; once.
    std::string takeBody();
    /// In the state refused.
    const Refusal& refusal() const { return why; }

private:
    State advance();
    bool scanHead();
    bool takesLineEnd(std::size_t at);
    void readHead();
    void readBody();
    State refuse(unsigned status, const char* reason);
    void drop(std::size_t count);

    struct Parser;
    const std::size_t headLimit;
    const std::size_t bodyLimit;
    std::string buffer;      // of a fixed size
    std::size_t filled = 0;  // bytes of it in use
    State now = State::waiting;
    std::unique_ptr<Parser> parser;
    RequestHead requestHead;
    Refusal why;
    std::size_t scanned = 0;    // bytes of the head that were looked at
    std::size_t lineStart = 0;  // of the line that `scanned` is in
    std::size_t bodyBytes = 0;  // with what frames its chunks
};

}  // namespace diskmgt::serve

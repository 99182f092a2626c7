// The head of a request as it was sent, and what a server says to one that it does not take.
#pragma once

#include <map>
#include <string>

namespace diskmgt::serve {

struct RequestHead {
    std::string method;
    std::string target;  // as sent
    unsigned minorVersion = 1;
    std::map<std::string, std::string> headers;  // lower-case names; values of one name joined with ", "
    bool keepsAlive = false;
    bool expectsContinue = false;

    /// Empty when there is none of that name, which is in lower case.
    const std::string& header(const std::string& name) const {
        static const std::string none;
        const auto found = headers.find(name);
        return found == headers.end() ? none : found->second;
    }
    bool has(const std::string& name) const { return headers.count(name) != 0; }
};

/// Status 0: there is nothing to refuse.
struct Refusal {
    unsigned status = 0;
    std::string reason = {};  // one sentence for people
    explicit operator bool() const { return status != 0; }
};

}  // namespace diskmgt::serve

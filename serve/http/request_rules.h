// What a request may ask for, from where, and of whom: its target, its Host and its Origin. Pure.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "serve/http/request_head.h"

namespace diskmgt::serve {

struct RequestTarget {
    std::string path;       // percent-decoded
    std::string query;      // as sent
    std::string authority;  // of an absolute target
    Refusal refusal;        // with it the rest is empty
};
RequestTarget requestTarget(const RequestHead& head);

/// A host's name as it is compared: in lower case, without a dot at its end; an address without brackets, in its
/// shortest form.
std::string comparableHost(std::string_view name);
/// localhost, 127.0.0.0/8 or ::1, in the form that `comparableHost` gives.
bool isLoopbackHost(const std::string& host);

/// How a request came.
struct Arrival {
    bool isOverTls = false;
    bool isOverUnixSocket = false;  // there any Host will do
};

/// All that is refused of a head that could be read. `serverNames` are comparable. A page in a browser that was led
/// here by a name of its own names that one in Host; a page of another origin names that one in Origin.
Refusal headRefusal(const RequestHead& head, const RequestTarget& target, const std::vector<std::string>& serverNames,
                    const Arrival& arrival);

}  // namespace diskmgt::serve

// The line that a request leaves behind. Pure.
#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>
#include <string>

namespace diskmgt::serve {

struct AccessRecord {
    std::time_t moment = 0;
    std::string address;  // of the client
    std::string user;     // empty: nobody was asked for, or the password was wrong
    std::string method;   // empty: the request could not be read so far
    std::string target;
    unsigned minorVersion = 1;
    unsigned status = 0;
    std::uint64_t bodyBytes = 0;
    std::chrono::milliseconds took{};
    std::string note;  // why there was no request
};

/// One line without its end: time, address, user, "request", status, bytes of the body, milliseconds. What a client
/// sent is escaped, and shortened.
std::string accessLine(const AccessRecord& record);

}  // namespace diskmgt::serve

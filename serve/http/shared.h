// What the connections of a server have in common. For the server's own sources: brings Boost.Asio with it.
#pragma once

#include <array>
#include <boost/asio/io_context.hpp>
#include <cstddef>
#include <ctime>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "serve/http/compression.h"
#include "serve/http/credentials.h"
#include "serve/http/failed_attempts.h"
#include "serve/http/password_checker.h"
#include "serve/http/server_settings.h"
#include "serve/http/site.h"
#include "serve/http/tls_context.h"

namespace diskmgt::serve {

class Connection;

struct Shared {
    Shared(Site& theSite, ServerSettings settings);

    /// Throws `SettingsError`, and then nothing has changed.
    void use(const Secrets& secrets);
    /// Of now, for a Date header.
    const std::string& date();
    void log(const std::string& line) const {
        if (logSink) logSink(line);
    }

    Site& site;
    const Limits limits;
    const std::vector<std::string> serverNames;  // comparable
    const std::string product;
    const std::function<void(const std::string&)> logSink;
    TlsContext tls;                                  // null: none
    std::shared_ptr<const Credentials> credentials;  // null: no password is asked for
    CompressedTexts compressed;
    FailedAttempts failedAttempts;
    std::unordered_map<std::string, std::size_t> checksUnderWay;  // passwords, by address
    bool isFinishing = false;
    std::function<void()> connectionClosed;
    std::array<char, 4096> ignored{};  // what is read only to be dropped
    // The loop ends after all that may have something on it; the thread of the checker first of all.
    boost::asio::io_context loop{1};
    std::set<std::shared_ptr<Connection>> connections;
    PasswordChecker checker;

private:
    std::time_t dateMoment = -1;
    std::string dateText;
};

}  // namespace diskmgt::serve

// An HTTP/1.1 server over sockets that somebody else made: one thread, and one more that checks passwords.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>

#include "serve/http/server_settings.h"
#include "serve/http/settings_error.h"
#include "serve/http/site.h"

namespace diskmgt::serve {

class ServerCore;

class HttpServer {
public:
    /// The site must outlive the server. Throws `SettingsError`.
    HttpServer(Site& site, ServerSettings settings);
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;
    ~HttpServer();

    /// A listening socket, TCP or Unix, which the server owns from now on. With a certificate TCP speaks TLS; a Unix
    /// socket never does, and any Host will do there.
    void listenOn(int descriptor);
    /// Starts the thread that checks passwords, and uses once whatever opens files or descriptors at its first use.
    /// After it nothing does, so that a system-call filter can be set. `run` calls it when nobody has.
    void prepare();
    /// New connections use these; a connection from before is closed when it has nothing to answer. Throws
    /// `SettingsError`, and then nothing has changed. On the server's thread.
    void replaceSettings(const Secrets& secrets);
    /// Calls `readable` as long as there is something to read, an end included, until `unwatch`. The descriptor stays
    /// the caller's, who unwatches it before closing it.
    void watch(int descriptor, std::function<void()> readable);
    void unwatch(int descriptor);
    /// Calls `due` once, on the server's thread.
    void after(std::chrono::milliseconds delay, std::function<void()> due);
    /// Connections that are being answered or send a request.
    std::size_t busyConnections() const;
    /// Serves until `finish`.
    void run();
    /// Takes no further request; what is being answered is finished, then `run` returns. On the server's thread.
    void finish();

private:
    std::unique_ptr<ServerCore> core;
};

}  // namespace diskmgt::serve

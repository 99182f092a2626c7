#include "serve/http/server.h"

#include <utility>

#include "serve/http/server_core.h"

namespace diskmgt::serve {

HttpServer::HttpServer(Site& site, ServerSettings settings)
    : core(std::make_unique<ServerCore>(site, std::move(settings))) {}
HttpServer::~HttpServer() = default;

void HttpServer::listenOn(int descriptor) { core->listenOn(descriptor); }
void HttpServer::prepare() { core->prepare(); }
void HttpServer::replaceSettings(const Secrets& secrets) { core->replaceSettings(secrets); }
void HttpServer::watch(int descriptor, std::function<void()> readable) { core->watch(descriptor, std::move(readable)); }
void HttpServer::unwatch(int descriptor) { core->unwatch(descriptor); }
void HttpServer::after(std::chrono::milliseconds delay, std::function<void()> due) {
    core->after(delay, std::move(due));
}
std::size_t HttpServer::busyConnections() const { return core->busyConnections(); }
void HttpServer::run() { core->run(); }
void HttpServer::finish() { core->finish(); }

}  // namespace diskmgt::serve

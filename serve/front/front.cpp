#include "serve/front/front.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <ctime>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "refhost/api/reference_host.h"
#include "serve/front/freshness.h"
#include "serve/front/inventory_site.h"
#include "serve/front/snapshot.h"
#include "serve/handover/control.h"
#include "serve/handover/frames.h"
#include "serve/handover/front_settings.h"
#include "serve/handover/instances_head.h"
#include "serve/handover/passed_descriptor.h"
#include "serve/handover/progress_note.h"
#include "serve/http/server.h"
#include "serve/process/log_line.h"
#include "serve/process/memory_use.h"
#include "serve/process/rights.h"
#include "terminal/remarks.h"
#include "text/command_error.h"
#include "worker/account.h"

namespace diskmgt::serve {

namespace {

using std::chrono::milliseconds;

FrontSettings firstSettings() {
    pollfd waited{kFrontChannel, POLLIN, 0};
    while (::poll(&waited, 1, -1) < 0 && errno == EINTR) {
    }
    ControlReading reading = receiveControl(kFrontChannel);
    if (!reading.message || reading.message->kind != ControlKind::kSettings)
        throw CommandError(kWrongUsage, R"(the front is started by "diskmgt serve" alone)");
    return readSettings(reading.message->descriptor.get());
}

/// The keeper takes no empty files.
std::optional<std::string> given(std::string& text) {
    return text.empty() ? std::nullopt : std::optional<std::string>(std::move(text));
}

Secrets secretsOf(FrontSettings& settings) {
    return {given(settings.certificate), given(settings.key), given(settings.clientCa), given(settings.credentials)};
}

ServerSettings serverSettings(FrontSettings& settings) {
    ServerSettings wanted;
    wanted.serverNames = settings.serverNames;
    wanted.secrets = secretsOf(settings);
    wanted.log = &writeLogLine;
    return wanted;
}

refhost::HostOptions schemaAlone() {
    refhost::HostOptions options;
    options.discoverVirtualDevices = false;
    options.keepsLog = false;
    return options;
}

class Front {
public:
    explicit Front(FrontSettings settings)
        : exitIdle(static_cast<std::int64_t>(settings.exitIdleSeconds * 1000)),
          schema(schemaAlone()),
          freshness(surroundings(), settings.maxAgeSeconds, settings.limitSeconds),
          site(freshness, schema.classes()),
          server(site, serverSettings(settings)) {}

    void run() {
        server.watch(kFrontChannel, [this] { listenToKeeper(); });
        server.prepare();
        ::tzset();  // reads a file
        dropCapabilities();
        limitResources();
#ifndef DISKMGT_EXITS_WHOLE  // a sanitizer opens files
        filterSystemCalls();
#endif
        (void)sendControl(kFrontChannel, ControlKind::kServing);
        if (exitIdle.count() > 0) lookForIdleness(site.requests());
        server.run();
    }

private:
    Freshness::Surroundings surroundings() {
        return {&worker::steadyNanoseconds,
                [this](milliseconds delay, std::function<void()> due) { server.after(delay, std::move(due)); },
                [this] { return askCollector(); }, [this] { return readProgressNote(note.get()); },
                [this] { leaveCollector(); }};
    }

    void listenToKeeper() {
        ControlReading reading = receiveControl(kFrontChannel);
        if (reading.hasEnded) {
            server.unwatch(kFrontChannel);
            return server.finish();
        }
        if (!reading.message) return;
        ControlMessage& message = *reading.message;
        switch (message.kind) {
            case ControlKind::kListener:
                return server.listenOn(message.descriptor.release());
            case ControlKind::kSettings:
                return replaceSecrets(message.descriptor.get());
            case ControlKind::kCollector:
                return useCollector(std::move(message.descriptor));
            case ControlKind::kTrouble:
                return freshness.noCollectorBecause(message.text);
            case ControlKind::kFinish:
                return server.finish();
            default:
                return;
        }
    }

    void replaceSecrets(int file) {
        try {
            FrontSettings settings = readSettings(file);
            server.replaceSettings(secretsOf(settings));
            (void)sendControl(kFrontChannel, ControlKind::kServing);
            writeRemark("the certificates and credentials were read again");
        } catch (const std::exception& refused) {
            writeRemark(std::string(refused.what()) + "; what was read before stays in use");
        }
    }

    void useCollector(Descriptor connection) {
        forgetCollector();
        collector = std::move(connection);
        server.watch(collector.get(), [this] { listenToCollector(); });
        freshness.collectorCame();
    }

    /// The keeper ends what has not ended: a process that the kernel holds keeps its connection open.
    void leaveCollector() {
        (void)sendControl(kFrontChannel, ControlKind::kCollectorGone);
        forgetCollector();
    }

    void forgetCollector() {
        if (!collector.isOpen()) return;
        frames = FrameReader();
        begun.reset();
        documents = CollectedDocuments();
        server.unwatch(collector.get());
        collector.close();
        freshness.collectorWent();
        note.close();
    }

    bool askCollector() {
        static const char word[] = "collect\n";
        return ::send(collector.get(), word, sizeof word - 1, MSG_NOSIGNAL | MSG_DONTWAIT) ==
               static_cast<ssize_t>(sizeof word - 1);
    }

    void listenToCollector() {
        char piece[65536];
        ReceivedBytes received = receiveWithDescriptor(collector.get(), piece, sizeof piece);
        if (received.count < 0 && errno == EAGAIN) return;
        if (received.count <= 0) return leaveCollector();
        if (!note.isOpen() && isProgressNote(received.descriptor.get())) note = std::move(received.descriptor);
        try {
            frames.append(piece, static_cast<std::size_t>(received.count));
        } catch (const std::bad_alloc&) {
            writeRemark("there is no memory for the collector's answer, and the collector is replaced");
            return leaveCollector();
        }
        std::optional<Frame> frame;
        while (collector.isOpen() && (frame = frames.next())) take(*frame);
        if (!collector.isOpen() || !frames.isBroken()) return;
        writeRemark("the collector wrote what no collector writes, and is replaced");
        leaveCollector();
    }

    void take(Frame& frame) {
        switch (frame.kind) {
            case FrameKind::kReady:
                return;
            case FrameKind::kInstances:
                return takeInstances(frame);
            case FrameKind::kJson:
                documents.json = std::move(frame.payload);
                return;
            case FrameKind::kMetrics:
                documents.metrics = std::move(frame.payload);
                return;
            case FrameKind::kPage:
                documents.page = std::move(frame.payload);
                return;
            case FrameKind::kEnd:
                documents.stall = std::move(frame.payload);
                return takeDocuments();
        }
    }

    void takeInstances(Frame& frame) {
        std::optional<InstancesHead> head = unpackedHead(frame.payload);
        if (!head) return replaceCollector();
        begun = head->beginning;
        freshness.instancesCame(
            std::make_shared<const InstanceSnapshot>(schema, std::move(*head), std::move(frame.payload)));
    }

    void takeDocuments() {
        CollectedDocuments taken = std::exchange(documents, CollectedDocuments());
        if (!begun || taken.json.empty() || taken.metrics.empty() || taken.page.empty()) return replaceCollector();
        freshness.collected(std::make_shared<const Snapshot>(*std::exchange(begun, std::nullopt), std::move(taken)));
    }

    void replaceCollector() {
        writeRemark("the collector's answer is not whole, and the collector is replaced");
        leaveCollector();
    }

    void lookForIdleness(std::uint64_t requestsBefore) {
        server.after(exitIdle, [this, requestsBefore] {
            const bool isIdle = site.requests() == requestsBefore && server.busyConnections() == 0;
            if (isIdle) (void)sendControl(kFrontChannel, ControlKind::kIdle);
            lookForIdleness(site.requests());
        });
    }

    const milliseconds exitIdle;
    refhost::ReferenceHost schema;  // loads nothing: it has the declared classes
    Freshness freshness;
    InventorySite site;
    HttpServer server;
    Descriptor collector;
    Descriptor note;  // the collector's progress
    FrameReader frames;
    // Of the collection that is on its way.
    std::optional<Beginning> begun;
    CollectedDocuments documents;
};

}  // namespace

int runFront(unsigned user, unsigned group) {
    for (const int number : {SIGPIPE, SIGHUP, SIGINT, SIGTERM}) (void)std::signal(number, SIG_IGN);  // the keeper's
    int kind = 0;
    socklen_t size = sizeof kind;
    if (::getsockopt(kFrontChannel, SOL_SOCKET, SO_TYPE, &kind, &size) != 0 || kind != SOCK_SEQPACKET)
        throw CommandError(kWrongUsage, R"(the front is started by "diskmgt serve" alone)");
    becomeAccount(user, group);
    endWithParent();
    closeInOnItself();
    writeRemarksAsLogLines();
    if (::chdir("/") != 0) return kFailureReported;
    separateDocuments();
    try {
        Front(firstSettings()).run();
    } catch (const SettingsError& refused) {
        throw CommandError(kWrongUsage, refused.what());
    }
    return kDone;
}

}  // namespace diskmgt::serve

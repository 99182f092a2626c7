#include "serve/collector/collector.h"

#include <poll.h>
#include <sys/uio.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <string_view>
#include <utility>

#include "formats/inventory_html.h"
#include "formats/inventory_json.h"
#include "formats/inventory_prometheus.h"
#include "inventory/collection.h"
#include "inventory/collector.h"
#include "inventory/machine_account.h"
#include "inventory/server_account.h"
#include "serve/handover/frames.h"
#include "serve/handover/instances_head.h"
#include "serve/handover/passed_descriptor.h"
#include "serve/handover/progress_note.h"
#include "serve/process/memory_use.h"
#include "session/packed_classes.h"
#include "terminal/remarks.h"
#include "text/command_error.h"

namespace diskmgt::serve {

namespace {

constexpr unsigned kAfterTheKeeper = 5;  // seconds that this process gives itself more than the front does
constexpr std::size_t kLongestWord = 64;

/// False: the other side has gone.
bool writeFrame(int connection, FrameKind kind, const std::string& payload) {
    const std::string head = frameHead(kind, payload.size());
    std::string_view left[] = {head, payload};
    while (!left[0].empty() || !left[1].empty()) {
        iovec parts[2];
        for (int i = 0; i < 2; ++i) parts[i] = {const_cast<char*>(left[i].data()), left[i].size()};
        const ssize_t count = ::writev(connection, parts, 2);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        auto written = static_cast<std::size_t>(count);
        for (std::string_view& part : left) {
            const std::size_t ofThis = std::min(written, part.size());
            part.remove_prefix(ofThis);
            written -= ofThis;
        }
    }
    return true;
}

std::string hostName() {
    utsname names{};
    return ::uname(&names) == 0 ? names.nodename : "";
}

std::string stallOf(const ServerAccount& account) {
    for (const Gap& gap : account.gaps)
        if (gap.rule == "mount-does-not-answer") return gap.text;
    return "";
}

SessionOptions sessionOptions(const CollectorOptions& asked) {
    SessionOptions options;
    options.pluginFile = asked.pluginFile;
    options.virtualDevices = asked.virtualDevices;
    options.timeoutSeconds = 0;  // the front and the keeper look at the clock
    options.keepsLog = false;
    return options;
}

class Collector {
public:
    Collector(const CollectorOptions& asked, int theConnection)
        : options(asked), connection(theConnection), session(sessionOptions(asked)) {}

    int run() {
        reuseMemory();
        endAfterLimit();
        (void)session.load();  // whose path may be relative
        (void)::alarm(0);
        if (::chdir("/") != 0)
            return kFailureReported;  // sources of mounts are looked up as they are, wherever this began
        if (!sayReady()) return kDone;
        const std::string name = hostName();
        for (;;) {
            const std::string word = nextWord();
            if (word == "stop" || word.empty()) return kDone;
            if (word != "collect") {
                writeRemark("the collector was asked for something that it does not know, and ends");
                return kFailureReported;
            }
            if (hostName() != name) return kDone;  // the host of the plug-in has the old name: another process has not
            if (!collect()) return kDone;
        }
    }

private:
    /// False: the other side has gone.
    bool sayReady() const {
        const std::string ready = frameHead(FrameKind::kReady, 0);
        const auto whole = static_cast<ssize_t>(ready.size());
        if (sendWithDescriptor(connection, ready, note.descriptor()) == whole) return true;
        return sendWithDescriptor(connection, ready, -1) == whole;  // too many descriptors may be on their way
    }

    /// Empty: the connection has ended.
    std::string nextWord() {
        for (;;) {
            const std::size_t end = unread.find('\n');
            if (end != std::string::npos || unread.size() > kLongestWord) {
                const std::string word = unread.substr(0, end);
                unread.erase(0, end == std::string::npos ? end : end + 1);
                return word.empty() ? "?" : word;
            }
            pollfd waited{connection, POLLIN, 0};
            const int patience =
                left.count() == 0 ? -1 : 1000;  // milliseconds between two looks at what may have ended
            const int ready = ::poll(&waited, 1, patience);
            left.reap();
            if (ready <= 0) continue;
            char piece[64];
            const ssize_t count = ::read(connection, piece, sizeof piece);
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) return "";
            unread.append(piece, static_cast<std::size_t>(count));
        }
    }

    /// By itself, if no keeper does it first.
    void endAfterLimit() const {
        if (options.limitSeconds > 0)
            (void)::alarm(static_cast<unsigned>(std::ceil(options.limitSeconds)) + kAfterTheKeeper);
    }

    bool collect() {
        endAfterLimit();
        readMachineAccountAnew();
        std::string known;
        InstancesHead head;
        head.systemName = hostName();
        const ResidentCollection resident{
            [&known](const std::string& record) { known += record; },
            [this](const std::string& clause) { note.write(clause); },
            [&head](const std::string& className, const std::string& why) { head.leftOut.emplace(className, why); },
            left};
        collectAccount(session, resident);
        ServedClass system;
        system.published = {session.host().findClass(kHostingSystem), session.host().instances(kHostingSystem)};
        note.write("writing the documents");
        const bool isHeard = send(FrameKind::kInstances, packed(head) + known + packed(system)) && sendDocuments(known);
        session.host().clear();
        (void)::alarm(0);
        giveBackMemory();
        return isHeard;
    }

    /// One after the other, so that no two lie here at once.
    bool sendDocuments(const std::string& known) {
        Collection collection = readCollection(session, known, {});
        const ServerAccount account = joinAccounts(machineAccount(), collection);
        return send(FrameKind::kJson, inventoryJson(account, {})) &&
               send(FrameKind::kMetrics, inventoryMetrics(account)) && send(FrameKind::kPage, inventoryPage(account)) &&
               sendEnd(stallOf(account));
    }

    bool sendEnd(const std::string& stall) {
        note.write("");  // before the front can ask for the next one
        return send(FrameKind::kEnd, stall);
    }

    bool send(FrameKind kind, const std::string& payload) const { return writeFrame(connection, kind, payload); }

    const CollectorOptions options;
    const int connection;
    PluginSession session;
    std::string unread;  // what came behind a word
    LeftProcesses left;
    ProgressNote note;
};

}  // namespace

int runCollector(const CollectorOptions& options, int connection) { return Collector(options, connection).run(); }

}  // namespace diskmgt::serve

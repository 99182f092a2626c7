#include "serve/keeper/keeper.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

#include "serve/handover/control.h"
#include "serve/keeper/child_process.h"
#include "serve/keeper/front_account.h"
#include "serve/keeper/kept_collector.h"
#include "serve/keeper/listeners.h"
#include "serve/keeper/secret_files.h"
#include "serve/keeper/service_manager.h"
#include "serve/process/log_line.h"
#include "serve/process/rights.h"
#include "session/own_files.h"
#include "terminal/remarks.h"
#include "text/command_error.h"
#include "worker/account.h"

namespace diskmgt::serve {

namespace {

constexpr std::int64_t kSecondNs = 1000000000;

void requireGuard(const std::vector<Listener>& listeners, const ServeOptions& options) {
    const bool isGuarded =
        !options.certificateFile.empty() && (!options.credentialsFile.empty() || !options.clientCaFile.empty());
    for (const Listener& listener : listeners)
        if (!listener.isLoopback && !isGuarded)
            throw CommandError(kWrongUsage, "other machines reach " + listener.where +
                                                ", so it needs --tls-cert, --tls-key and --credentials or --client-ca");
}

Descriptor keepersSignals() {
    sigset_t all;
    (void)sigemptyset(&all);
    for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGCHLD}) (void)sigaddset(&all, number);
    (void)::sigprocmask(SIG_BLOCK, &all, nullptr);
    return Descriptor(::signalfd(-1, &all, SFD_CLOEXEC | SFD_NONBLOCK));
}

std::string endInWords(int status) {
    if (WIFSIGNALED(status)) return std::string("was ended by a signal: ") + ::strsignal(WTERMSIG(status));
    return "ended with status " + std::to_string(WEXITSTATUS(status));
}

class Keeper {
public:
    explicit Keeper(const ServeOptions& asked)
        : options(asked),
          account(frontAccount(asked.user)),
          settings(readSecrets(asked)),
          signals(keepersSignals()),
          listeners(inheritedListeners()),
          collector(asked.collector, asked.collectorSocket) {
        if (listeners.empty() || !options.listen.empty())
            for (Listener& one : openListeners(options.listen, account.group)) listeners.push_back(std::move(one));
        closeInOnItself();  // again: to change the group of new files has undone a part of it
    }
    Keeper(const Keeper&) = delete;
    Keeper& operator=(const Keeper&) = delete;
    ~Keeper() {
        closeListeners();
        endAll();
    }

    int run() {
        requireGuard(listeners, options);
        writeRemarksAsLogLines();
        while (!isOver) {
            if (!isFinishing) startWhatIsDue();
            wait();
            if (!isFinishing && collector.isUseless()) return kPluginUnusable;  // it has said why
        }
        return status;
    }

private:
    static std::int64_t now() { return worker::steadyNanoseconds(); }

    void startWhatIsDue() {
        collector.startWhenDue(now(), front > 0 ? 1 : 0);
        if (front <= 0 && now() >= frontPause.notBeforeNs()) startFront();
        tellTrouble();
    }

    void startFront() {
        int ends[2];
        if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
            throw CommandError(kPluginUnusable, std::string("cannot make a pair of sockets: ") + std::strerror(errno) +
                                                    "; raise the limit of open files");
        channel = Descriptor(ends[0]);
        const Descriptor others(ends[1]);
        frontPause.started(now());
        isServing = false;
        toldTrouble.clear();
        front = start({ownLibraryFolder() + "/diskmgt-serve",
                       {kFrontRole, std::to_string(account.user), std::to_string(account.group)},
                       {{others.get(), kFrontChannel}}});
        sendSettings();
        for (const Listener& listener : listeners)
            (void)sendControl(channel.get(), ControlKind::kListener, "", listener.socket.get());
    }

    void sendSettings() {
        const Descriptor file = inMemory(settings);
        if (!file.isOpen() || !sendControl(channel.get(), ControlKind::kSettings, "", file.get()))
            writeRemark("cannot hand the settings over; free memory");
    }

    void tellTrouble() {
        const std::string trouble = collector.trouble();
        if (trouble == toldTrouble || !channel.isOpen()) return;
        if (!trouble.empty()) writeRemark(trouble);
        (void)sendControl(channel.get(), ControlKind::kTrouble, trouble);
        toldTrouble = trouble;
    }

    void wait() {
        std::array<pollfd, 3> waited{pollfd{signals.get(), POLLIN, 0}, pollfd{channel.get(), POLLIN, 0},
                                     pollfd{isServing ? collector.awaited() : -1, POLLIN, 0}};
        if (::poll(waited.data(), waited.size(), patience()) > 0) {
            if (waited[0].revents != 0) takeSignals();
            if (waited[1].revents != 0 && channel.isOpen()) listenToFront();
            if (waited[2].revents != 0 && collector.awaited() >= 0 && collector.look(now())) handCollectorOver();
        }
        if (!isFinishing) return collector.endWhenLate(now());
        if (now() < finishByNs || front <= 0) return;
        writeRemark("the front does not end in time, and is killed");
        (void)::kill(front, SIGKILL);
        finishByNs = now() + kSecondNs;
    }

    /// In milliseconds, as poll(2) takes it.
    int patience() const {
        std::int64_t next = isFinishing ? finishByNs : -1;
        if (!isFinishing) {
            next = collector.nextNs();
            if (front <= 0) next = next < 0 ? frontPause.notBeforeNs() : std::min(next, frontPause.notBeforeNs());
        }
        if (next < 0) return -1;
        return static_cast<int>(std::min<std::int64_t>(std::max<std::int64_t>(next - now(), 0) / 1000000 + 1, 60000));
    }

    void handCollectorOver() {
        const Descriptor connection = collector.takeConnection();
        if (channel.isOpen() && !sendControl(channel.get(), ControlKind::kCollector, "", connection.get()))
            collector.end(now());  // another is started
        sayWhere();
    }

    void sayWhere() {
        if (hasSaidWhere) return;
        hasSaidWhere = true;
        const char* const scheme = settings.certificate.empty() ? "http://" : "https://";
        for (const Listener& listener : listeners)
            (void)std::printf("%s%s%s\n", listener.isUnix ? "unix:" : scheme, listener.where.c_str(),
                              listener.isUnix ? "" : "/");
        (void)std::fflush(stdout);  // the caller may not read it
    }

    void listenToFront() {
        const ControlReading reading = receiveControl(channel.get());
        if (reading.hasEnded) return channel.close();  // SIGCHLD says the rest
        if (!reading.message) return;
        if (reading.message->kind == ControlKind::kServing) {
            isServing = true;
            accepted = settings;
            manager.sayReady();  // without a collector yet, clients get the reason
        }
        if (reading.message->kind == ControlKind::kCollectorGone && collector.awaited() < 0) collector.end(now());
        if (reading.message->kind == ControlKind::kIdle && options.exitIdleSeconds > 0) finish();
    }

    void takeSignals() {
        signalfd_siginfo taken{};
        while (::read(signals.get(), &taken, sizeof taken) == static_cast<ssize_t>(sizeof taken)) {
            if (taken.ssi_signo == SIGHUP) readAgain();
            if (taken.ssi_signo == SIGTERM || taken.ssi_signo == SIGINT) finish();
        }
        int ended = 0;
        pid_t process = 0;
        while ((process = ::waitpid(-1, &ended, WNOHANG)) > 0) {
            if (process == front)
                frontEnded(ended);
            else if (collector.reaped(process, now()) && !isFinishing && collector.wasEverReady() &&
                     !(WIFSIGNALED(ended) && WTERMSIG(ended) == SIGKILL) &&
                     !(WIFEXITED(ended) && WEXITSTATUS(ended) == 0))
                writeRemark("the collector " + endInWords(ended) + ", and is started again");
        }
    }

    void frontEnded(int ended) {
        front = -1;
        channel.close();
        if (isFinishing) {
            isOver = true;
        } else if (!isServing && !hasSaidWhere) {
            isOver = true;
            status = WIFEXITED(ended) && WEXITSTATUS(ended) != 0 ? WEXITSTATUS(ended) : int{kPluginUnusable};
        } else {
            writeRemark("the front " + endInWords(ended) + ", and is started again");
            collector.end(now());                 // its connection has gone with the front
            if (!isServing) settings = accepted;  // those read since may be why
            frontPause.ended(now());
        }
        isServing = false;
    }

    void readAgain() {
        try {
            settings = readSecrets(options);
            if (channel.isOpen()) sendSettings();
        } catch (const CommandError& error) {
            writeRemark(std::string(error.what()) + "; what was read before stays in use");
        }
    }

    void finish() {
        constexpr std::int64_t kMostNs = 15 * kSecondNs;  // more than the front gives its clients
        if (isFinishing || front <= 0) {                  // asked twice: at once
            isOver = true;
            return;
        }
        isFinishing = true;
        finishByNs = now() + kMostNs;
        (void)sendControl(channel.get(), ControlKind::kFinish);
        closeListeners();
    }

    /// Once: a successor may have a socket of the same name soon.
    void closeListeners() {
        for (const Listener& listener : listeners)
            if (!listener.toRemove.empty()) (void)::unlink(listener.toRemove.c_str());
        listeners.clear();
    }

    /// Of the kernel's grace: what does not end is left.
    void endAll() {
        constexpr std::int64_t kToEndNs = kSecondNs / 2;
        std::vector<pid_t> left = collector.processes();
        if (front > 0) {
            (void)::kill(front, SIGKILL);
            left.push_back(front);
        }
        channel.close();
        collector.takeConnection().close();
        for (const bool isKilled : {false, true}) {
            if (isKilled)
                for (const pid_t process : left) (void)::kill(process, SIGKILL);
            const std::int64_t until = now() + kToEndNs;
            while (!left.empty() && now() < until) {
                left.erase(std::remove_if(left.begin(), left.end(),
                                          [](pid_t process) { return ::waitpid(process, nullptr, WNOHANG) != 0; }),
                           left.end());
                const timespec moment{0, 1000000};
                if (!left.empty()) (void)::nanosleep(&moment, nullptr);
            }
        }
    }

    const ServeOptions options;
    const Account account;
    FrontSettings settings;
    FrontSettings accepted;  // the last ones with which a front has served
    const Descriptor signals;
    std::vector<Listener> listeners;
    KeptCollector collector;
    ServiceManager manager;
    RestartPause frontPause;
    pid_t front = -1;
    Descriptor channel;  // to the front
    bool isServing = false;
    bool hasSaidWhere = false;
    std::string toldTrouble;
    bool isFinishing = false;
    std::int64_t finishByNs = 0;
    bool isOver = false;
    int status = kDone;
};

}  // namespace

int runKeeper(const ServeOptions& options) {
    closeInOnItself();
    adoptOrphans();
    return Keeper(options).run();
}

}  // namespace diskmgt::serve

// Records, refusals and registration of the second host.
#include "tests/contract/second_host/host.h"

#include <pthread.h>

#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "plugin/host/tal_exception.h"

namespace NVEXTAL20 {

class TPluginManagerProvider {
public:
    unsigned int unused = 0;  // only its address counts
};

}  // namespace NVEXTAL20

namespace second_host {

namespace {

SecondHost* theHost = nullptr;
NVEXTAL20::TPluginManagerProvider theHandle;

void raise(Refusal refusal) {
    switch (refusal) {
        case Refusal::kTalException:
            throw NVEXTAL20::TTALException(kRefusalText);
        case Refusal::kStandardException:
            throw std::runtime_error(kRefusalText);
        case Refusal::kForeignException:
            throw 42;
        case Refusal::kThreadExit:
            pthread_exit(nullptr);
        case Refusal::kThreadCancelled:
            (void)pthread_cancel(pthread_self());
            pthread_testcancel();
            break;
        case Refusal::kNone:
        case Refusal::kNull:
            break;
    }
}

}  // namespace

SecondHost::SecondHost(Services offered) : services(std::move(offered)) {
    if (theHost != nullptr) std::abort();  // two hosts in one process: a mistake of the test
    theHost = this;
}

SecondHost::~SecondHost() { theHost = nullptr; }

SecondHost& SecondHost::current() {
    if (theHost == nullptr) std::abort();  // the plug-in called a host that is gone
    return *theHost;
}

void SecondHost::refuse(std::function<Refusal(const Call&)> newRule) {
    const std::lock_guard<std::mutex> lock(guard);
    rule = std::move(newRule);
}

bool SecondHost::isAnsweredNull(Call call) {
    Refusal refusal = Refusal::kNone;
    {
        const std::lock_guard<std::mutex> lock(guard);
        if (rule) refusal = rule(call);
        received.push_back(std::move(call));
    }
    raise(refusal);
    return refusal == Refusal::kNull;
}

void SecondHost::writeLog(int severity, const std::string& text) {
    const std::lock_guard<std::mutex> lock(guard);
    logged.push_back({severity, text});
}

NVEXTAL20::TPluginManagerProvider* SecondHost::registerPlugin(NVEXTAL20::IPluginCallbacks* entry) {
    registered = entry;
    if (services.onRegistration) services.onRegistration(*entry);
    issued = services.acceptsPlugins ? &theHandle : nullptr;
    return issued;
}

std::vector<LogLine> SecondHost::log() const {
    const std::lock_guard<std::mutex> lock(guard);
    return logged;
}

std::vector<Call> SecondHost::calls() const {
    const std::lock_guard<std::mutex> lock(guard);
    return received;
}

void SecondHost::clearRecords() {
    const std::lock_guard<std::mutex> lock(guard);
    logged.clear();
    received.clear();
}

}  // namespace second_host

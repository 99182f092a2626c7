// The thread's own request, and the list of all.
#include "refhost/boundary/request_scope.h"

#include <algorithm>

namespace refhost {

namespace {

thread_local RequestScope* current = nullptr;

}  // namespace

std::string RunningRequests::lastServed() const {
    const std::lock_guard<std::mutex> guard(mutex);
    const RequestScope* last = nullptr;
    for (const RequestScope* scope : scopes)
        if (scope->served != nullptr && (last == nullptr || scope->servedAt > last->servedAt)) last = scope;
    return last == nullptr ? std::string() : last->served->name();
}

RequestScope::RequestScope(RunningRequests& all) : running(all) {
    const std::lock_guard<std::mutex> guard(running.mutex);
    running.scopes.push_back(this);
    ownNumber = ++running.latest;
    current = this;
}

RequestScope::~RequestScope() {
    current = nullptr;
    const std::lock_guard<std::mutex> guard(running.mutex);
    running.scopes.erase(std::find(running.scopes.begin(), running.scopes.end(), this));
}

bool RequestScope::isRunning() { return current != nullptr; }

std::uint64_t RequestScope::currentNumber() { return current == nullptr ? 0 : current->ownNumber; }

RecentValues* RequestScope::recentValues() { return current == nullptr ? nullptr : &current->recent; }

void RequestScope::collect(const LogLine& line) {
    if (current != nullptr) current->lines.push_back(line);
}

void RequestScope::noteServed(const DeclaredClass& declared) {
    if (current == nullptr) return;
    if (current->running.announce) current->running.announce(declared.name());
    const std::lock_guard<std::mutex> guard(current->running.mutex);
    current->served = &declared;
    current->servedAt = ++current->running.clock;
}

}  // namespace refhost

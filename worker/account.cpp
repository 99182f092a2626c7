// A text is written where nobody reads, then becomes the latest. A reader that finds another latest one reads again.
#include "worker/account.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <new>

#include "text/command_error.h"

namespace diskmgt::worker {

namespace {

constexpr std::uint32_t kGivenUp = 0xFFFFFFFF;

Account unshared;
Account* present = &unshared;

template <std::size_t Size>
void put(char (&text)[Size], const std::string& from) {
    const std::size_t length = std::min(from.size(), Size - 1);
    std::memcpy(text, from.data(), length);
    text[length] = '\0';
}

}  // namespace

void Account::change(std::uint32_t to) {
    std::uint32_t from = current.load(std::memory_order_relaxed);
    if (from != kGivenUp && current.compare_exchange_strong(from, to, std::memory_order_acq_rel)) return;
    for (;;) (void)::pause();  // the watching process is about to end this one
}

void Account::enter(const Stage& stage, const std::string& subject) {
    const std::uint32_t number = ++latest;
    stages[number % 2] = stage;
    stages[number % 2].startNs = steadyNanoseconds();
    limitFromNs.store(stages[number % 2].startNs, std::memory_order_release);
    nowAt(subject);
    change(number);
}

void Account::leave() {
    if (hasUsual)
        enter(usualStage, usualText);
    else
        change(0);
}

void Account::nowAt(const std::string& subject) {
    put(subjectTexts[(subjectTurn.load(std::memory_order_relaxed) + 1) % 2], subject);
    subjectTurn.fetch_add(1, std::memory_order_acq_rel);  // what is written next comes after this for readers too
}

void Account::reset(const Stage& usual, const std::string& usualSubject) {
    current = 0;
    relayTurn = 0;
    outputError = 0;
    isPuttingInPlace = false;
    notedStatus = 0;
    hasNoted = false;
    remarksEnd = 0;
    std::memset(remarks, 0, sizeof remarks);
    usualStage = usual;
    hasUsual = usual.limitSeconds > 0;
    if (!hasUsual) return;
    put(usualText, usualSubject);
    leave();
}

std::string Account::subject() const {
    constexpr int kAttempts = 1000;  // one suffices, unless the worker says two more meanwhile
    std::string text;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const std::uint32_t before = subjectTurn.load(std::memory_order_acquire);
        const char* const latestText = subjectTexts[before % 2];
        text.assign(latestText, ::strnlen(latestText, sizeof subjectTexts[0]));
        if (subjectTurn.fetch_add(0, std::memory_order_acq_rel) == before) break;
    }
    return text;
}

void Account::keepRemark(const std::string& sentence) {
    const std::size_t size = sentence.size() + 1;
    const std::size_t begin = remarksEnd.fetch_add(size, std::memory_order_acq_rel);
    if (begin < sizeof remarks && size <= sizeof remarks - begin) std::memcpy(remarks + begin, sentence.c_str(), size);
}

std::vector<std::string> Account::keptRemarks() const {
    std::vector<std::string> kept;
    const std::size_t end = std::min(remarksEnd.load(std::memory_order_acquire), sizeof remarks);
    for (std::size_t begin = 0; begin < end; begin += kept.back().size() + 1)
        kept.emplace_back(remarks + begin, ::strnlen(remarks + begin, end - begin));
    while (!kept.empty() && kept.back().empty()) kept.pop_back();
    return kept;
}

bool Account::giveUp(std::uint32_t number) {
    return current.compare_exchange_strong(number, kGivenUp, std::memory_order_acq_rel);
}

Account& account() { return *present; }

void shareAccount() {
    void* const memory = ::mmap(nullptr, sizeof(Account), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        throw CommandError(kFailureReported, std::string("cannot share memory with the worker process: ") +
                                                 std::strerror(errno) + "; free memory and run it again");
    present = new (memory) Account;  // never unmapped: it is needed to the end
}

std::int64_t steadyNanoseconds() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

}  // namespace diskmgt::worker

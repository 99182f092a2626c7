#include "serve/http/failed_attempts.h"

#include <algorithm>
#include <tuple>

namespace diskmgt::serve {

std::chrono::milliseconds FailedAttempts::pause(const std::string& address, Moment now) const {
    const auto found = known.find(address);
    if (found == known.end() || found->second.until <= now) return std::chrono::milliseconds(0);
    return std::chrono::ceil<std::chrono::milliseconds>(found->second.until - now);
}

void FailedAttempts::failed(const std::string& address, Moment now) {
    if (known.count(address) == 0 && known.size() >= rules.addresses) makeRoom(now);
    Record& record = known[address];
    if (isForgotten(record, now)) record = Record();
    ++record.failures;
    record.latest = now;
    if (record.failures <= rules.unpunished) return;
    auto length = rules.firstPause;
    for (unsigned more = record.failures - rules.unpunished; more > 1 && length < rules.longestPause; --more)
        length *= 2;
    record.until = now + std::min(length, rules.longestPause);
}

void FailedAttempts::makeRoom(Moment now) {
    for (auto record = known.begin(); record != known.end();)
        record = isForgotten(record->second, now) ? known.erase(record) : std::next(record);
    if (known.size() < rules.addresses || known.empty()) return;
    known.erase(std::min_element(known.begin(), known.end(), [](const auto& left, const auto& right) {
        return std::tie(left.second.failures, left.second.latest) <
               std::tie(right.second.failures, right.second.latest);
    }));
}

}  // namespace diskmgt::serve

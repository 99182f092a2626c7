#include "refhost/services/core_logger.h"

#include <utility>

#include "refhost/boundary/boundary.h"
#include "refhost/boundary/request_scope.h"

namespace refhost {

CoreLogger& CoreLogger::instance() {
    static CoreLogger& logger = *new CoreLogger;
    return logger;
}

void CoreLogger::Log(ETALLogSeverity severity, const std::string& text) {
    cross(
        "log",
        [&] {
            return TraceArguments{{"severity", std::int64_t{severity}}, {"text", text}};
        },
        [&] {
            write({static_cast<int>(severity), text});
        });
}

void CoreLogger::write(const LogLine& line) {
    RequestScope::collect(line);
    const std::lock_guard<std::mutex> guard(mutex);
    if (!isOpen) return;
    if (isKeeping) kept.push_back(line);
    if (line.severity <= forwarded && forwardedTo) forwardedTo(line);
}

void CoreLogger::open(bool keeps) {
    const std::lock_guard<std::mutex> guard(mutex);
    isOpen = true;
    isKeeping = keeps;
}

void CoreLogger::close() {
    const std::lock_guard<std::mutex> guard(mutex);
    isOpen = false;
    forwarded = -1;
    forwardedTo = {};
    kept.clear();
}

std::vector<LogLine> CoreLogger::lines() const {
    const std::lock_guard<std::mutex> guard(mutex);
    return kept;
}

void CoreLogger::forward(int fromSeverity, LogSink sink) {
    const std::lock_guard<std::mutex> guard(mutex);
    forwarded = fromSeverity;
    forwardedTo = std::move(sink);
}

}  // namespace refhost

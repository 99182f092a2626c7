// Log lines: kept in order, given to the request of the thread, written to standard error on demand.
#include "refhost/services/core_logger.h"

#include <cstdio>

#include "refhost/services/boundary.h"
#include "refhost/services/request_scope.h"

namespace refhost {

namespace {

const char* severityWord(int severity) {
    static const char* const words[] = {"error", "warning", "status", "debug", "verbose"};
    return severity >= 0 && severity < 5 ? words[severity] : "log";
}

/// One line for a terminal. Mount tables put any byte into a log line; control characters must not reach a terminal.
std::string terminalLine(const LogLine& line) {
    std::string shown = std::string(severityWord(line.severity)) + ": ";
    for (const char character : line.text) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte >= 0x20 && byte != 0x7F) {
            shown += character;
            continue;
        }
        char escape[5];
        (void)std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned int>(byte));  // always fits
        shown += escape;
    }
    return shown + "\n";
}

}  // namespace

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
    kept.push_back(line);
    if (line.severity > forwarded) return;
    const std::string shown = terminalLine(line);
    (void)std::fwrite(shown.data(), 1, shown.size(), stderr);  // nobody is left to tell when this fails
}

void CoreLogger::open() {
    const std::lock_guard<std::mutex> guard(mutex);
    isOpen = true;
}

void CoreLogger::close() {
    const std::lock_guard<std::mutex> guard(mutex);
    isOpen = false;
    forwarded = -1;
    kept.clear();
}

std::vector<LogLine> CoreLogger::lines() const {
    const std::lock_guard<std::mutex> guard(mutex);
    return kept;
}

void CoreLogger::forward(int fromSeverity) {
    const std::lock_guard<std::mutex> guard(mutex);
    forwarded = fromSeverity;
}

}  // namespace refhost

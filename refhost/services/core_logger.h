// CoreLogger: the one logger of the process.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "plugin/host/logger.h"
#include "refhost/api/reference_host.h"

namespace refhost {

/// Keeps what is logged while a host exists and drops it otherwise. Safe to use from several threads.
class CoreLogger final : public NVEXTAL20::ILogger {
public:
    /// Never destroyed: plug-ins may log until the process ends.
    static CoreLogger& instance();

    void Log(ETALLogSeverity severity, const std::string& text) override;

    /// Begins to pass lines on, with an empty list, which `keeps` lets grow.
    void open(bool keeps);
    /// Ends keeping lines and forwarding them.
    void close();
    std::vector<LogLine> lines() const;
    /// As `ReferenceHost::forwardLog`.
    void forward(int fromSeverity, LogSink sink);

private:
    CoreLogger() = default;
    void write(const LogLine& line);

    mutable std::mutex mutex;
    bool isOpen = false;
    bool isKeeping = false;
    int forwarded = -1;
    LogSink forwardedTo;
    std::vector<LogLine> kept;
};

}  // namespace refhost

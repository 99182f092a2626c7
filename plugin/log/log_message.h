// LogMessage: how the plug-in writes to the host's core logger. Silent until the plug-in is registered. Usable
// before the library's static constants exist.
#pragma once

#include <string>

#include "plugin/host/logger.h"

namespace NVEXTAL20 {
class TPluginManagerProvider;
}

namespace diskmgt_col {

class LogMessage {
public:
    LogMessage() = default;
    LogMessage(const LogMessage&) = delete;
    LogMessage& operator=(const LogMessage&) = delete;
    virtual ~LogMessage() = default;

    /// The one object, made on the first call, which registration makes on the loading thread; never deleted.
    static LogMessage* getInstance();
    /// The registered plug-in's handle; while it is null, nothing is logged.
    static void setPluginInstance(NVEXTAL20::TPluginManagerProvider* instance);

    /// Passes the text on unchanged. Dropped: an empty text, and every text before registration or in a host
    /// without a logger. Exceptions of the logger pass.
    void write(const std::string& text, NVEXTAL20::ILogger::ETALLogSeverity severity) const;
    void writeError(const std::string& text) const;
    void writeWarning(const std::string& text) const;
    void writeStatus(const std::string& text) const;
    void writeDebug(const std::string& text) const;
    void writeVerbose(const std::string& text) const;

    /// The text of another system's error code: always empty here.
    std::string lookupWin32Error(int code) const;
    /// Writes that text; as it is empty, nothing is logged.
    void writeWin32Error(int code) const;

private:
    static LogMessage* pLogMsg;
    static NVEXTAL20::TPluginManagerProvider* pluginInstance;
};

}  // namespace diskmgt_col

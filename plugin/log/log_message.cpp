#include "plugin/log/log_message.h"

#include "plugin/host/root_object.h"

namespace diskmgt_col {

using NVEXTAL20::ILogger;

LogMessage* LogMessage::pLogMsg = nullptr;
NVEXTAL20::TPluginManagerProvider* LogMessage::pluginInstance = nullptr;

LogMessage* LogMessage::getInstance() {
    if (pLogMsg == nullptr) pLogMsg = new LogMessage;
    return pLogMsg;
}

void LogMessage::setPluginInstance(NVEXTAL20::TPluginManagerProvider* instance) { pluginInstance = instance; }

void LogMessage::write(const std::string& text, ILogger::ETALLogSeverity severity) const {
    if (pluginInstance == nullptr || text.empty()) return;
    ILogger* const logger = NVEXTAL20::TRootObject::GetCoreLogger();
    if (logger != nullptr) logger->Log(severity, text);
}

void LogMessage::writeError(const std::string& text) const { write(text, ILogger::kError); }

void LogMessage::writeWarning(const std::string& text) const { write(text, ILogger::kWarning); }

void LogMessage::writeStatus(const std::string& text) const { write(text, ILogger::kStatus); }

void LogMessage::writeDebug(const std::string& text) const { write(text, ILogger::kDebug); }

void LogMessage::writeVerbose(const std::string& text) const { write(text, ILogger::kVerbose); }

std::string LogMessage::lookupWin32Error(int /*code*/) const { return std::string(); }

void LogMessage::writeWin32Error(int code) const { writeVerbose(lookupWin32Error(code)); }

}  // namespace diskmgt_col

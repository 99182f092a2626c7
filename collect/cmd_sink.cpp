#include "collect/cmd_sink.h"

#include <boost/regex.hpp>
#include <utility>

#include "plugin/host/os_specific.h"

namespace diskmgt_col {

namespace {

constexpr int kTimeLimitSeconds = 300;

}  // namespace

CmdSink::CmdSink(std::string /*ignored*/) {}

CmdSink::CmdSink(const CmdSink& other) : reserved(other.reserved), lines(other.lines), source(other.source) {}

CmdSink& CmdSink::operator=(const CmdSink& other) {
    if (this == &other) return *this;
    position = 0;
    reserved = other.reserved;
    lines = other.lines;
    source = other.source;
    return *this;
}

int CmdSink::executeCmd(const std::string& command, std::vector<std::string> arguments) {
    source = command;
    std::string output = NVEXTAL20::TOSSpecific::SpawnProcess(command, std::move(arguments), kTimeLimitSeconds);
    return getContents(output);
}

std::vector<int> CmdSink::executeCmdSet(std::map<std::string, std::vector<std::string>> commands) {
    std::vector<int> lineCounts;
    lineCounts.reserve(commands.size());
    for (const auto& [command, arguments] : commands) lineCounts.push_back(executeCmd(command, arguments));
    return lineCounts;
}

int CmdSink::readFile(std::string& path) {
    std::string text;
    if (NVEXTAL20::TOSSpecific::FileExists(path)) {
        text = NVEXTAL20::TOSSpecific::CaptureFile(path);
    } else {
        lines.clear();
    }
    return getContents(text);
}

int CmdSink::getContents(std::string& text) {
    position = 0;
    const boost::regex lineEnd("(\n)", boost::regex::perl | boost::regex::no_except);
    boost::match_flag_type flags = boost::match_default;
    boost::smatch match;
    std::string::const_iterator begin = text.begin();
    const std::string::const_iterator end = text.end();
    while (lineEnd.status() == 0 && boost::regex_search(begin, end, match, lineEnd, flags)) {
        lines.push_back(match.prefix().str());
        begin = match[0].second;
        flags |= boost::match_prev_avail | boost::match_not_bob;
    }
    return static_cast<int>(lines.size());
}

std::string CmdSink::readLine(int index) {
    const auto line = static_cast<std::uint64_t>(index);  // a negative index becomes one past every line
    if (line >= lines.size()) return std::string();
    position = index;
    return lines[line];
}

std::string CmdSink::readLine() {
    std::string line = readLine(position);
    position = static_cast<std::int32_t>(static_cast<std::uint32_t>(position) + 1);  // wraps rather than overflows
    return line;
}

bool CmdSink::isGood() { return static_cast<std::uint64_t>(position) < lines.size(); }

bool CmdSink::toBeginPos() {
    position = 0;
    return true;
}

}  // namespace diskmgt_col

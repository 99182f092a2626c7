// CmdSink: the output of a command or the content of a file, line by line. Running commands and reading files is
// left to the host.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "collect/parse_spec.h"

namespace diskmgt_col {

class CmdSink {
public:
    CmdSink() = default;
    /// Intended: the argument is ignored. Held by CmdSink.IgnoresTheArgumentOfItsConstructor.
    explicit CmdSink(std::string ignored);
    /// Copies what was captured; the copy begins at the first line.
    CmdSink(const CmdSink& other);
    CmdSink& operator=(const CmdSink& other);
    virtual ~CmdSink() = default;

    /// Does nothing.
    void init() {}
    /// Runs a command for at most 300 seconds and adds its lines; the number of lines captured so far, earlier ones
    /// included. Exceptions of the host pass.
    int executeCmd(const std::string& command, std::vector<std::string> arguments);
    /// Runs every command, in the order of their names; the result of each.
    std::vector<int> executeCmdSet(std::map<std::string, std::vector<std::string>> commands);
    /// Adds the lines of a file; the number of lines captured so far. A missing file empties the capture and gives 0.
    int readFile(std::string& path);
    /// Adds the lines of a text; the number of lines captured so far. Text after the last line end is dropped.
    int getContents(std::string& text);

    /// The line at that index, and moves the position there. An index out of range gives an empty text and moves
    /// nothing.
    std::string readLine(int index);
    /// The line at the position; then moves one line on, past the end too.
    std::string readLine();
    /// Whether there is a line at the position.
    bool isGood();
    /// Moves the position to the first line; true.
    bool toBeginPos();

    /// What `spec` makes of the capture, from its first line on.
    template <typename Result>
    Result parse(ParseSpec<Result>* spec) {
        (void)toBeginPos();
        return spec->parseSink(*this);
    }

private:
    std::int32_t position = 0;
    std::int32_t reserved = 0;  // only copied
    std::vector<std::string> lines;
    std::string source;  // the command last run
};

}  // namespace diskmgt_col

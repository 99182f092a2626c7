// Where the data goes: standard output, or a file that appears whole or not at all.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

namespace diskmgt_cli {

/// Every operation throws `CommandError` when the data cannot be written; when the reader has gone away, a quiet one.
class Output {
public:
    /// An empty path means standard output. A regular file is written under a temporary name beside it until
    /// `finish`, and a symbolic link to one stays a link; devices and pipes are written as they are.
    explicit Output(const std::string& filePath);
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    /// Not finished: nothing is left behind, and a file that was there before stays.
    ~Output();

    bool isTerminal() const;
    /// Columns of the terminal; COLUMNS decides when it is set. 0 when the output is no terminal.
    std::size_t terminalWidth() const;
    void write(const std::string& text);
    /// Everything has arrived: writes out what is buffered and gives the file its name. Nothing is written after it.
    void finish();

private:
    void openReplacement(const std::string& target, unsigned mode);
    [[noreturn]] void fail(int errorNumber) const;

    std::string path;           // as given; empty for standard output
    std::string pendingTarget;  // the name that `finish` gives; empty when written in place
    std::FILE* stream = nullptr;
};

}  // namespace diskmgt_cli

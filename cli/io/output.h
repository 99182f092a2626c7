// Where the data goes: standard output, something that is open or written as it is, or a file that appears whole or not
// at all.
#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>

namespace diskmgt {

class ReplacementFile;

/// Every operation throws `CommandError` when the data cannot be written; when the reader has gone away, a quiet one.
class Output {
public:
    /// An empty path means standard output. A regular file is replaced in `finish`, and a symbolic link to one stays a
    /// link; devices, pipes and paths to an open descriptor, such as /dev/stdout, are written as they are.
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
    void open();
    [[noreturn]] void fail(int errorNumber) const;
    [[noreturn]] void fail(const std::string& reason) const;

    std::string path;                              // as given; empty for standard output
    std::unique_ptr<ReplacementFile> replacement;  // null: written as it is
    bool isStandardOutput = false;                 // behind the pipe that a worker writes to
    bool isStandardError = false;                  // the same of standard error
    std::FILE* stream = nullptr;                   // the replacement's own when there is one
};

}  // namespace diskmgt

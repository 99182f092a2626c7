// Buffered writing with every error noticed, the last one at the close.
#include "cli/io/output.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "cli/io/output_target.h"
#include "cli/io/replacement_file.h"
#include "cli/io/write_error.h"
#include "text/command_error.h"
#include "worker/standard_output.h"

namespace diskmgt {

Output::Output(const std::string& filePath) : path(filePath) {
    if (path.empty()) {
        stream = stdout;
        isStandardOutput = true;
        return;
    }
    try {
        open();
    } catch (const WriteError& error) {
        fail(error.what());
    }
}

void Output::open() {
    OutputTarget target = findOutputTarget(path);
    int fd = -1;
    switch (target.kind) {
        case OutputTarget::Kind::kNew:
        case OutputTarget::Kind::kRegularFile:
            replacement = std::make_unique<ReplacementFile>(std::move(target));
            stream = replacement->stream();
            return;
        case OutputTarget::Kind::kOwnDescriptor:
            if (target.descriptor == STDOUT_FILENO) {
                stream = stdout;
                isStandardOutput = true;
                return;
            }
            isStandardError = target.descriptor == STDERR_FILENO;
            fd = ::fcntl(target.descriptor, F_DUPFD_CLOEXEC,
                         0);  // with its place in the file, so nothing is overwritten
            break;
        case OutputTarget::Kind::kAsItIs:
            fd = openForWriting(target);
            break;
    }
    if (fd < 0) throw WriteError(errno);
    stream = ::fdopen(fd, "w");
    if (stream != nullptr) return;
    const int error = errno;
    (void)::close(fd);
    throw WriteError(error);
}

Output::~Output() {
    if (stream != nullptr && stream != stdout && !replacement) (void)std::fclose(stream);  // given up: nothing to lose
}

bool Output::isTerminal() const {
    if (stream == stdout) return standard_output::isTerminal();
    if (isStandardError) return standard_output::isErrorTerminal();
    return stream != nullptr && ::isatty(::fileno(stream)) != 0;
}

std::size_t Output::terminalWidth() const {
    constexpr std::size_t kUsual = 80;
    if (!isTerminal()) return 0;
    std::size_t columns = 0;
    if (const char* const given = std::getenv("COLUMNS"))
        (void)std::from_chars(given, given + std::strlen(given), columns);  // stays 0 when it is no number
    if (columns > 0) return columns;
    if (stream == stdout) return standard_output::columns() == 0 ? kUsual : standard_output::columns();
    winsize size{};
    if (::ioctl(::fileno(stream), TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kUsual;
    return size.ws_col;
}

void Output::write(const std::string& text) {
    errno = 0;
    if (std::fwrite(text.data(), 1, text.size(), stream) != text.size()) fail(errno);
}

void Output::finish() {
    std::FILE* const finished = std::exchange(stream, nullptr);
    if (replacement) {
        try {
            replacement->finish();
        } catch (const WriteError& error) {
            fail(error.what());
        }
        return;
    }
    bool isFlushed = std::fflush(finished) == 0;
    int flushError = errno;
    if (isFlushed && finished == stdout && (flushError = standard_output::settle()) != 0) isFlushed = false;
    const bool isClosed = std::fclose(finished) == 0;  // network file systems report a full disk only now
    if (!isFlushed) fail(flushError);
    if (!isClosed) fail(errno);
}

void Output::fail(int errorNumber) const {
    if (isStandardOutput) errorNumber = standard_output::errorBehind(errorNumber);
    if (errorNumber == EPIPE) throw CommandError(kDone, "");  // the reader has what it wanted
    fail(WriteError(errorNumber).what());
}

void Output::fail(const std::string& reason) const {
    if (path.empty())
        throw CommandError(kFailureReported,
                           "cannot write to standard output: " + reason + "; send it elsewhere with --output FILE");
    throw CommandError(kFailureReported,
                       "cannot write " + path + ": " + reason + "; name another file with --output FILE");
}

}  // namespace diskmgt

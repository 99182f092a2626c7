// diff: what changed between two exported documents. Its exit statuses are those of programs that compare.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "base/handles.h"

#include "cli/commands/commands.h"
#include "cli/diff/comparison.h"
#include "cli/io/output.h"
#include "cli/tables/changes.h"
#include "formats/json.h"
#include "terminal/remarks.h"
#include "worker/deadline.h"

namespace diskmgt {

namespace {

constexpr ExitStatus kUnchanged = kDone;
constexpr ExitStatus kChanged = kFailureReported;  // the number is the same, the meaning is not
constexpr ExitStatus kTrouble = kWrongUsage;

constexpr std::size_t kLargestDocument = std::size_t{256} << 20U;  // far above any server's; keeps /dev/zero out
const std::string kStandardInput = "-";

std::string shownName(const std::string& path) { return path == kStandardInput ? "standard input" : path; }

[[noreturn]] void failReading(const std::string& path) {
    throw CommandError(kTrouble, "cannot read " + shownName(path) + ": " + std::strerror(errno) +
                                     "; name a document of \"diskmgt export json\"");
}

std::string contents(const std::string& path) {
    int fd = STDIN_FILENO;
    if (path != kStandardInput) fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) failReading(path);
    const diskmgt_col::UniqueFd owner(path == kStandardInput ? -1 : fd);
    std::string text;
    struct stat kind {};
    const bool hasSize = ::fstat(fd, &kind) == 0 && S_ISREG(kind.st_mode);
    // Growing would copy, so that both copies lie in memory; what is reserved and not used costs none.
    text.reserve(std::min(hasSize ? static_cast<std::size_t>(kind.st_size) + 1 : kLargestDocument, kLargestDocument));
    char piece[65536];
    while (true) {
        const ssize_t count = ::read(fd, piece, sizeof piece);
        if (count == 0) return text;
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) failReading(path);
        text.append(piece, static_cast<std::size_t>(count));
        if (text.size() > kLargestDocument)
            throw CommandError(kTrouble, shownName(path) +
                                             " has more than 256 MiB, as no inventory has; name a "
                                             "document of \"diskmgt export json\"");
    }
}

InventoryDocument readDocument(const std::string& path, std::size_t alreadyKept) {
    const std::string text = contents(path);
    try {
        return readInventoryDocument(text, alreadyKept);
    } catch (const std::runtime_error& error) {
        throw CommandError(kTrouble, shownName(path) + " " + error.what());
    }
}

struct Documents {
    InventoryDocument before, after;
};

Documents readDocuments(const Options& options) {
    const std::string& before = options.operands[0];
    const std::string& after = options.operands[1];
    if (before == kStandardInput && after == kStandardInput)
        throw CommandError(kTrouble, "standard input holds one document only; name a file for the other");
    const Deadline limit(options.timeoutSeconds, {"reading the documents"});
    Documents documents;
    documents.before = readDocument(before, 0);
    documents.after = readDocument(after, documents.before.kept);
    return documents;
}

ExitStatus compare(const Options& options) {
    const Documents documents = readDocuments(options);
    const auto& [before, after] = documents;
    for (const std::string& doubt :
         doubtsAbout(before, shownName(options.operands[0]), after, shownName(options.operands[1])))
        writeRemark(doubt);
    const std::vector<Change> changes = compareInventories(before, after, options.space);
    const ExitStatus status = changes.empty() ? kUnchanged : kChanged;
    try {
        Output output(options.outputFile);
        if (options.format == Format::kJson)
            changesJson(changes, before, after, [&output, isTerminal = output.isTerminal()](const std::string& piece) {
                output.write(isTerminal ? json::forTerminal(piece) : piece);
            });
        else
            output.write(changesTable(changes, chooseStyle(options.color, output.isTerminal())));
        output.finish();
    } catch (const CommandError& error) {
        if (error.status() == kDone) return status;  // the reader has gone away; the answer stands
        throw CommandError(kTrouble, error.what());  // not to be taken for a change
    }
    return status;
}

}  // namespace

ExitStatus runDiff(const Options& options) {
    try {
        return compare(options);
    } catch (const std::bad_alloc&) {
        throw CommandError(kTrouble, "out of memory; compare smaller documents");
    }
}

}  // namespace diskmgt

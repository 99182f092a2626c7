// probe: the partition maps of devices and disk images, streamed map by map. A crowded GPT disk has two million
// pairs, so the document never exists as a whole.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/deadline.h"
#include "cli/output.h"
#include "cli/printers/json.h"
#include "collect/partition_table_parser.h"

namespace diskmgt_cli {

namespace {

/// 0, or the error that keeps the file from being read. The parser skips such files without a word.
int openError(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return errno;
    struct stat kind {};
    const bool isDirectory = ::fstat(fd, &kind) == 0 && S_ISDIR(kind.st_mode);
    (void)::close(fd);  // read-only: nothing to lose
    return isDirectory ? EISDIR : 0;
}

struct ProbedFile {
    int error = 0;
    std::vector<diskmgt_col::PropertyMap> partitions;
};

ProbedFile probe(const std::string& path, double timeoutSeconds) {
    const Deadline limit(timeoutSeconds, {"reading " + path});
    ProbedFile probed;
    probed.error = openError(path);
    if (probed.error == 0) probed.partitions = diskmgt_col::PartitionTableParser().enumPartitions({path});
    return probed;
}

}  // namespace

ExitStatus runProbe(const Options& options) {
    Output output(options.outputFile);
    ExitStatus status = kDone;
    output.write("[");
    const char* beforeFile = "\n";
    for (const std::string& path : options.operands) {
        ProbedFile probed = probe(path, options.timeoutSeconds);
        if (probed.error != 0) {
            complain("cannot open " + (path.empty() ? "\"\"" : path) + ": " + std::strerror(probed.error) +
                     "; its list is empty, check the name and your rights");
            status = kFailureReported;
        }
        output.write(beforeFile + ("{\"path\": " + json::quoted(path)) + ", \"partitions\": [");
        beforeFile = ",\n";
        const char* beforeMap = "\n";
        for (diskmgt_col::PropertyMap& partition : probed.partitions) {
            output.write(beforeMap + json::pairs(partition));
            beforeMap = ",\n";
            partition.clear();  // each map of a GPT disk holds all pairs of those before it
        }
        output.write(probed.partitions.empty() ? "]}" : "\n]}");
    }
    output.write("\n]\n");
    output.finish();
    return status;
}

}  // namespace diskmgt_cli

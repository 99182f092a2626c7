// The processes of the keeper.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace diskmgt::serve {

struct Program {
    std::string file;
    std::vector<std::string> arguments;            // behind the name
    std::vector<std::pair<int, int>> descriptors;  // the keeper's, and its number in the program; rising numbers
};

/// Starts it with standard output going where errors go, no other descriptors than those named, and without an eye for
/// the signals that are for the keeper. Throws `CommandError` when no process can be had. A program that cannot be run
/// says so itself and ends with `kPluginUnusable`.
pid_t start(const Program& program);

/// Processes that a child leaves when it ends become children of this one, which reaps them.
void adoptOrphans();
/// How many children have not been reaped; 0 where the kernel does not list them. Their numbers may be those of another
/// process namespace.
std::size_t countChildren();

/// When something that ended too soon is started again: at once at first, then after pauses that grow.
class RestartPause {
public:
    void started(std::int64_t nowNs) { startedNs = nowNs; }
    void ended(std::int64_t nowNs);
    /// Of the steady clock.
    std::int64_t notBeforeNs() const { return nextNs; }

private:
    std::int64_t startedNs = 0;
    std::int64_t pauseNs = 0;
    std::int64_t nextNs = 0;
};

}  // namespace diskmgt::serve

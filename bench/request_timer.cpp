// diskmgt_request_timer PLUGIN REPEATS CLASS...: processor nanoseconds of each of the repeated requests, one a line;
// the first line is making the host and loading the plug-in.
#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <exception>

#include "refhost/api/reference_host.h"

namespace {

using Nanoseconds = long long;

/// Processor time of this process, which other processes hardly affect.
Nanoseconds processorTime() {
    timespec now{};
    (void)::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);  // cannot fail for this process
    return Nanoseconds{now.tv_sec} * 1000000000 + now.tv_nsec;
}

void printSince(Nanoseconds begin) { std::printf("%lld\n", processorTime() - begin); }

void run(const char* plugin, int repeats, const std::vector<std::string>& classes) {
    Nanoseconds begin = processorTime();
    refhost::ReferenceHost host;
    (void)host.loadPlugin(plugin);
    printSince(begin);
    for (int i = 0; i < repeats; ++i) {
        begin = processorTime();
        const refhost::RequestResult result = host.request(classes);
        printSince(begin);
        if (result.failure) throw std::runtime_error(*result.failure);
        host.clear();  // dropping the instances does not count
    }
}

}  // namespace

int main(int count, char** arguments) {
    if (count < 4) {
        (void)std::fprintf(stderr, "usage: diskmgt_request_timer PLUGIN REPEATS CLASS...\n");
        return 2;
    }
    try {
        run(arguments[1], std::atoi(arguments[2]), {arguments + 3, arguments + count});
    } catch (const std::exception& failure) {
        (void)std::fprintf(stderr, "diskmgt_request_timer: %s\n", failure.what());
        return 1;
    }
    return 0;
}

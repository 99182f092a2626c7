// Cost of a request in process: plug-in, reference host and a described machine. The times include the described
// machine's calls, which cost about as much as the kernel's.
#include <benchmark/benchmark.h>

#include "bench/allocations.h"
#include "bench/machines.h"
#include "session/request_failure.h"
#include "tests/support/host_session.h"
#include "tests/support/served_classes.h"

namespace {

using diskmgt_bench::Layout;
using diskmgt_bench::MachineSize;

const MachineSize kOneDisk = {1, 4, 14, Layout::mbr};
const MachineSize kServer = {26, 6, 64, Layout::mbr};
const MachineSize kEveryCandidate = {280, 15, 600, Layout::mbr};
const MachineSize kEveryCandidateGpt = {280, 15, 600, Layout::gpt};
const MachineSize kFullGptDisk = {1, 128, 14, Layout::gpt};

/// An association class requested alone needs published instances.
void request(benchmark::State& state, const MachineSize& size, const std::vector<std::string>& classes) {
    diskmgt_test::FakeOs machine;
    describe(machine, size);
    diskmgt_test::HostWithPlugin session;
    (void)session.host.request(diskmgt_test::servedClasses());

    machine.forgetCalls();
    const std::size_t crossingsBefore = session.host.crossings();
    const std::uint64_t allocationsBefore = diskmgt_bench::allocationCount();
    const refhost::RequestResult result = session.host.request(classes);
    state.counters["allocations"] = static_cast<double>(diskmgt_bench::allocationCount() - allocationsBefore);
    state.counters["crossings"] = static_cast<double>(session.host.crossings() - crossingsBefore);
    state.counters["kernel_calls"] = machine.calls();
    if (diskmgt::failureIn(result)) state.SkipWithError("the request failed");
    std::size_t instances = 0;
    for (const std::string& name : classes) instances += session.host.instances(name).size();
    state.counters["instances"] = static_cast<double>(instances);

    for (auto iteration : state) benchmark::DoNotOptimize(session.host.request(classes));
}

void addAll(const std::string& machineName, const MachineSize& size, const std::vector<std::string>& singleClasses) {
    const auto add = [&](const std::string& name, const std::vector<std::string>& classes) {
        benchmark::RegisterBenchmark(("request/" + machineName + "/" + name).c_str(), [=](benchmark::State& state) {
            request(state, size, classes);
        })->Unit(benchmark::kMicrosecond);
    };
    add("all_classes", diskmgt_test::servedClasses());
    add("three_instance_classes", {"VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_LogicalDisk"});
    for (const std::string& name : singleClasses) add(name, {name});
}

const bool isRegistered = [] {
    addAll("disks:1", kOneDisk, diskmgt_test::servedClasses());
    addAll("disks:26", kServer, diskmgt_test::servedClasses());
    addAll("disks:280", kEveryCandidate, diskmgt_test::servedClasses());
    addAll("disks:280_gpt", kEveryCandidateGpt, {"VEXSG_DiskDrive", "VEXSG_DiskPartition"});
    addAll("gpt_disk_with_128_entries", kFullGptDisk, {"VEXSG_DiskDrive", "VEXSG_DiskPartition"});
    return true;
}();

}  // namespace

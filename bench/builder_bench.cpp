// Cost of the result builder on the reference host: texts become published instances.
#include <benchmark/benchmark.h>

#include "bench/allocations.h"
#include "bench/machines.h"
#include "collect/partition_table_parser.h"
#include "provider/result_builder.h"
#include "tests/support/host_session.h"

namespace {

using diskmgt_col::PropertyMap;

constexpr const char* kPartition = "VEXSG_DiskPartition";
constexpr std::size_t kInstancesOfAPlainMap = 1000;

/// The maps of a disk as the provider passes them.
std::vector<PropertyMap> stampedMaps(const diskmgt_test::DiskImage& disk) {
    diskmgt_test::FakeOs machine;
    machine.device("/dev/sda", disk);
    std::vector<PropertyMap> maps = diskmgt_col::PartitionTableParser().enumPartitions({"/dev/sda"});
    for (PropertyMap& map : maps) {
        map.emplace("SystemCreationClassName", "VEXSG_ComputerSystem");
        map.emplace("CreationClassName", kPartition);
        map.emplace("SystemName", "server1");
    }
    return maps;
}

void build(benchmark::State& state, std::vector<PropertyMap> maps) {
    std::size_t assignments = 0;
    for (const PropertyMap& map : maps) assignments += map.size();
    diskmgt_test::HostSession session;
    const auto buildAll = [&](auto /*nameSpace*/, diskmgt_test::Classes& classes) {
        for (PropertyMap& map : maps) (void)diskmgt_col::ResultBuilder()(classes.front(), map);
    };

    const std::size_t crossingsBefore = session.host.crossings();
    const std::uint64_t allocationsBefore = diskmgt_bench::allocationCount();
    (void)session.insideRequest({kPartition}, buildAll);
    const auto perAssignment = [&](std::uint64_t count) {
        return static_cast<double>(count) / static_cast<double>(assignments);
    };
    state.counters["allocations_per_assignment"] = perAssignment(diskmgt_bench::allocationCount() - allocationsBefore);
    state.counters["crossings_per_assignment"] = perAssignment(session.host.crossings() - crossingsBefore);
    state.counters["assignments"] = static_cast<double>(assignments);

    for (auto iteration : state) benchmark::DoNotOptimize(session.insideRequest({kPartition}, buildAll));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(assignments));
}

void plainMaps(benchmark::State& state) {
    build(state, std::vector<PropertyMap>(kInstancesOfAPlainMap, stampedMaps(diskmgt_bench::mbrDisk(1)).front()));
}

void accumulatedMaps(benchmark::State& state) { build(state, stampedMaps(diskmgt_bench::gptDisk(128))); }

}  // namespace

BENCHMARK(plainMaps)->Name("builder/partitions:1000")->Unit(benchmark::kMicrosecond);
BENCHMARK(accumulatedMaps)->Name("builder/accumulated_gpt_maps:128")->Unit(benchmark::kMicrosecond);

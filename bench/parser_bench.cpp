// Cost of reading one disk's tables, by layout.
#include <benchmark/benchmark.h>

#include "bench/allocations.h"
#include "bench/machines.h"
#include "collect/partition_table_parser.h"

namespace {

using diskmgt_bench::allocationCount;
using diskmgt_col::PartitionTableParser;
using diskmgt_test::DiskImage;
using diskmgt_test::FakeOs;

void parse(benchmark::State& state, const DiskImage& disk) {
    FakeOs machine;
    machine.keepNoTexts().device("/dev/sda", disk);

    const std::uint64_t before = allocationCount();
    const std::size_t maps = PartitionTableParser().enumPartitions({"/dev/sda"}).size();
    state.counters["allocations"] = static_cast<double>(allocationCount() - before);
    state.counters["kernel_calls"] = machine.calls();
    state.counters["maps"] = static_cast<double>(maps);

    for (auto iteration : state) benchmark::DoNotOptimize(PartitionTableParser().enumPartitions({"/dev/sda"}));
}

void gpt(benchmark::State& state) { parse(state, diskmgt_bench::gptDisk(static_cast<unsigned>(state.range(0)))); }

void gptOverTheBudget(benchmark::State& state) { parse(state, diskmgt_bench::gptDisk(774, 1024)); }

}  // namespace

BENCHMARK_CAPTURE(parse, mbr_4_primaries, diskmgt_bench::mbrDisk(4))->Name("parser/mbr/primaries:4");
BENCHMARK_CAPTURE(parse, mbr_12_logicals, diskmgt_bench::mbrDisk(16))->Name("parser/mbr/logicals:12");
BENCHMARK(gpt)->Name("parser/gpt/used")->Arg(4)->Arg(16)->Arg(128)->Unit(benchmark::kMicrosecond);
BENCHMARK(gptOverTheBudget)->Name("parser/gpt/used:774");

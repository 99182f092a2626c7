// Cost before the first request: making the reference host, loading and unloading the shipped plug-in.
#include <benchmark/benchmark.h>

#include "bench/allocations.h"
#include "refhost/api/reference_host.h"

namespace {

void makeHost(benchmark::State& state) {
    const std::uint64_t before = diskmgt_bench::allocationCount();
    { const refhost::ReferenceHost host; }
    state.counters["allocations"] = static_cast<double>(diskmgt_bench::allocationCount() - before);
    for (auto iteration : state) {
        const refhost::ReferenceHost host;
        benchmark::DoNotOptimize(&host);
    }
}

void loadPlugin(benchmark::State& state) {
    refhost::ReferenceHost host;
    const auto loadAndUnload = [&] {
        (void)host.loadPlugin(DISKMGT_BENCH_PLUGIN);
        host.unloadPlugins();
    };
    const std::uint64_t before = diskmgt_bench::allocationCount();
    loadAndUnload();
    state.counters["allocations"] = static_cast<double>(diskmgt_bench::allocationCount() - before);
    for (auto iteration : state) loadAndUnload();
}

}  // namespace

BENCHMARK(makeHost)->Name("loading/reference_host")->Unit(benchmark::kMicrosecond);
BENCHMARK(loadPlugin)->Name("loading/plugin")->Unit(benchmark::kMicrosecond);

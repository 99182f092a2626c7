// Cost of pairing: the search compared with a plain one, and the associations over published instances.
#include <benchmark/benchmark.h>

#include <algorithm>

#include "bench/allocations.h"
#include "bench/machines.h"
#include "provider/contained_key_search.h"
#include "provider/disk_info_associator.h"
#include "provider/hardware_associations.h"
#include "tests/support/association_scene.h"

namespace {

using diskmgt_col::ContainedKeySearch;

constexpr std::size_t kPartitionsPerDrive = 10;

/// As the kernel counts: a to z, aa to zz, aaa on.
std::string letters(std::size_t number) {
    std::string text;
    for (++number; number > 0; number = (number - 1) / 26)
        text.insert(text.begin(), static_cast<char>('a' + (number - 1) % 26));
    return text;
}

std::vector<std::string> driveNames(std::size_t count) {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < count; ++i) names.push_back("/dev/sd" + letters(i));
    return names;
}

std::vector<std::string> partitionNames(std::size_t count) {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < count; ++i)
        names.push_back("/dev/sd" + letters(i / kPartitionsPerDrive) + std::to_string(i % kPartitionsPerDrive + 1));
    return names;
}

std::vector<std::string> sorted(std::vector<std::string> names) {
    std::sort(names.begin(), names.end());
    return names;
}

/// One search of all keys in all texts; its peak of memory in MiB, beside keys and texts.
void searchEach(benchmark::State& state, const std::vector<std::string>& sortedKeys,
                const std::vector<std::string>& texts) {
    const std::vector<std::string_view> keyViews(sortedKeys.begin(), sortedKeys.end());
    const std::vector<std::string_view> textViews(texts.begin(), texts.end());
    const auto search = [&] { return ContainedKeySearch(keyViews).firstWithinEach(textViews); };
    const diskmgt_bench::PeakBytes peak;
    (void)search();
    state.counters["peak_MiB"] = static_cast<double>(peak.bytes()) / (1 << 20);
    for (auto iteration : state) benchmark::DoNotOptimize(search());
}

/// As many keys as texts: logical disks against partitions.
void quickSearch(benchmark::State& state) {
    const std::vector<std::string> names = sorted(partitionNames(static_cast<std::size_t>(state.range(0))));
    searchEach(state, names, names);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// The given number of different texts of that length, in byte order, that share only their first bytes.
std::vector<std::string> longNames(std::size_t count, std::size_t length) {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < count; ++i) {
        std::string name = "/mnt/" + std::to_string(1000000 + i) + "/";
        for (std::size_t byte = i; name.size() < length; byte = byte * 31 + 7)
            name += static_cast<char>('a' + byte % 26);
        names.push_back(name);
    }
    return names;
}

/// Sources that a user chose against the partitions' names.
void longKeys(benchmark::State& state, std::size_t longestName) {
    const auto keys = longNames(static_cast<std::size_t>(state.range(0)), static_cast<std::size_t>(state.range(1)));
    std::vector<std::string> texts = longNames(10000, 15);
    if (longestName != 0) texts.push_back(longNames(1, longestName).front());
    searchEach(state, keys, texts);
}

/// Drives against such sources.
void longTexts(benchmark::State& state) { searchEach(state, sorted(driveNames(1000)), longNames(4000, 4000)); }

/// Sources against each other: every key is needed, and each matches a text except for the last byte.
void longKeysInLongTexts(benchmark::State& state) {
    const std::vector<std::string> texts = longNames(4000, 4000);
    std::vector<std::string> keys = texts;
    for (std::string& key : keys) key.back() = '~';
    searchEach(state, keys, texts);
}

/// Targets of links, one at a time, of the maximum length.
void linkTargets(benchmark::State& state) {
    std::vector<std::string> keys;
    for (std::size_t i = 0; i < 10000; ++i) keys.push_back(std::string(200, 'a') + std::to_string(10000 + i));
    const ContainedKeySearch search(std::vector<std::string_view>(keys.begin(), keys.end()));
    const std::string target(256, 'a');
    for (auto iteration : state) benchmark::DoNotOptimize(search.firstWithin(target));
}

void plainSearch(benchmark::State& state) {
    const std::vector<std::string> names = sorted(partitionNames(static_cast<std::size_t>(state.range(0))));
    for (auto iteration : state) {
        for (const std::string& text : names)
            benchmark::DoNotOptimize(std::find_if(names.begin(), names.end(), [&](const std::string& key) {
                return text.find(key) != std::string::npos;
            }));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// One association class over 1,000 drives, 10,000 partitions and 10,000 logical disks.
void pairing(benchmark::State& state, const std::string& className) {
    constexpr std::size_t kPartitions = 10000;
    diskmgt_test::AssociationScene scene;
    scene.machine.keepNoTexts();
    scene.drives(driveNames(kPartitions / kPartitionsPerDrive))
        .partitions(partitionNames(kPartitions))
        .logicalDisks(partitionNames(kPartitions));
    (void)scene.publish([](auto, auto&) {});
    const auto associate = [&] {
        return scene.session.insideRequest({className}, [](auto nameSpace, diskmgt_test::Classes& classes) {
            (void)diskmgt_col::HardwareAssociations(nameSpace).associate(classes.front());
        });
    };

    const std::size_t crossingsBefore = scene.session.host.crossings();
    const std::uint64_t allocationsBefore = diskmgt_bench::allocationCount();
    (void)associate();
    state.counters["allocations"] = static_cast<double>(diskmgt_bench::allocationCount() - allocationsBefore);
    state.counters["crossings"] = static_cast<double>(scene.session.host.crossings() - crossingsBefore);
    state.counters["pairs"] = static_cast<double>(scene.session.host.instances(className).size());

    for (auto iteration : state) benchmark::DoNotOptimize(associate());
}

}  // namespace

BENCHMARK(quickSearch)->Name("pairing/search")->RangeMultiplier(10)->Range(1000, 100000)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(longKeys, names, 0)
    ->Name("pairing/long_keys")
    ->Args({4000, 4000})
    ->Args({100000, 100})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(longKeys, one_long_name, 200)
    ->Name("pairing/long_keys_and_one_name_of_200_bytes")
    ->Args({50000, 100})
    ->Args({100000, 100})
    ->Args({200000, 100})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(longTexts)->Name("pairing/drives_in_long_texts")->Unit(benchmark::kMicrosecond);
BENCHMARK(longKeysInLongTexts)->Name("pairing/long_keys_in_long_texts")->Unit(benchmark::kMicrosecond);
BENCHMARK(linkTargets)->Name("pairing/longest_link_target")->Unit(benchmark::kMicrosecond);
// Quadratic: at 100,000 it would take minutes.
BENCHMARK(plainSearch)->Name("pairing/plain_search")->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(pairing, partition_present, "VEXSG_PartitionPresent")
    ->Name("pairing/10000/VEXSG_PartitionPresent")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(pairing, media_present, "VEXSG_MediaPresent")
    ->Name("pairing/10000/VEXSG_MediaPresent")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(pairing, based_on_partition, "VEXSG_LogicalDiskBasedOnPartition")
    ->Name("pairing/10000/VEXSG_LogicalDiskBasedOnPartition")
    ->Unit(benchmark::kMillisecond);

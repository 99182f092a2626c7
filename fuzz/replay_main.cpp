// Runs a fuzz target without a fuzzer, on every file of its corpus and on a few thousand mutations, the same every
// time. Usage: PROGRAM CORPUS_DIRECTORY [MUTATIONS]
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/target.h"

namespace {

using Input = std::vector<std::uint8_t>;

/// A small generator with the same numbers on every machine.
class Numbers {
public:
    std::uint64_t next() {
        state += 0x9E3779B97F4A7C15U;
        std::uint64_t mixed = state;
        mixed = (mixed ^ mixed >> 30U) * 0xBF58476D1CE4E5B9U;
        mixed = (mixed ^ mixed >> 27U) * 0x94D049BB133111EBU;
        return mixed ^ mixed >> 31U;
    }
    std::size_t below(std::size_t bound) { return static_cast<std::size_t>(next() % bound); }

private:
    std::uint64_t state = 20;
};

std::vector<Input> corpusIn(const std::filesystem::path& directory) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    std::vector<Input> corpus;
    for (const auto& file : files) {
        std::ifstream stream(file, std::ios::binary);
        corpus.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    }
    return corpus;
}

/// Changes the input in one place.
void mutate(Input& input, const std::vector<Input>& corpus, Numbers& numbers) {
    static const std::uint8_t telling[] = {0x00, 0x01, 0x05, 0x0F, 0x7F, 0x80, 0xEE,
                                           0xFF, ' ',  '\n', '"',  '\\', '0',  '9'};
    const std::size_t at = input.empty() ? 0 : numbers.below(input.size());
    const auto place = input.begin() + static_cast<std::ptrdiff_t>(at);
    switch (numbers.below(6)) {
        case 0:
            if (!input.empty()) input[at] = static_cast<std::uint8_t>(input[at] ^ 1U << numbers.below(8));
            break;
        case 1:
            if (!input.empty()) input[at] = telling[numbers.below(sizeof telling)];
            break;
        case 2:
            input.insert(place, telling[numbers.below(sizeof telling)]);
            break;
        case 3:
            if (!input.empty())
                input.erase(place, place + static_cast<std::ptrdiff_t>(
                                               std::min(input.size() - at, std::size_t{1} + numbers.below(16))));
            break;
        case 4:
            input.resize(at);
            break;
        default: {  // a piece of another input in its place
            const Input& other = corpus[numbers.below(corpus.size())];
            const std::size_t count = std::min(other.size(), std::size_t{1} + numbers.below(64));
            const std::size_t from = numbers.below(other.size() - count + 1);
            if (input.size() < at + count) input.resize(at + count);
            std::copy_n(other.begin() + static_cast<std::ptrdiff_t>(from), count,
                        input.begin() + static_cast<std::ptrdiff_t>(at));
        }
    }
}

volatile std::sig_atomic_t running = 0;  // the number of the run, inputs of the corpus first

extern "C" void tellWhichRun(int) {
    (void)std::fprintf(stderr, "in run %ld, counted from 1\n", static_cast<long>(running));  // the process ends anyway
}

void run(const Input& input) {
    running = running + 1;
    (void)LLVMFuzzerTestOneInput(input.data(), input.size());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        (void)std::fprintf(stderr, "usage: %s CORPUS_DIRECTORY [MUTATIONS]\n", argv[0]);
        return 2;
    }
    const std::vector<Input> corpus = corpusIn(argv[1]);
    if (corpus.empty()) {
        (void)std::fprintf(stderr, "%s holds no inputs\n", argv[1]);
        return 2;
    }
    const long mutations = argc > 2 ? std::strtol(argv[2], nullptr, 10) : 5000;
    (void)std::signal(SIGABRT, tellWhichRun);
    for (const Input& input : corpus) run(input);
    Numbers numbers;
    for (long i = 0; i < mutations; ++i) {
        Input input = corpus[static_cast<std::size_t>(i) % corpus.size()];
        for (std::size_t changes = 1 + numbers.below(4); changes > 0; --changes) mutate(input, corpus, numbers);
        run(input);
    }
    (void)std::printf("%zu inputs and %ld mutations\n", corpus.size(), mutations);
    return 0;
}

// Shared by the fuzz targets: the entry point for fuzzer and replay, and how a target reports an error.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// Runs the target on one input. An error ends the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace diskmgt_fuzz {

/// Ends the process and prints what does not hold.
inline void require(bool holds, const char* what) {
    if (holds) return;
    (void)std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

/// Takes bytes from the front of an input to make choices; zero at its end.
class Choices {
public:
    Choices(const std::uint8_t* input, std::size_t inputSize) : next(input), left(inputSize) {}

    std::uint8_t byte() {
        if (left == 0) return 0;
        --left;
        return *next++;
    }
    const char* rest() const { return reinterpret_cast<const char*>(next); }
    std::size_t restSize() const { return left; }

private:
    const std::uint8_t* next;
    std::size_t left;
};

}  // namespace diskmgt_fuzz

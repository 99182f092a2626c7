#include "machine/swaps.h"

#include <limits>

#include "machine/texts.h"

namespace diskmgt_machine {

namespace {

/// The words of a line: its columns are filled up with blanks and tabs.
std::vector<std::string_view> wordsIn(std::string_view line) {
    std::vector<std::string_view> words;
    constexpr std::string_view kFill = " \t";
    for (;;) {
        const std::size_t first = line.find_first_not_of(kFill);
        if (first == std::string_view::npos) return words;
        line.remove_prefix(first);
        const std::string_view word = line.substr(0, line.find_first_of(kFill));
        words.push_back(word);
        line.remove_prefix(word.size());
    }
}

std::optional<std::uint64_t> bytesFrom(std::string_view kibibytes) {
    const auto count = decimalFrom(kibibytes);
    if (!count || *count > std::numeric_limits<std::uint64_t>::max() / 1024) return std::nullopt;
    return *count * 1024;
}

}  // namespace

std::optional<Swap> swapFrom(std::string_view line) {
    const std::vector<std::string_view> words = wordsIn(line);
    if (words.size() < 4) return std::nullopt;
    const bool isFile = words[1] == "file";
    if (!isFile && words[1] != "partition") return std::nullopt;
    const auto size = bytesFrom(words[2]);
    const auto used = bytesFrom(words[3]);
    if (!size || !used) return std::nullopt;
    return Swap{withoutOctalEscapes(words[0]), isFile, *size, *used};
}

std::vector<Swap> swapsIn(std::string_view text) {
    std::vector<Swap> swaps;
    for (const std::string_view line : linesIn(text))
        if (auto swap = swapFrom(line)) swaps.push_back(std::move(*swap));
    return swaps;
}

}  // namespace diskmgt_machine

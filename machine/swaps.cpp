#include "machine/swaps.h"

#include "machine/texts.h"

namespace diskmgt_machine {

namespace {

/// The words of a line: blanks and tabs pad its columns.
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

}  // namespace

std::optional<Swap> swapFrom(std::string_view line) {
    const std::vector<std::string_view> words = wordsIn(line);
    if (words.size() < 4) return std::nullopt;
    const bool isFile = words[1] == "file";
    if (!isFile && words[1] != "partition") return std::nullopt;
    constexpr std::uint64_t kKibibyte = 1024;
    const auto size = bytesFrom(words[2], kKibibyte);
    const auto used = bytesFrom(words[3], kKibibyte);
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

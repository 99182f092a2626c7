// Texts compressed for clients that read gzip, each once.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace diskmgt::serve {

/// In the gzip format; empty when there is no memory for it.
std::string gzipped(const std::string& text);

/// Compressed forms of texts that are alive.
class CompressedTexts {
public:
    /// Shorter texts gain nothing.
    static constexpr std::size_t kShortest = 1400;

    /// The compressed form; null when it would not be shorter.
    std::shared_ptr<const std::string> of(const std::shared_ptr<const std::string>& text);

private:
    struct Entry {
        std::weak_ptr<const std::string> text;
        std::shared_ptr<const std::string> compressed;
    };
    static constexpr std::size_t kMost = 8;  // more documents than a site has
    std::vector<Entry> entries;              // the oldest first
};

}  // namespace diskmgt::serve

#include "collect/sysfs_text.h"

#include <charconv>
#include <locale>
#include <sstream>
#include <system_error>

#include "base/handles.h"

namespace diskmgt_col {

namespace {

/// The number at the start of the text: leading blanks are skipped, and the first other character ends it.
template <typename Number>
Number extracted(const std::string& text) {
    // Fast path: the kernel writes a number and nothing else.
    Number written = 0;
    const char* const end = text.data() + text.size();
    const std::from_chars_result read = std::from_chars(text.data(), end, written);
    if (read.ec == std::errc() && read.ptr == end) return written;

    std::istringstream stream(text);
    stream.imbue(std::locale::classic());  // a host's locale must not read grouped digits
    Number number = 0;
    if (!(stream >> number)) number = 0;  // on overflow the stream stores the nearest limit
    return number;
}

}  // namespace

std::optional<std::string> firstLineOf(const std::string& path) {
    const UniqueFd file(os::openFile(path, O_RDONLY | O_CLOEXEC));
    if (!file.valid()) return std::nullopt;
    std::string content;
    char page[kSysfsTextSize];
    ssize_t got = 0;
    while (content.size() < sizeof page && (got = os::readSome(file.get(), page, sizeof page - content.size())) > 0) {
        const std::size_t searchedUpTo = content.size();
        content.append(page, static_cast<std::size_t>(got));
        const std::size_t lineEnd = content.find('\n', searchedUpTo);
        if (lineEnd != std::string::npos) return content.substr(0, lineEnd);
    }
    if (content.empty()) return std::nullopt;
    return content;
}

unsigned long sectorCountFrom(const std::string& line) { return extracted<unsigned long>(line); }

int majorNumberFrom(const std::string& line) { return extracted<int>(line.substr(0, line.find(':'))); }

}  // namespace diskmgt_col

#include "machine/files.h"

#include <cerrno>

#include "machine/texts.h"

namespace diskmgt_machine {

namespace {

namespace os = diskmgt_col::os;
using diskmgt_col::UniqueFd;

constexpr int kReading = O_RDONLY | O_CLOEXEC;

}  // namespace

WholeFile readWholeFile(const std::string& path) {
    WholeFile whole;
    const UniqueFd file(os::openFile(path, kReading));
    if (!file.valid()) {
        whole.error = errno;
        return whole;
    }
    char piece[16384];
    for (;;) {
        const ssize_t got = os::readSome(file.get(), piece, sizeof piece);
        if (got < 0) whole.error = errno;
        if (got <= 0) return whole;
        whole.text.append(piece, static_cast<std::size_t>(got));
    }
}

std::vector<std::string> Folder::readNames() {
    std::vector<std::string> names;
    while (const char* const name = folder == nullptr ? nullptr : os::nextEntryName(folder.get())) {
        const std::string_view entry = name;
        if (entry != "." && entry != "..") names.emplace_back(entry);
    }
    return names;
}

std::string Folder::page(const std::string& name) const {
    if (folder == nullptr) return {};
    const UniqueFd file(os::openBelow(folder.get(), name, kReading));
    char bytes[4096];
    const ssize_t got = file.valid() ? os::readSome(file.get(), bytes, sizeof bytes) : 0;
    return got > 0 ? std::string(bytes, static_cast<std::size_t>(got)) : std::string();
}

std::string Folder::line(const std::string& name) const { return std::string(firstLineIn(page(name))); }

std::vector<std::string> readNamesIn(const std::string& path) { return Folder(path).readNames(); }

}  // namespace diskmgt_machine

#include "session/schema_files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "base/handles.h"
#include "text/command_error.h"
#include "worker/deadline.h"

namespace diskmgt {

namespace {

[[noreturn]] void failReading(const std::string& file) {
    throw CommandError(kWrongUsage, "cannot read the schema " + file + ": " + std::strerror(errno) +
                                        "; name a file of MOF text with --schema");
}

/// Not more than what shows that the text is too long: the file may be a device without end.
std::string contents(const std::string& file) {
    const diskmgt_col::UniqueFd source(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!source.valid()) failReading(file);
    std::string text;
    char piece[65536];
    while (text.size() <= refhost::SchemaText::kLongest) {
        const ssize_t count = ::read(source.get(), piece, sizeof piece);
        if (count == 0) return text;
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) failReading(file);
        text.append(piece, static_cast<std::size_t>(count));
    }
    throw CommandError(kWrongUsage,
                       "the schema " + file + " has more than 1 MiB; name a file of MOF text with --schema");
}

}  // namespace

std::vector<refhost::SchemaText> readSchemaFiles(const std::vector<std::string>& files, double limitSeconds) {
    std::vector<refhost::SchemaText> texts;
    for (const std::string& file : files) {
        const Deadline limit(limitSeconds, {"reading " + file});
        texts.push_back({file, contents(file)});
    }
    return texts;
}

void refuseSchema(const refhost::SchemaError& refusal) {
    throw CommandError(kWrongUsage, std::string(refusal.what()) + "; correct the file or name another with --schema");
}

}  // namespace diskmgt

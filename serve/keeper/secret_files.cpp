#include "serve/keeper/secret_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "serve/handover/descriptor.h"
#include "text/command_error.h"

namespace diskmgt::serve {

namespace {

std::string contentOf(const std::string& path, bool isSecret) {
    constexpr std::size_t kLargest = 1 << 20;
    if (path.empty()) return "";
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat found {};
    if (!file.isOpen() || ::fstat(file.get(), &found) != 0)
        throw CommandError(kWrongUsage, "cannot read " + path + ": " + std::strerror(errno));
    if (!S_ISREG(found.st_mode)) throw CommandError(kWrongUsage, path + " is no file; name a file that can be read");
    if (isSecret && (found.st_mode & S_IROTH) != 0)
        throw CommandError(kWrongUsage, "every user may read " + path + "; take that right away with chmod o-r");
    std::string content(kLargest + 1, '\0');
    std::size_t size = 0;
    ssize_t count = 0;
    while (size < content.size() && (count = ::read(file.get(), &content[size], content.size() - size)) > 0)
        size += static_cast<std::size_t>(count);
    if (count < 0) throw CommandError(kWrongUsage, "cannot read " + path + ": " + std::strerror(errno));
    if (size > kLargest) throw CommandError(kWrongUsage, path + " has more than a MiB; name the right file");
    if (size == 0) throw CommandError(kWrongUsage, path + " is empty; name the right file");
    content.resize(size);
    return content;
}

}  // namespace

FrontSettings readSecrets(const ServeOptions& options) {
    FrontSettings settings;
    settings.serverNames = options.serverNames;
    settings.certificate = contentOf(options.certificateFile, false);
    settings.key = contentOf(options.keyFile, true);
    settings.clientCa = contentOf(options.clientCaFile, false);
    settings.credentials = contentOf(options.credentialsFile, true);
    settings.maxAgeSeconds = options.maxAgeSeconds;
    settings.limitSeconds = options.collector.limitSeconds;
    settings.exitIdleSeconds = options.exitIdleSeconds;
    return settings;
}

}  // namespace diskmgt::serve

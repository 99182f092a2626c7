// TOSSpecific: the operating-system helpers as plug-ins call them.
#include "plugin/host/os_specific.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "plugin/host/tal_exception.h"
#include "refhost/boundary/boundary.h"
#include "refhost/services/descriptor.h"
#include "refhost/services/process.h"
#include "refhost/services/virtual_devices.h"

namespace NVEXTAL20 {

namespace {

using refhost::AsItIs;
using refhost::TraceArguments;

/// Reads to the end rather than up to the size, which files of /proc do not tell.
std::string wholeFile(const std::string& path) {
    const auto refuse = [&](int error) {
        throw TTALException("cannot read \"" + path + "\": " + std::strerror(error));
    };
    const refhost::Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.valid()) refuse(errno);
    std::string content;
    char buffer[65536];
    for (;;) {
        const ssize_t count = ::read(file.get(), buffer, sizeof buffer);
        if (count == 0) return content;
        if (count > 0) content.append(buffer, static_cast<std::size_t>(count));
        if (count < 0 && errno != EINTR) refuse(errno);
    }
}

}  // namespace

std::string TOSSpecific::SpawnProcess(std::string program, std::vector<std::string> arguments, int timeLimitSeconds) {
    return refhost::cross(
        "spawnProcess",
        [&] {
            return TraceArguments{
                {"program", program}, {"arguments", arguments}, {"timeLimitSeconds", std::int64_t{timeLimitSeconds}}};
        },
        [&] { return refhost::runProcess(program, arguments, timeLimitSeconds); }, AsItIs());
}

std::string TOSSpecific::CaptureFile(std::string path) {
    return refhost::cross(
        "captureFile",
        [&] {
            return TraceArguments{{"path", path}};
        },
        [&] { return wholeFile(path); }, AsItIs());
}

bool TOSSpecific::FileExists(std::string path) {
    return refhost::cross(
        "fileExists",
        [&] {
            return TraceArguments{{"path", path}};
        },
        [&] {
            struct stat status {};
            return ::stat(path.c_str(), &status) == 0;
        },
        AsItIs());
}

int TOSSpecific::getBmcVirtualDevices(int controller, std::vector<std::string>& devices, bool refresh) {
    const std::vector<std::string> found = refhost::cross(
        "getBmcVirtualDevices",
        [&] {
            return TraceArguments{{"controller", std::int64_t{controller}}, {"refresh", refresh}};
        },
        [] { return refhost::currentVirtualDevices(); }, AsItIs());
    devices.insert(devices.end(), found.begin(), found.end());
    return static_cast<int>(found.size());
}

}  // namespace NVEXTAL20

#include "serve/handover/front_settings.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

#include "session/packing.h"
#include "text/command_error.h"

namespace diskmgt::serve {

Descriptor inMemory(const FrontSettings& settings) {
    Packer packer(RecordKind::kSettings);
    packer.put(std::uint64_t{settings.serverNames.size()});
    for (const std::string& name : settings.serverNames) packer.put(name);
    for (const std::string* text : {&settings.certificate, &settings.key, &settings.clientCa, &settings.credentials})
        packer.put(*text);
    packer.put(settings.maxAgeSeconds);
    packer.put(settings.limitSeconds);
    packer.put(settings.exitIdleSeconds);
    const std::string bytes = packer.take();
    Descriptor file(::memfd_create("settings", MFD_CLOEXEC));
    if (!file.isOpen() || ::write(file.get(), bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()) ||
        ::lseek(file.get(), 0, SEEK_SET) != 0)
        return Descriptor();
    return file;
}

FrontSettings readSettings(int descriptor) {
    std::string bytes;
    char piece[4096];
    ssize_t count = 0;
    while ((count = ::read(descriptor, piece, sizeof piece)) > 0) bytes.append(piece, static_cast<std::size_t>(count));
    FrontSettings settings;
    bool isRead = false;
    eachRecord(bytes, RecordKind::kSettings, [&](Unpacker& record) {
        const auto names = record.number<std::uint64_t>();
        for (std::uint64_t i = 0; i < names && record.isWhole(); ++i) settings.serverNames.push_back(record.text());
        for (std::string* text : {&settings.certificate, &settings.key, &settings.clientCa, &settings.credentials})
            record.get(*text);
        record.get(settings.maxAgeSeconds);
        record.get(settings.limitSeconds);
        record.get(settings.exitIdleSeconds);
        isRead = record.isWhole();
    });
    if (!isRead) throw CommandError(kFailureReported, "the front was given no settings; start it with diskmgt serve");
    return settings;
}

}  // namespace diskmgt::serve

#include "cli/diff/element_gathering.h"

#include <algorithm>

namespace diskmgt {

namespace {

using Texts = std::vector<std::string>;
using Values = boost::container::flat_map<std::string_view, DocumentValue>;

std::string takeText(Values& values, std::string_view name) {
    const auto found = values.find(name);
    if (found == values.end()) return {};
    std::string text = std::move(std::get<std::string>(found->second));
    values.erase(found);
    return text;
}

void move(std::string_view name, Values& from, Values& to) {
    const auto found = from.find(name);
    if (found == from.end()) return;
    to[found->first] = std::move(found->second);
    from.erase(found);
}

ElementKind kindOf(const std::string& kind) {
    for (const char* const drive : {"disk", "optical", "floppy", "memory", "compressed-memory", "path"})
        if (kind == drive) return ElementKind::kDrive;
    return kind == "partition" ? ElementKind::kPartition : ElementKind::kVolume;
}

}  // namespace

void GatheredMounts::add(DocumentElement mount) {
    points.push_back(takeText(mount.values, "mountPoint"));
    options.push_back(takeText(mount.values, "options"));
    if (type.empty()) type = takeText(mount.values, "fileSystem");
    if (!figures.empty() || mount.values.count("total") == 0) return;
    for (const char* const figure : {"total", "free", "available"}) move(figure, mount.values, figures);
}

void ElementGathering::takeMounts(DocumentElement& element, GatheredMounts mounts) {
    if (!mounts.points.empty()) {
        element.name = mounts.points.front();
        std::sort(mounts.options.begin(), mounts.options.end());
        mounts.options.erase(std::unique(mounts.options.begin(), mounts.options.end()), mounts.options.end());
        element.values["options"] = std::move(mounts.options);
        if (element.values.count("content") == 0 && !mounts.type.empty())
            element.values["content"] = std::move(mounts.type);
    }
    element.values[kMountPoints] = std::move(mounts.points);
    for (auto& [name, value] : mounts.figures) element.values[name] = std::move(value);
    element.values.shrink_to_fit();  // there may be a million of them
}

bool ElementGathering::addDevice(DocumentElement device, GatheredMounts mounts) {
    const std::string name = takeText(device.values, "name");
    if (!names.insert(name).second) return false;
    const std::string volume = takeText(device.values, "volume");
    device.name = volume.empty() ? "/dev/" + name : "/dev/mapper/" + volume;
    if (!volume.empty()) shownNames.emplace(name, device.name);
    std::string other = takeText(device.values, "mountsAt");
    if (other.empty())
        addOnDevice(device.name, device, std::move(mounts));
    else
        mountsAt.emplace_back(device.name, std::move(other));
    for (const char* const ofContent : {"content", "label", "uuid"}) device.values.erase(ofContent);
    device.values.shrink_to_fit();
    list(kindOf(*device.find<std::string>("kind"))).push_back(std::move(device));
    return true;
}

/// What udev found on the device and what is mounted from it.
void ElementGathering::addOnDevice(const std::string& shownName, DocumentElement& device, GatheredMounts mounts) {
    DocumentElement found;
    for (const char* const known : {"content", "label", "uuid", "cim.logicalDisk.reported"})
        move(known, device.values, found.values);
    if (found.values.empty() && mounts.points.empty()) return;
    found.name = shownName;
    found.values[kPlaces] = Texts{shownName};
    takeMounts(found, std::move(mounts));
    fileSystemOn.emplace(shownName, list(ElementKind::kFileSystem).size());
    list(ElementKind::kFileSystem).push_back(std::move(found));
}

void ElementGathering::addFileSystem(DocumentElement fileSystem, GatheredMounts mounts) {
    fileSystem.name = *fileSystem.find<std::string>("source");
    fileSystem.values[kPlaces] = Texts();
    takeMounts(fileSystem, std::move(mounts));
    list(ElementKind::kFileSystem).push_back(std::move(fileSystem));
}

void ElementGathering::finish() {
    const auto shown = [this](const std::string& name) {
        const auto found = shownNames.find(name);
        return found == shownNames.end() ? "/dev/" + name : found->second;
    };
    for (const ElementKind kind : {ElementKind::kDrive, ElementKind::kVolume, ElementKind::kPartition})
        for (DocumentElement& element : list(kind)) {
            auto& places = std::get<Texts>(element.values[kPlaces]);
            for (std::string& place : places) place = shown(place);
            std::sort(places.begin(), places.end());
        }
    for (const auto& [device, other] : mountsAt) {
        const auto found = fileSystemOn.find(shown(other));
        if (found == fileSystemOn.end()) continue;
        std::get<Texts>(list(ElementKind::kFileSystem)[found->second].values[kPlaces]).push_back(device);
    }
    for (DocumentElement& element : list(ElementKind::kFileSystem)) {
        auto& places = std::get<Texts>(element.values[kPlaces]);
        std::sort(places.begin(), places.end());
    }
}

}  // namespace diskmgt

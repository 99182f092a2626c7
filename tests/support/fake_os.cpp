#include "tests/support/fake_os.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "tests/support/fake_os_state.h"

namespace diskmgt_test {
namespace {

FakeOs::State* machineInPlace = nullptr;

/// "/sys/block/" and "/sys/block" are the same directory.
std::string withoutTrailingSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

}  // namespace

FakeOs::State& FakeOs::State::current() {
    if (machineInPlace == nullptr) {
        std::fputs("the kernel was asked, but no FakeOs describes a machine\n", stderr);
        std::abort();
    }
    return *machineInPlace;
}

std::optional<Effect> FakeOs::State::note(const char* name, const std::string& path, const std::string& detail) {
    ++callCount;
    std::string text = std::string(name) + '(' + path + (detail.empty() ? "" : ", ") + detail + ')';
    std::optional<Effect> effect;
    if (failingCall > 0 && (callCount == failingCall || (callCount > failingCall && failingHow == Fault::fromThenOn)))
        effect = failingEffect;
    for (const auto& [beginning, itsEffect] : failingTexts)
        if (text.compare(0, beginning.size(), beginning) == 0) effect = itsEffect;
    if (effect) {
        hits.push_back(path);
        if (!effect->readAtMost) errno = effect->error;
    }
    if (keepTexts) texts.push_back(std::move(text));
    return effect;
}

const Node* FakeOs::State::find(const std::string& path) const {
    std::string place = withoutTrailingSlash(path);
    for (int hops = 0; hops < 40; ++hops) {  // as many as the kernel follows
        const auto found = nodes.find(place);
        if (found == nodes.end()) return nullptr;
        if (found->second.kind != Node::Kind::link) return &found->second;
        const std::filesystem::path parent = std::filesystem::path(place).parent_path();
        place = (parent / found->second.text).lexically_normal().string();
    }
    return nullptr;
}

Descriptor* FakeOs::State::descriptor(int fd) {
    const auto found = descriptors.find(fd);
    if (found != descriptors.end()) return &found->second;
    ++stale;
    errno = EBADF;
    return nullptr;
}

FakeOs::FakeOs() : state(std::make_unique<State>()) {
    if (machineInPlace != nullptr) throw std::logic_error("one machine at a time");
    machineInPlace = state.get();
}

FakeOs::~FakeOs() {
    machineInPlace = nullptr;
    for (const auto& table : state->tables) (void)std::fclose(table.first);  // left open by the code under test
}

FakeOs& FakeOs::device(const std::string& path, const DiskImage& image) {
    const auto shared = std::make_shared<const DiskImage>(image);  // one copy, however often it is opened
    return device(path, image.sizeBytes(), [shared](std::uint64_t offset, char* buffer, std::size_t size) {
        (void)shared->readAt(offset, buffer, size);  // the range lies within the image
    });
}

FakeOs& FakeOs::device(const std::string& path, std::uint64_t sizeBytes, Content content) {
    Node node;
    node.kind = Node::Kind::device;
    node.sizeBytes = sizeBytes;
    node.content = std::move(content);
    const std::lock_guard<std::mutex> lock(state->mutex);
    state->nodes[path] = std::move(node);
    return *this;
}

FakeOs& FakeOs::file(const std::string& path, const std::string& text) {
    Node node;
    node.kind = Node::Kind::file;
    node.sizeBytes = text.size();
    node.content = [text](std::uint64_t offset, char* buffer, std::size_t size) {
        std::memcpy(buffer, text.data() + offset, size);
    };
    node.text = text;
    const std::lock_guard<std::mutex> lock(state->mutex);
    state->nodes[path] = std::move(node);
    return *this;
}

FakeOs& FakeOs::readOnlyFile(const std::string& path, const std::string& text) {
    file(path, text);
    const std::lock_guard<std::mutex> lock(state->mutex);
    state->nodes[path].updatable = false;
    return *this;
}

FakeOs& FakeOs::directory(const std::string& path, const std::vector<std::string>& entries) {
    Node node;
    node.kind = Node::Kind::directory;
    if (std::find(entries.begin(), entries.end(), ".") == entries.end()) node.entries = {".", ".."};
    node.entries.insert(node.entries.end(), entries.begin(), entries.end());
    const std::lock_guard<std::mutex> lock(state->mutex);
    state->nodes[withoutTrailingSlash(path)] = std::move(node);
    return *this;
}

FakeOs& FakeOs::link(const std::string& path, const std::string& target) {
    Node node;
    node.kind = Node::Kind::link;
    node.text = target;
    const std::lock_guard<std::mutex> lock(state->mutex);
    state->nodes[path] = std::move(node);
    return *this;
}

FakeOs& FakeOs::node(const std::string& path) {
    const std::lock_guard<std::mutex> lock(state->mutex);
    state->nodes[path] = Node{};
    return *this;
}

FakeOs& FakeOs::fileSystem(const std::string& path, const SpaceFigures& figures) {
    const std::lock_guard<std::mutex> lock(state->mutex);
    state->fileSystems[path] = figures;
    return *this;
}

FakeOs& FakeOs::remove(const std::string& path) {
    const std::lock_guard<std::mutex> lock(state->mutex);
    state->nodes.erase(withoutTrailingSlash(path));
    state->fileSystems.erase(path);
    return *this;
}

FakeOs& FakeOs::sysfsDisk(const std::string& name, std::uint64_t sectors, const std::string& majorMinor,
                          const std::vector<std::string>& partitions) {
    const std::string directoryPath = "/sys/block/" + name;
    std::vector<std::string> entries{"uevent", "size", "dev", "queue", "holders"};
    entries.insert(entries.end(), partitions.begin(), partitions.end());
    directory(directoryPath, entries);
    file(directoryPath + "/size", std::to_string(sectors) + "\n");
    file(directoryPath + "/dev", majorMinor + "\n");
    const std::lock_guard<std::mutex> lock(state->mutex);
    Node& all = state->nodes["/sys/block"];
    if (all.kind != Node::Kind::directory) {
        all.kind = Node::Kind::directory;
        all.entries = {".", ".."};
    }
    if (std::find(all.entries.begin(), all.entries.end(), name) == all.entries.end()) all.entries.push_back(name);
    return *this;
}

int FakeOs::calls() const {
    const std::lock_guard<std::mutex> lock(state->mutex);
    return state->callCount;
}

std::vector<std::string> FakeOs::callTexts() const {
    const std::lock_guard<std::mutex> lock(state->mutex);
    return state->texts;
}

void FakeOs::forgetCalls() {
    const std::lock_guard<std::mutex> lock(state->mutex);
    state->callCount = 0;
    state->texts.clear();
}

FakeOs& FakeOs::keepNoTexts() {
    const std::lock_guard<std::mutex> lock(state->mutex);
    state->keepTexts = false;
    state->texts.clear();
    return *this;
}

int FakeOs::openDescriptors() const {
    const std::lock_guard<std::mutex> lock(state->mutex);
    return static_cast<int>(state->descriptors.size());
}

int FakeOs::openHandles() const {
    const std::lock_guard<std::mutex> lock(state->mutex);
    return static_cast<int>(state->descriptors.size() + state->directories.size() + state->tables.size());
}

int FakeOs::mostOpenDescriptors() const {
    const std::lock_guard<std::mutex> lock(state->mutex);
    return state->mostDescriptors;
}

std::vector<std::string> FakeOs::inheritablePaths() const {
    const std::lock_guard<std::mutex> lock(state->mutex);
    return state->inheritable;
}

int FakeOs::staleUses() const {
    const std::lock_guard<std::mutex> lock(state->mutex);
    return state->stale;
}

void FakeOs::failCall(int n, Fault how, Effect effect) {
    forgetCalls();
    const std::lock_guard<std::mutex> lock(state->mutex);
    state->failingCall = n;
    state->failingHow = how;
    state->failingEffect = effect;
    state->hits.clear();
}

void FakeOs::failCallsLike(const std::string& beginning, Effect effect) {
    const std::lock_guard<std::mutex> lock(state->mutex);
    state->failingTexts.emplace_back(beginning, effect);
}

void FakeOs::heal() {
    forgetCalls();
    const std::lock_guard<std::mutex> lock(state->mutex);
    state->failingCall = 0;
    state->failingTexts.clear();
    state->hits.clear();
}

std::vector<std::string> FakeOs::hitPaths() const {
    const std::lock_guard<std::mutex> lock(state->mutex);
    return state->hits;
}

}  // namespace diskmgt_test

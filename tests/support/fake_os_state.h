// The state of a FakeOs. Shared only by its two source files.
#pragma once

#include <cstdio>
#include <map>
#include <mutex>

#include "tests/support/fake_os.h"

namespace diskmgt_test {

struct Node {
    enum class Kind { device, file, directory, link, bare };
    Kind kind = Kind::bare;
    std::uint64_t sizeBytes = 0;
    Content content;                   // devices and files
    std::string text;                  // a file's text, a link's target
    bool updatable = true;             // files
    std::vector<std::string> entries;  // directories
};

struct Descriptor {
    std::string path;  // as it was opened
    Node node;
    std::uint64_t position = 0;
    bool closeOnExec = false;
};

struct OpenDirectory {
    std::string path;
    std::vector<std::string> entries;
    std::size_t next = 0;
};

struct OpenTable {
    std::string path;
    std::string text;  // the stream reads from here
};

struct FakeOs::State {
    mutable std::mutex mutex;

    std::map<std::string, Node> nodes;
    std::map<std::string, SpaceFigures> fileSystems;

    int nextDescriptor = 3;
    std::map<int, Descriptor> descriptors;
    std::map<void*, std::unique_ptr<OpenDirectory>> directories;
    std::map<std::FILE*, std::unique_ptr<OpenTable>> tables;

    bool keepTexts = true;
    int callCount = 0;
    std::vector<std::string> texts;
    int mostDescriptors = 0;
    int stale = 0;
    std::vector<std::string> inheritable;

    int failingCall = 0;  // 0: no call
    Fault failingHow = Fault::once;
    Effect failingEffect;
    std::vector<std::pair<std::string, Effect>> failingTexts;
    std::vector<std::string> hits;

    /// Records one call. If it is to fail, sets `errno` and returns the effect.
    std::optional<Effect> note(const char* name, const std::string& path, const std::string& detail = {});
    /// The node that a path leads to, through links; null when it does not exist.
    const Node* find(const std::string& path) const;
    Descriptor* descriptor(int fd);

    /// The current machine; aborts without one.
    static State& current();
};

}  // namespace diskmgt_test

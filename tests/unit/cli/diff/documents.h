// Documents as texts, put together from the parts that a test is about.
#pragma once

#include <string>

namespace diskmgt::test {

inline std::string quoted(const std::string& text) { return '"' + text + '"'; }

inline std::string mount(const std::string& point, const std::string& further = "") {
    return R"({"mountPoint": )" + quoted(point) + R"(, "root": "/", "fileSystem": "ext4", "options": "rw")" + further +
           "}";
}

/// `further`: other members, with a comma before each. With mounts the device has a logical disk.
inline std::string row(const std::string& name, const std::string& kind, const std::string& on,
                       const std::string& further, const std::string& mounts) {
    return R"({"name": )" + quoted(name) + R"(, "kind": )" + quoted(kind) + R"(, "on": [)" + on + "]" + further +
           (mounts.empty() ? "" : R"(, "mounts": [)" + mounts + "]") +
           R"(, "cim": {"drive": {"known": true, "reported": true}}})";
}

inline std::string disk(const std::string& name, const std::string& further = "", const std::string& mounts = "") {
    return row(name, "disk", "", R"(, "size": 67108864)" + further, mounts);
}

/// `place`: members of "partition", with a comma before each.
inline std::string partition(const std::string& name, const std::string& size = "1048576",
                             const std::string& on = "sda", const std::string& place = "",
                             const std::string& mounts = "") {
    return row(name, "partition", quoted(on),
               R"(, "size": )" + size + R"(, "partition": {"typeName": "Linux")" + place + "}", mounts);
}

inline std::string fileSystem(const std::string& source, const std::string& mounts) {
    return R"({"source": )" + quoted(source) + R"(, "kind": "network", "mounts": [)" + mounts + R"(], "cim": {}})";
}

/// What a document has beside its devices.
struct Frame {
    std::string fileSystems{};
    std::string incomplete{};
    std::string schema = "1";
    std::string hostName = "server1";
};

inline std::string gap(const std::string& rule, const std::string& of) {
    return R"({"rule": )" + quoted(rule) + R"(, "of": )" + quoted(of) + R"(, "text": "It is missing."})";
}

inline std::string document(const std::string& devices, const Frame& frame = {}) {
    return R"({"diskmgt": {"schema": )" + frame.schema + R"(, "hostName": )" + quoted(frame.hostName) +
           R"(, "collectedAt": "2026-01-01T00:00:00Z", "complete": )" + (frame.incomplete.empty() ? "true" : "false") +
           R"(, "incomplete": [)" + frame.incomplete + R"(], "devices": [)" + devices + R"(], "fileSystems": [)" +
           frame.fileSystems + R"(], "instances": {"Any_Class": [{"path": "", "properties": {"Size": 1}}]}}})";
}

}  // namespace diskmgt::test

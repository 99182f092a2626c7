// Documents as texts, put together from the parts that a test is about.
#pragma once

#include <string>

namespace diskmgt::test {

inline std::string quoted(const std::string& text) { return '"' + text + '"'; }

inline std::string partition(const std::string& device, const std::string& size = "1048576",
                             const std::string& further = "", const std::string& logicals = "",
                             const std::string& disks = "") {
    return R"({"device": )" + quoted(device) + R"(, "size": )" + size +
           R"(, "table": "mbr", "typeName": "Linux", "type": 1, "bootable": false)" + further + R"(, "logicals": [)" +
           logicals + R"(], "logicalDisks": [)" + disks + "]}";
}

inline std::string disk(const std::string& source, const std::string& mountPoint = "/data",
                        const std::string& further = "") {
    return R"({"source": )" + quoted(source) + R"(, "mountPoints": [)" + quoted(mountPoint) +
           R"(], "fileSystem": "ext4", "options": "rw")" + further + "}";
}

inline std::string drive(const std::string& device, const std::string& partitions = "", const std::string& disks = "",
                         const std::string& further = "") {
    return R"({"device": )" + quoted(device) + R"(, "size": 67108864, "partitionCount": 1)" + further +
           R"(, "partitions": [)" + partitions + R"(], "logicalDisks": [)" + disks + "]}";
}

/// What stands in a document beside its drives.
struct Frame {
    std::string missing;     // class names in quotes
    std::string loose;       // partitions
    std::string looseDisks;  // logical disks
    std::string failures;
    std::string schema = "1";
    std::string hostName = "server1";
};

inline std::string document(const std::string& drives, const Frame& frame = {}) {
    return R"({"diskmgt": {"schema": )" + frame.schema + R"(, "hostName": )" + quoted(frame.hostName) +
           R"(, "collectedAt": "2026-01-01T00:00:00Z", "complete": )" + (frame.missing.empty() ? "true" : "false") +
           R"(, "missingClasses": [)" + frame.missing + R"(], "failures": [)" + frame.failures + R"(], "drives": [)" +
           drives + R"(], "loosePartitions": [)" + frame.loose + R"(], "looseLogicalDisks": [)" + frame.looseDisks +
           R"(], "instances": {"Any_Class": [{"path": "", "properties": {"Size": 1}}]}}})";
}

}  // namespace diskmgt::test

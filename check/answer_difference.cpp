#include "check/answer_difference.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

#include "schema/vocabulary.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

std::string shown(const refhost::PropertyValue& value) {
    return value.isNull ? "null" : "\"" + joined(value.elements, ",") + "\"";
}

std::string difference(const refhost::Instance& first, const refhost::Instance& second) {
    if (first.path != second.path) return "published " + second.path + " where it had published " + first.path;
    for (std::size_t i = 0; i < first.properties.size(); ++i) {
        const refhost::PropertyValue& one = first.properties[i];
        const refhost::PropertyValue& other = second.properties[i];
        if (one.declaration->name == diskmgt_col::kFreeSpace) continue;
        if (one.isNull != other.isNull || one.elements != other.elements)
            return one.declaration->name + " was " + shown(one) + ", then " + shown(other) + " in " + first.path;
    }
    return {};
}

}  // namespace

std::string differenceBetween(const std::vector<refhost::Instance>& first,
                              const std::vector<refhost::Instance>& second) {
    for (std::size_t i = 0; i < std::min(first.size(), second.size()); ++i) {
        std::string found = difference(first[i], second[i]);
        if (!found.empty()) return found;
    }
    if (first.size() == second.size()) return {};
    return "published " + counted(second.size(), "instance") + " where it had published " +
           std::to_string(first.size());
}

std::string machineState() {
    std::ostringstream state;
    for (const char* const file : {"/proc/self/mountinfo", "/proc/partitions"}) state << std::ifstream(file).rdbuf();
    std::error_code error;  // an empty list then
    for (const auto& disk : std::filesystem::directory_iterator("/sys/block", error))
        state << disk.path().filename().string() << '\n';
    return state.str();
}

}  // namespace diskmgt

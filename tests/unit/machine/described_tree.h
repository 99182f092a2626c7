// A tree of small files that hides the kernel's. Folders follow from the paths.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/support/fake_os.h"

namespace diskmgt_test {

class DescribedTree {
public:
    DescribedTree& file(const std::string& path, const std::string& text) {
        machine.file(path, text);
        list(path);
        return *this;
    }
    DescribedTree& folder(const std::string& path) {
        list(path + "/");
        return *this;
    }
    DescribedTree& link(const std::string& path, const std::string& target) {
        machine.link(path, target);
        list(path);
        return *this;
    }
    /// A disk with the two texts that nearly every disk has.
    DescribedTree& disk(const std::string& name, const std::string& number, std::uint64_t sectors) {
        return file("/sys/block/" + name + "/dev", number + "\n")
            .file("/sys/block/" + name + "/size", std::to_string(sectors) + "\n");
    }
    DescribedTree& partition(const std::string& disk, const std::string& name, const std::string& number,
                             std::uint64_t start, std::uint64_t sectors) {
        const std::string folderPath = "/sys/block/" + disk + "/" + name;
        return file(folderPath + "/dev", number + "\n")
            .file(folderPath + "/start", std::to_string(start) + "\n")
            .file(folderPath + "/size", std::to_string(sectors) + "\n");
    }
    /// `upper` lies on `lower`, a path below /sys/block: at both ends, as the kernel lists it.
    DescribedTree& lies(const std::string& upper, const std::string& lower) {
        const std::string lowerName = lower.substr(lower.rfind('/') + 1);
        return link("/sys/block/" + upper + "/slaves/" + lowerName, "../../" + lower)
            .link("/sys/block/" + lower + "/holders/" + upper, "../../" + upper);
    }

    FakeOs machine;

private:
    void list(const std::string& path) {
        for (std::size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
            const std::string above = path.substr(0, slash);
            const std::size_t end = path.find('/', slash + 1);
            const std::string name =
                path.substr(slash + 1, end == std::string::npos ? std::string::npos : end - slash - 1);
            std::vector<std::string>& names = listings[above];
            if (!name.empty() && known[above].insert(name).second) names.push_back(name);
            machine.directory(above, names);
        }
    }

    std::map<std::string, std::vector<std::string>> listings;
    std::map<std::string, std::set<std::string>> known;
};

}  // namespace diskmgt_test

#include "machine/mounts.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <utility>

#include "machine/texts.h"

namespace diskmgt_machine {

namespace {

using Positions = std::vector<std::size_t>;

/// Whether the path lies below the place, or is it.
bool isWithin(const std::string& path, const std::string& place) {
    if (place == "/") return true;
    return path.compare(0, place.size(), place) == 0 && (path.size() == place.size() || path[place.size()] == '/');
}

/// Byte order with "/" before everything else, so that what lies below a place follows it directly.
bool comesBeforeAsPath(const std::string& one, const std::string& other) {
    const auto rank = [](char letter) { return letter == '/' ? 0 : static_cast<unsigned char>(letter) + 1; };
    return std::lexicographical_compare(one.begin(), one.end(), other.begin(), other.end(),
                                        [&rank](char a, char b) { return rank(a) < rank(b); });
}

/// Walks from the mounts that rest on none down to all others, and knows of each whether its path leads to it.
class Visibility {
public:
    explicit Visibility(const std::vector<Mount>& all) : mounts(all), hidden(all.size(), false) {
        std::unordered_map<std::uint64_t, std::size_t> positions;
        for (std::size_t i = 0; i < mounts.size(); ++i) positions.emplace(mounts[i].id, i);
        std::unordered_map<std::uint64_t, Positions> roots;  // by the parent that is not in the table
        children.resize(mounts.size());
        for (std::size_t i = 0; i < mounts.size(); ++i) {
            const auto parent = positions.find(mounts[i].parent);
            if (parent == positions.end() || parent->second == i)
                roots[mounts[i].parent].push_back(i);
            else
                children[parent->second].push_back(i);
        }
        for (auto& [parent, group] : roots) enter(std::move(group), false);
        while (!waiting.empty()) {
            const auto [position, isHidden] = waiting.back();
            waiting.pop_back();
            visit(position, isHidden);
        }
    }

    std::vector<bool> take() { return std::move(hidden); }

private:
    void visit(std::size_t position, bool isHidden) {
        Positions below = std::move(children[position]);
        children[position].clear();
        // What is mounted on its own root covers it and with it all else that is mounted there.
        const auto isOnRoot = [&](std::size_t child) {
            return mounts[child].mountPoint == mounts[position].mountPoint;
        };
        const auto covering = std::find_if(below.rbegin(), below.rend(), isOnRoot);
        if (covering == below.rend()) {
            hidden[position] = isHidden;
            enter(std::move(below), isHidden);
            return;
        }
        hidden[position] = true;
        for (const std::size_t child : below) waiting.emplace_back(child, isHidden || child != *covering);
    }

    /// Among mounts on one parent, one above another hides it, and the last of several at one place the others.
    void enter(Positions group, bool areHidden) {
        std::stable_sort(group.begin(), group.end(), [this](std::size_t one, std::size_t other) {
            return comesBeforeAsPath(mounts[one].mountPoint, mounts[other].mountPoint);
        });
        const std::string* reached = nullptr;
        for (std::size_t i = 0; i < group.size(); ++i) {
            const std::string& place = mounts[group[i]].mountPoint;
            const bool isCovered = reached != nullptr && isWithin(place, *reached);
            const bool isReplaced = i + 1 < group.size() && mounts[group[i + 1]].mountPoint == place;
            if (!isCovered && !isReplaced) reached = &place;
            waiting.emplace_back(group[i], areHidden || isCovered || isReplaced);
        }
    }

    const std::vector<Mount>& mounts;
    std::vector<bool> hidden;
    std::vector<Positions> children;
    std::vector<std::pair<std::size_t, bool>> waiting;
};

}  // namespace

std::optional<Mount> mountFrom(std::string_view line) {
    const std::vector<std::string_view> fields = fieldsIn(line);
    constexpr std::size_t kOptionalFields = 6;  // any number of them, up to a dash
    if (fields.size() < kOptionalFields + 4) return std::nullopt;
    const auto dash = std::find(std::next(fields.begin(), kOptionalFields), fields.end(), "-");
    if (std::distance(dash, fields.end()) < 4) return std::nullopt;
    const auto id = decimalFrom(fields[0]);
    const auto parent = decimalFrom(fields[1]);
    const auto number = deviceNumberFrom(fields[2]);
    if (!id || !parent || !number) return std::nullopt;
    return Mount{*id,
                 *parent,
                 *number,
                 withoutOctalEscapes(fields[3]),
                 withoutOctalEscapes(fields[4]),
                 withoutOctalEscapes(fields[5]),
                 withoutOctalEscapes(dash[1]),
                 withoutOctalEscapes(dash[2]),
                 withoutOctalEscapes(dash[3])};
}

std::vector<Mount> mountsIn(std::string_view mountinfo) {
    std::vector<Mount> mounts;
    for (const std::string_view line : linesIn(mountinfo))
        if (auto mount = mountFrom(line)) mounts.push_back(std::move(*mount));
    return mounts;
}

std::vector<bool> hiddenByLaterMount(const std::vector<Mount>& mounts) { return Visibility(mounts).take(); }

}  // namespace diskmgt_machine

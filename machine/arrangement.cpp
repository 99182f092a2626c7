#include "machine/arrangement.h"

#include <algorithm>

namespace diskmgt_machine {

std::vector<ArrangedRow> arrange(const BlockDevices& blocks, const std::vector<bool>& isShown) {
    const std::vector<BlockDevice>& devices = blocks.devices;
    std::vector<ArrangedRow> rows;
    std::vector<bool> isWhole(devices.size(), false);
    const auto isLeftOut = [&isShown](std::size_t device) { return !isShown.empty() && !isShown[device]; };
    const auto begin = [&](std::size_t root) {
        std::vector<ArrangedRow> waiting{{root, 0, false}};
        while (!waiting.empty()) {
            ArrangedRow row = waiting.back();
            waiting.pop_back();
            row.isReference = isWhole[row.device];
            rows.push_back(row);
            if (row.isReference) continue;
            isWhole[row.device] = true;
            const std::vector<std::size_t>& above = devices[row.device].carries;
            for (auto next = above.rbegin(); next != above.rend(); ++next)
                if (!isLeftOut(*next)) waiting.push_back({*next, row.depth + 1, false});
        }
    };
    const auto beginsTree = [&](std::size_t i) {
        return !isLeftOut(i) && std::all_of(devices[i].on.begin(), devices[i].on.end(), isLeftOut);
    };
    for (const bool isDisk : {true, false})
        for (std::size_t i = 0; i < devices.size(); ++i)
            if ((devices[i].kind == Kind::kDisk) == isDisk && beginsTree(i)) begin(i);
    for (std::size_t i = 0; i < devices.size(); ++i)
        if (!isWhole[i] && !isLeftOut(i)) begin(i);  // only devices of a cycle are still missing here
    return rows;
}

}  // namespace diskmgt_machine

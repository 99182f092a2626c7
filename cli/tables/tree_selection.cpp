#include "cli/tables/tree_selection.h"

#include "inventory/naming.h"
#include "text/command_error.h"
#include "text/readable_text.h"

namespace diskmgt {

namespace {

using diskmgt_machine::BlockDevice;
using diskmgt_machine::Kind;

class Selector {
public:
    explicit Selector(const ServerAccount& searched) : account(searched) {}

    TreeSelection everything(bool all) {
        selection.devices.assign(account.devices.size(), true);
        selection.contents = selection.devices;
        selection.mounts.assign(account.mounts.size(), true);
        selection.cimOnly.assign(account.cimOnly.size(), true);
        for (std::size_t i = 0; !all && i < account.devices.size(); ++i)
            if (std::size_t* const count = leftOutWith(i)) {
                ++*count;
                selection.devices[i] = selection.contents[i] = false;
            }
        return std::move(selection);
    }

    TreeSelection named(const std::vector<std::string>& operands) {
        selection.isEverything = false;
        selection.devices.assign(account.devices.size(), false);
        selection.contents = selection.devices;
        selection.mounts.assign(account.mounts.size(), false);
        selection.cimOnly.assign(account.cimOnly.size(), false);
        for (const std::string& operand : operands) add(operand);
        return std::move(selection);
    }

private:
    /// The count of what is left out like the device; null: it is shown. What is in use is never left out.
    std::size_t* leftOutWith(std::size_t position) {
        const BlockDevice& device = account.device(position);
        if (device.kind == Kind::kPath) return &selection.hiddenPaths;  // its disk shows the uses
        if (account.devices[position].use.any() || !device.carries.empty()) return nullptr;
        if (device.kind == Kind::kMemory) return &selection.ramDisks;
        const bool isEmpty = device.backingFile.empty() && device.sizeBytes.value_or(0) == 0;
        return device.kind == Kind::kLoop && isEmpty ? &selection.emptyLoops : nullptr;
    }

    void add(const std::string& operand) {
        const Named found = diskmgt::named(account, operand);
        switch (found.kind) {
            case Named::Kind::kNothing:
                throw CommandError(kWrongUsage, "nothing here is named \"" + escapedControls(operand) +
                                                    "\": no device, mount or path; \"diskmgt tree --all\" lists "
                                                    "devices and mounts");
            case Named::Kind::kDevice:
                for (const std::size_t device : found.devices) addWhole(device);
                return;
            case Named::Kind::kCimOnly:
                selection.cimOnly[found.cimOnly] = true;
                return;
            case Named::Kind::kPath:
            case Named::Kind::kNoAnswer:
                for (const std::size_t mount : found.mounts) addNote(operand, mount);
                break;
            case Named::Kind::kMount:
                break;
        }
        for (const std::size_t mount : found.mounts) selection.mounts[mount] = true;
        for (const std::size_t device : found.devices) addChain(device);
    }

    void addNote(const std::string& operand, std::size_t mount) {
        const std::string& point = account.machine.mounts[mount].mountPoint;
        if (operand != point) selection.notes.push_back(operand + " is on the file system mounted on " + point);
    }

    /// What the device lies on, and itself.
    void addChain(std::size_t device) {
        std::vector<std::size_t> waiting{device};
        while (!waiting.empty()) {
            const std::size_t next = waiting.back();
            waiting.pop_back();
            if (selection.devices[next] && next != device) continue;
            selection.devices[next] = true;
            const std::vector<std::size_t>& below = account.device(next).on;
            for (const std::size_t lower : below)
                if (!selection.devices[lower]) waiting.push_back(lower);
        }
    }

    void addWhole(std::size_t device) {
        addChain(device);
        std::vector<std::size_t> waiting{device};
        while (!waiting.empty()) {
            const std::size_t next = waiting.back();
            waiting.pop_back();
            if (selection.contents[next]) continue;
            selection.devices[next] = selection.contents[next] = true;
            for (const std::size_t mount : account.uses.mountsOn(next)) selection.mounts[mount] = true;
            for (const std::size_t upper : account.device(next).carries) waiting.push_back(upper);
        }
    }

    const ServerAccount& account;
    TreeSelection selection;
};

}  // namespace

TreeSelection selectRows(const ServerAccount& account, const std::vector<std::string>& operands, bool all) {
    Selector selector(account);
    return operands.empty() ? selector.everything(all) : selector.named(operands);
}

}  // namespace diskmgt

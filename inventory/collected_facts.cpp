// One list of members per structure, which packs and unpacks.
#include "inventory/collected_facts.h"

#include <type_traits>

#include "session/packing.h"

namespace diskmgt {

namespace {

/// Writes or reads members, one after the other.
class Writing {
public:
    explicit Writing(Packer& target) : packer(target) {}
    template <typename... Members>
    void operator()(const Members&... members) {
        (put(members), ...);
    }

    template <typename Element, typename EachMember>
    void list(const std::vector<Element>& elements, const EachMember& eachMember) {
        packer.put(std::uint64_t{elements.size()});
        for (const Element& element : elements) eachMember(*this, element);
    }

private:
    template <typename Member>
    void put(const Member& member) {
        if constexpr (std::is_same_v<Member, std::string>)
            packer.put(member);
        else {
            static_assert(std::is_trivially_copyable_v<Member>, "members are copied as bytes");
            packer.put(member);
        }
    }
    void put(const std::optional<std::string>& member) {
        packer.put(member.has_value());
        packer.put(member.value_or(""));
    }
    void put(const std::vector<std::string>& texts) {
        packer.put(std::uint64_t{texts.size()});
        for (const std::string& text : texts) packer.put(text);
    }

    Packer& packer;
};

class Reading {
public:
    explicit Reading(Unpacker& source) : unpacker(source) {}
    template <typename... Members>
    void operator()(Members&... members) {
        (get(members), ...);
    }

    template <typename Element, typename EachMember>
    void list(std::vector<Element>& elements, const EachMember& eachMember) {
        const auto count = unpacker.number<std::uint64_t>();
        for (std::uint64_t i = 0; i < count && unpacker.isWhole(); ++i) eachMember(*this, elements.emplace_back());
    }

private:
    template <typename Member>
    void get(Member& member) {
        unpacker.get(member);
    }
    void get(std::optional<std::string>& member) {
        const bool isPresent = unpacker.number<char>() != 0;
        std::string text = unpacker.text();
        if (isPresent) member = std::move(text);
    }
    void get(bool& member) { member = unpacker.number<char>() != 0; }
    void get(std::vector<std::string>& texts) {
        const auto count = unpacker.number<std::uint64_t>();
        for (std::uint64_t i = 0; i < count && unpacker.isWhole(); ++i) texts.push_back(unpacker.text());
    }

    Unpacker& unpacker;
};

template <typename Stream, typename Facts>
void eachMemberOf(Stream& stream, Facts& facts) {
    stream(facts.path, facts.name, facts.isListed, facts.nameVerdict, facts.sysfs.sizeLine, facts.sysfs.numberLine,
           facts.sysfs.sectorCount, facts.sysfs.majorNumber, facts.virtualEntry, facts.isCandidate, facts.hasNode,
           facts.nodeNumber, facts.stalling.path, facts.stalling.kind, facts.isTried, facts.openError, facts.sizeError,
           facts.readError, facts.sizeBytes, facts.hasSysfsDirectory, facts.kernelPartitions, facts.tableCount,
           facts.hasBootSignature, facts.table.error, facts.table.errorOffset, facts.table.cutAt,
           facts.table.refusedCount, facts.logicalSectorSize);
}

constexpr auto kDeviceMembers = [](auto& stream, auto& facts) { eachMemberOf(stream, facts); };

constexpr auto kMountMembers = [](auto& stream, auto& mount) {
    stream(mount.source, mount.mountPoint, mount.type, mount.isLater, mount.firstMountPoint, mount.kind,
           mount.isBelowUntouchable);
};

constexpr auto kFigureMembers = [](auto& stream, auto& figure) {
    stream(figure.mountId, figure.number, figure.outcome, figure.error, figure.space.total, figure.space.free,
           figure.space.available);
};

}  // namespace

std::string packed(const ExaminedDevices& devices) {
    Packer packer(RecordKind::kDevices);
    Writing write(packer);
    write(devices.list.names, devices.list.error);
    write.list(devices.devices, kDeviceMembers);
    return packer.take();
}

std::string packed(const MountTableFacts& table) {
    Packer packer(RecordKind::kMountTable);
    Writing write(packer);
    write(table.updateError, table.readError);
    write.list(table.mounts, kMountMembers);
    return packer.take();
}

std::string packed(const MountFigures& figures) {
    Packer packer(RecordKind::kMountFigures);
    Writing(packer).list(figures, kFigureMembers);
    return packer.take();
}

std::string packedLeftOut(const std::string& className, const Reason& reason) {
    Packer packer(RecordKind::kLeftOut);
    Writing write(packer);
    write(className, reason.rule, reason.brief, reason.text);
    return packer.take();
}

CollectedFacts unpackedFacts(const std::string& bytes) {
    CollectedFacts facts;
    eachRecord(bytes, RecordKind::kDevices, [&facts](Unpacker& record) {
        ExaminedDevices devices;
        Reading read(record);
        read(devices.list.names, devices.list.error);
        read.list(devices.devices, kDeviceMembers);
        if (record.isWhole()) facts.devices = std::move(devices);
    });
    eachRecord(bytes, RecordKind::kMountTable, [&facts](Unpacker& record) {
        MountTableFacts table;
        Reading read(record);
        read(table.updateError, table.readError);
        read.list(table.mounts, kMountMembers);
        if (record.isWhole()) facts.mountTable = std::move(table);
    });
    eachRecord(bytes, RecordKind::kMountFigures, [&facts](Unpacker& record) {
        MountFigures figures;
        Reading(record).list(figures, kFigureMembers);
        if (record.isWhole()) facts.figures = std::move(figures);
    });
    eachRecord(bytes, RecordKind::kLeftOut, [&facts](Unpacker& record) {
        std::string className;
        Reason reason;
        Reading read(record);
        read(className, reason.rule, reason.brief, reason.text);
        if (record.isWhole()) facts.leftOut.emplace(std::move(className), std::move(reason));
    });
    return facts;
}

}  // namespace diskmgt

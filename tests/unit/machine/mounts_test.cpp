// Lines of mountinfo, and which mounts later ones hide.
#include "machine/mounts.h"

#include <gmock/gmock.h>
#include <rapidcheck.h>

#include <sstream>

namespace diskmgt_machine {
namespace {

using ::testing::ElementsAre;

constexpr const char* kLine =
    R"(36 35 98:0 /mnt1 /mnt\040two rw,noatime master:1 shared:2 - ext3 /dev/root rw,errors=continue)";

TEST(MountLine, HasEveryFieldWithItsEscapesTakenOut) {
    const auto mount = mountFrom(kLine);
    ASSERT_TRUE(mount.has_value());
    EXPECT_EQ(mount->id, 36U);
    EXPECT_EQ(mount->parent, 35U);
    EXPECT_EQ(textOf(mount->number), "98:0");
    EXPECT_EQ(mount->root, "/mnt1");
    EXPECT_EQ(mount->mountPoint, "/mnt two");
    EXPECT_EQ(mount->options, "rw,noatime");
    EXPECT_EQ(mount->type, "ext3");
    EXPECT_EQ(mount->source, "/dev/root");
    EXPECT_EQ(mount->superOptions, "rw,errors=continue");
}

TEST(MountLine, MayLackOptionalFieldsAndTheSourceMayBeEmpty) {
    const auto mount = mountFrom("1 0 0:5 / / rw - tmpfs  rw");
    ASSERT_TRUE(mount.has_value());
    EXPECT_EQ(mount->source, "");
    EXPECT_EQ(mount->superOptions, "rw");
}

TEST(MountLine, ADashAsSourceIsNotASeparator) {
    const auto mount = mountFrom("1 0 0:5 / - rw - fuse - rw");
    ASSERT_TRUE(mount.has_value());
    EXPECT_EQ(mount->mountPoint, "-");
    EXPECT_EQ(mount->type, "fuse");
    EXPECT_EQ(mount->source, "-");
}

TEST(MountLine, ALineCutBeforeItsLastFieldIsNotAMount) {
    const std::string whole = kLine;
    const std::size_t lastField = whole.rfind(' ') + 1;
    for (std::size_t length = 0; length < lastField; ++length)
        EXPECT_FALSE(mountFrom(whole.substr(0, length)).has_value()) << length;
    EXPECT_TRUE(mountFrom(whole.substr(0, lastField)).has_value());
}

TEST(MountLine, ALineWithInvalidNumbersIsNotAMount) {
    EXPECT_FALSE(mountFrom("x 0 0:5 / / rw - tmpfs none rw").has_value());
    EXPECT_FALSE(mountFrom("1 x 0:5 / / rw - tmpfs none rw").has_value());
    EXPECT_FALSE(mountFrom("1 0 05 / / rw - tmpfs none rw").has_value());
}

TEST(Mounts, LinesThatAreNotTheKernelsAreLeftOut) {
    const auto mounts = mountsIn("\nrubbish\n1 0 8:1 / / rw - ext4 /dev/sda1 rw\n");
    ASSERT_EQ(mounts.size(), 1U);
    EXPECT_EQ(mounts[0].source, "/dev/sda1");
}

/// Mounts with the parents that these mount points lead to, as the kernel would have made them one after the other.
class Table {
public:
    void mount(const std::string& place) {
        const std::size_t parent = mounts.empty() ? 0 : lookUp(place);
        Mount made;
        made.id = 100 + mounts.size();
        made.parent = mounts.empty() ? 1 : mounts[parent].id;
        made.mountPoint = place;
        mounts.push_back(made);
    }

    /// Where a path leads, step by step as the kernel walks it.
    std::size_t lookUp(const std::string& path) const {
        std::size_t current = topOf(0);
        for (std::size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
            const std::string step = path.substr(0, end);
            for (std::size_t i = mounts.size(); i-- > 0;)
                if (mounts[i].parent == mounts[current].id && mounts[i].mountPoint == step && step != "/") {
                    current = topOf(i);
                    break;
                }
            if (end == std::string::npos) return current;
        }
    }

    std::vector<bool> hiddenByLookingUp() const {
        std::vector<bool> hidden;
        for (std::size_t i = 0; i < mounts.size(); ++i) hidden.push_back(lookUp(mounts[i].mountPoint) != i);
        return hidden;
    }

    std::vector<Mount> mounts;

private:
    std::size_t topOf(std::size_t mount) const {
        for (std::size_t i = mounts.size(); i-- > mount + 1;)
            if (mounts[i].parent == mounts[mount].id && mounts[i].mountPoint == mounts[mount].mountPoint)
                return topOf(i);
        return mount;
    }
};

std::vector<bool> hiddenOf(const std::vector<std::string>& places) {
    Table table;
    for (const std::string& place : places) table.mount(place);
    return hiddenByLaterMount(table.mounts);
}

TEST(HiddenMounts, OneAtTheSamePlaceHidesTheEarlierOne) {
    EXPECT_THAT(hiddenOf({"/", "/mnt", "/mnt"}), ElementsAre(false, true, false));
}

TEST(HiddenMounts, OneAboveHidesWhatLiesBelow) {
    EXPECT_THAT(hiddenOf({"/", "/mnt/a", "/mnt/a/b", "/mnt"}), ElementsAre(false, true, true, false));
}

TEST(HiddenMounts, OneMadeAfterwardsBelowIsSeen) {
    EXPECT_THAT(hiddenOf({"/", "/mnt/a", "/mnt", "/mnt/a"}), ElementsAre(false, true, false, false));
}

TEST(HiddenMounts, ANameThatBeginsAlikeIsNotBelow) {
    EXPECT_THAT(hiddenOf({"/", "/mnt/ab", "/mnt/a", "/mnt/a-b"}), ElementsAre(false, false, false, false));
}

TEST(HiddenMounts, ASecondRootHidesAllOfTheFirst) {
    EXPECT_THAT(hiddenOf({"/", "/home", "/", "/home"}), ElementsAre(true, true, false, false));
}

TEST(HiddenMounts, AreWhatAPathNoLongerLeadsTo) {
    EXPECT_TRUE(rc::check("equals looking the path up", [] {
        Table table;
        table.mount("/");
        const auto places = *rc::gen::container<std::vector<std::string>>(rc::gen::element<std::string>(
            "/", "/a", "/a/b", "/a/b/c", "/a/c", "/a-b", "/ab", "/ab/c", "/b", "/b/a", "/b/a/b"));
        for (const std::string& place : places) table.mount(place);
        RC_ASSERT(hiddenByLaterMount(table.mounts) == table.hiddenByLookingUp());
    }));
}

TEST(HiddenMounts, ParentsInACircleEnd) {
    std::vector<Mount> mounts(3);
    for (std::size_t i = 0; i < mounts.size(); ++i) {
        mounts[i].id = i;
        mounts[i].parent = (i + 1) % mounts.size();
        mounts[i].mountPoint = "/a";
    }
    EXPECT_THAT(hiddenByLaterMount(mounts), ElementsAre(false, false, false));
    mounts[0].parent = 0;  // its own parent: a root, and covered by the one mounted on it
    EXPECT_EQ(hiddenByLaterMount(mounts).size(), 3U);
}

TEST(HiddenMounts, ATableWithoutItsRootHidesNothingElse) {
    const auto mounts = mountsIn("5 2 8:1 / /srv/a rw - ext4 a rw\n6 2 8:2 / /srv/b rw - ext4 b rw\n");
    EXPECT_THAT(hiddenByLaterMount(mounts), ElementsAre(false, false));
}

}  // namespace
}  // namespace diskmgt_machine

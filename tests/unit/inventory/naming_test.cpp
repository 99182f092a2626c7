// What an operand names.
#include "inventory/naming.h"

#include <gmock/gmock.h>

#include "tests/unit/inventory/joined_scene.h"

namespace diskmgt {
namespace {

using ::testing::ElementsAre;

struct Operands : ::testing::Test {
    JoinedScene scene;
};

TEST_F(Operands, AMountPointThatThisProcessCannotReachIsStillNamed) {
    scene.disk("sda", 1 << 20);
    scene.mount("sda", "/dev/sda", "/no/such/folder");
    scene.mount("", "nas:/home", "/no/such/folder/home", "nfs");
    const ServerAccount account = scene.joined();
    const Named found = named(account, "/no/such/folder/");
    EXPECT_EQ(found.kind, Named::Kind::kMount);
    EXPECT_THAT(found.mounts, ElementsAre(0));
    EXPECT_THAT(found.devices, ElementsAre(0));
    EXPECT_THAT(named(account, "/no/such/folder/home").mounts, ElementsAre(1));
    EXPECT_EQ(named(account, "/no/such/folder/other").kind, Named::Kind::kNothing);
}

}  // namespace
}  // namespace diskmgt

// Asks a file system of its own when it serves drives, so that it can be held where the mounts are known not to answer.
#include <sys/statfs.h>

#include <cstdlib>

#include "tests/cli/plugins/test_plugin.h"

namespace {

using namespace NVEXTAL20;

class Held : public test_plugin::TestPlugin {
public:
    void GetData(boost::shared_ptr<ICIMNamespace>, test_plugin::Classes& classes) override {
        const char* const place = std::getenv("TEST_HELD_AT");
        struct statfs unused {};
        for (const auto& cls : classes)
            if (place != nullptr && test_plugin::nameOf(*cls) == "VEXSG_DiskDrive") (void)::statfs(place, &unused);
    }
};

const test_plugin::Registration<Held> registration;

}  // namespace

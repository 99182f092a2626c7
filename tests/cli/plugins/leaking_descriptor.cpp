// Opens a file at every request for drives, and never closes it.
#include <fcntl.h>

#include "tests/cli/plugins/published_drive.h"

namespace {

using namespace test_plugin;

class LeakingDescriptor : public DrivePlugin {
    void serveDrives(NVEXTAL20::ICIMClass& cls, const NameSpace& nameSpace) override {
        (void)::open("/dev/null", O_RDONLY | O_CLOEXEC);
        publish(cls, nameSpace, drive("/dev/sda"));
    }
};

const Registration<LeakingDescriptor> registration;

}  // namespace

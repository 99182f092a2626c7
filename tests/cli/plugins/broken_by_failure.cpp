// Serves no drives any more, once the host has refused one.
#include "tests/cli/plugins/published_drive.h"

namespace {

using namespace test_plugin;

thread_local bool isBroken = false;  // two requests at once do not disturb each other

class BrokenByFailure : public DrivePlugin {
    void serveDrives(NVEXTAL20::ICIMClass& cls, const NameSpace& nameSpace) override {
        if (isBroken) return;
        isBroken = true;
        publish(cls, nameSpace, drive("/dev/sda"));
        isBroken = false;
    }
};

const Registration<BrokenByFailure> registration;

}  // namespace

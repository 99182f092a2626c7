// Publishes one drive, and does nothing wrong.
#include "tests/cli/plugins/published_drive.h"

namespace {

using namespace test_plugin;

class Sound : public DrivePlugin {
    void serveDrives(NVEXTAL20::ICIMClass& cls, const NameSpace& nameSpace) override {
        publish(cls, nameSpace, drive("/dev/sda"));
    }
};

const Registration<Sound> registration;

}  // namespace

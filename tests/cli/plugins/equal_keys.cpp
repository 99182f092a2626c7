// Publishes the same drive twice.
#include "tests/cli/plugins/published_drive.h"

namespace {

using namespace test_plugin;

class EqualKeys : public DrivePlugin {
    void serveDrives(NVEXTAL20::ICIMClass& cls, const NameSpace& nameSpace) override {
        for (int i = 0; i < 2; ++i) publish(cls, nameSpace, drive("/dev/sda"));
    }
};

const Registration<EqualKeys> registration;

}  // namespace

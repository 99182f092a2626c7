// Serves its first request for drives, and throws at every later one.
#include <stdexcept>

#include "tests/cli/plugins/published_drive.h"

namespace {

using namespace test_plugin;

class ThrowingAgain : public DrivePlugin {
    void serveDrives(NVEXTAL20::ICIMClass& cls, const NameSpace& nameSpace) override {
        if (served++ > 0) throw std::runtime_error("the drives have been given away already");
        publish(cls, nameSpace, drive("/dev/sda"));
    }
    int served = 0;
};

const Registration<ThrowingAgain> registration;

}  // namespace

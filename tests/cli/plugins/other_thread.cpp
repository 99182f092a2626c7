// Publishes its drive from a thread of its own.
#include <thread>

#include "tests/cli/plugins/published_drive.h"

namespace {

using namespace test_plugin;

class OtherThread : public DrivePlugin {
    void serveDrives(NVEXTAL20::ICIMClass& cls, const NameSpace& nameSpace) override {
        std::thread([&] { publish(cls, nameSpace, drive("/dev/sda")); }).join();
    }
};

const Registration<OtherThread> registration;

}  // namespace

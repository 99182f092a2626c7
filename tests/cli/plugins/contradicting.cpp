// Has another size for its drive at every request.
#include "tests/cli/plugins/published_drive.h"

namespace {

using namespace test_plugin;

class Contradicting : public DrivePlugin {
    void serveDrives(NVEXTAL20::ICIMClass& cls, const NameSpace& nameSpace) override {
        publish(cls, nameSpace, drive("/dev/sda", std::to_string(++size)));
    }
    int size = 0;
};

const Registration<Contradicting> registration;

}  // namespace

// Serves drives only while nothing else asks: it takes two requests at once for a mistake.
#include <unistd.h>

#include <atomic>
#include <stdexcept>

#include "tests/cli/plugins/published_drive.h"

namespace {

using namespace test_plugin;

class Racing : public DrivePlugin {
    void serveDrives(NVEXTAL20::ICIMClass& cls, const NameSpace& nameSpace) override {
        if (++inside > 1) throw std::logic_error("two requests at once");
        for (int i = 0; i < 200; ++i) {
            (void)::usleep(200);
            publish(cls, nameSpace, drive("/dev/sd" + std::to_string(i)));
        }
        --inside;
    }
    std::atomic<int> inside{0};
};

const Registration<Racing> registration;

}  // namespace

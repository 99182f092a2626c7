// Publishes a drive without the key that distinguishes it from others.
#include "tests/cli/plugins/published_drive.h"

namespace {

using namespace test_plugin;

class MissingKey : public DrivePlugin {
    void serveDrives(NVEXTAL20::ICIMClass& cls, const NameSpace& nameSpace) override {
        Texts texts = drive("/dev/sda");
        texts.erase(texts.begin() + 3);
        publish(cls, nameSpace, texts);
    }
};

const Registration<MissingKey> registration;

}  // namespace
